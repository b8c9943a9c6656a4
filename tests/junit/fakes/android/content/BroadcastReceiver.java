// Test fake of the broadcast receiver.
package android.content;

public abstract class BroadcastReceiver {
    public abstract void onReceive(Context context, Intent intent);
}
