// Compile-only declaration of the platform class; the classes between it and Context
// (ContextWrapper, ContextThemeWrapper) are left out.
package android.app;

public class Activity extends android.content.Context {
    public Activity() { throw new RuntimeException("Stub!"); }

    public android.view.Window getWindow() { throw new RuntimeException("Stub!"); } // API 1

    public final void runOnUiThread(Runnable action) { throw new RuntimeException("Stub!"); } // API 1

    public android.content.Context getApplicationContext() { throw new RuntimeException("Stub!"); } // API 1

    public String getPackageName() { throw new RuntimeException("Stub!"); } // API 1

    public Object getSystemService(String name) { throw new RuntimeException("Stub!"); } // API 1

    public android.content.Intent registerReceiver(android.content.BroadcastReceiver receiver,
            android.content.IntentFilter filter) { throw new RuntimeException("Stub!"); } // API 1

    public android.content.Intent registerReceiver(android.content.BroadcastReceiver receiver,
            android.content.IntentFilter filter, String broadcastPermission,
            android.os.Handler scheduler) { throw new RuntimeException("Stub!"); } // API 1

    public android.content.Intent registerReceiver(android.content.BroadcastReceiver receiver,
            android.content.IntentFilter filter, String broadcastPermission,
            android.os.Handler scheduler, int flags) { throw new RuntimeException("Stub!"); } // API 26

    public void unregisterReceiver(android.content.BroadcastReceiver receiver) { throw new RuntimeException("Stub!"); } // API 1

    public int checkSelfPermission(String permission) { throw new RuntimeException("Stub!"); } // API 23

    public final void requestPermissions(String[] permissions, int requestCode) { throw new RuntimeException("Stub!"); } // API 23
}
