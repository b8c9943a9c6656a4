// Desktop stand-in for the Android context: receivers are registered with it and broadcasts
// sent through it. The bus is one per JVM, as Android's is one per device.
package android.content;

import java.util.concurrent.CopyOnWriteArrayList;

public class Context {
    private static final class Registration {
        final Context context;
        final BroadcastReceiver receiver;
        final IntentFilter filter;

        Registration(Context context, BroadcastReceiver receiver, IntentFilter filter) {
            this.context = context;
            this.receiver = receiver;
            this.filter = filter;
        }
    }

    private static final CopyOnWriteArrayList<Registration> registrations =
            new CopyOnWriteArrayList<>();

    public Context() {}

    /** Registers the receiver for intents that the filter matches; always null here. */
    public Intent registerReceiver(BroadcastReceiver receiver, IntentFilter filter) {
        if (receiver == null || filter == null)
            throw new NullPointerException("receiver and filter are required");
        registrations.add(new Registration(this, receiver, filter));
        return null;
    }

    /** Removes every registration of the receiver; one that isn't registered is refused. */
    public void unregisterReceiver(BroadcastReceiver receiver) {
        boolean found = false;
        for (Registration registration : registrations) {
            if (registration.receiver == receiver && registrations.remove(registration))
                found = true;
        }
        if (!found)
            throw new IllegalArgumentException("Receiver not registered: " + receiver);
    }

    /**
     * Delivers the intent to every receiver registered now whose filter matches its action
     * and categories, in the order of registration. Unlike Android, delivery happens on the
     * calling thread and is over when this returns.
     */
    public void sendBroadcast(Intent intent) {
        if (intent == null)
            return;
        for (Registration registration : registrations) {
            if (registration.filter.matchAction(intent.getAction())
                    && registration.filter.matchCategories(intent.getCategories()) == null)
                registration.receiver.onReceive(registration.context, intent);
        }
    }
}
