// Test fake of the context: services and granted permissions are the test's; registered receivers
// get what the test broadcasts at once, on the test's thread.
package android.content;

import android.os.Handler;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;

public class Context {
    public static final String USB_SERVICE = "usb";
    public final Map<BroadcastReceiver, IntentFilter> receivers = new ConcurrentHashMap<>();
    public final Map<String, Object> services = new ConcurrentHashMap<>();
    public final Set<String> granted = ConcurrentHashMap.newKeySet();
    public Context applicationContext = this;
    public volatile Handler handler; // of the last registration
    public volatile int flags; // of the last registration; -1 for the form without

    public Context getApplicationContext() { return applicationContext; }

    public String getPackageName() { return "com.example.till"; }

    public Object getSystemService(String name) { return services.get(name); }

    public int checkSelfPermission(String permission) { return granted.contains(permission) ? 0 : -1; }

    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler) {
        return registerReceiver(receiver, filter, permission, handler, -1);
    }

    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler,
                                   int flags) {
        receivers.put(receiver, filter);
        this.handler = handler;
        this.flags = flags;
        return null;
    }

    public void unregisterReceiver(BroadcastReceiver receiver) {
        if (receivers.remove(receiver) == null)
            throw new IllegalArgumentException("Receiver not registered: " + receiver);
    }

    public void sendBroadcast(Intent intent) {
        receivers.forEach((receiver, filter) -> {
            if (filter.action.equals(intent.getAction()))
                receiver.onReceive(this, intent);
        });
    }
}
