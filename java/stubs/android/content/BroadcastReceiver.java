// Desktop stand-in for the Android broadcast receiver: the one callback a receiver has.
package android.content;

public abstract class BroadcastReceiver {
    public BroadcastReceiver() {}

    public abstract void onReceive(Context context, Intent intent);
}
