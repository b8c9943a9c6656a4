// Test fake of the context: receivers registered with it are recorded and get the intents a
// test sends (on their handler's thread, as the system does), services and granted
// permissions are what the test puts in.
package android.content;

import android.os.Handler;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;

public class Context {
    public static final String USB_SERVICE = "usb";
    public static final String BLUETOOTH_SERVICE = "bluetooth";

    /** One registerReceiver call, as it came. flags is -1 for the forms without flags. */
    public static final class Registration {
        public final BroadcastReceiver receiver;
        public final IntentFilter filter;
        public final String permission;
        public final Handler handler;
        public final int flags;

        Registration(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler, int flags) {
            this.receiver = receiver;
            this.filter = filter;
            this.permission = permission;
            this.handler = handler;
            this.flags = flags;
        }
    }

    public final CopyOnWriteArrayList<Registration> registrations = new CopyOnWriteArrayList<>();
    public final Map<String, Object> services = new ConcurrentHashMap<>();
    public final Set<String> granted = ConcurrentHashMap.newKeySet();
    public Context applicationContext = this;

    public Context() {}

    public Context getApplicationContext() {
        return applicationContext;
    }

    public String getPackageName() {
        return "com.example.till";
    }

    public Object getSystemService(String name) {
        return services.get(name);
    }

    public int checkSelfPermission(String permission) {
        return granted.contains(permission) ? 0 : -1;
    }

    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter) {
        return register(receiver, filter, null, null, -1);
    }

    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler) {
        return register(receiver, filter, permission, handler, -1);
    }

    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler,
                                   int flags) {
        return register(receiver, filter, permission, handler, flags);
    }

    private Intent register(BroadcastReceiver receiver, IntentFilter filter, String permission, Handler handler, int flags) {
        if (receiver == null || filter == null)
            throw new NullPointerException("receiver and filter are required");
        registrations.add(new Registration(receiver, filter, permission, handler, flags));
        return null;
    }

    public void unregisterReceiver(BroadcastReceiver receiver) {
        if (!registrations.removeIf(r -> r.receiver == receiver))
            throw new IllegalArgumentException("Receiver not registered: " + receiver);
    }

    /** Gives the intent to each matching receiver, on its handler's thread or on this one. */
    public void sendBroadcast(Intent intent) {
        for (Registration r : registrations) {
            if (!r.filter.matches(intent))
                continue;
            Runnable delivery = () -> r.receiver.onReceive(this, intent);
            if (r.handler != null)
                r.handler.post(delivery);
            else
                delivery.run();
        }
    }
}
