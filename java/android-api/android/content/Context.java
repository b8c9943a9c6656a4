// Compile-only declaration of the platform class.
package android.content;

public abstract class Context {
    public static final String USB_SERVICE = "usb"; // API 12
    public static final String BLUETOOTH_SERVICE = "bluetooth"; // API 18

    public Context() { throw new RuntimeException("Stub!"); }

    public abstract Context getApplicationContext(); // API 1

    public abstract String getPackageName(); // API 1

    public abstract Object getSystemService(String name); // API 1

    public abstract Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter); // API 1

    public abstract Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter,
            String broadcastPermission, android.os.Handler scheduler); // API 1

    public abstract Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter,
            String broadcastPermission, android.os.Handler scheduler, int flags); // API 26

    public abstract void unregisterReceiver(BroadcastReceiver receiver); // API 1

    public abstract int checkSelfPermission(String permission); // API 23
}
