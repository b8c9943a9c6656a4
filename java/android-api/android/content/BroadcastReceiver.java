// Compile-only declaration of the platform class.
package android.content;

public abstract class BroadcastReceiver {
    public BroadcastReceiver() { throw new RuntimeException("Stub!"); }

    public abstract void onReceive(Context context, Intent intent); // API 1
}
