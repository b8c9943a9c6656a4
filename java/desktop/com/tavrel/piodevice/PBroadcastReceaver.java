// The Java side of the broadcast device on a desktop: a receiver for one action (and category)
// on an in-JVM bus that hands the extras of each intent it catches to native code.
package com.tavrel.piodevice;

import android.app.Activity;
import android.content.BroadcastReceiver;
import android.content.Context;
import android.content.Intent;
import android.content.IntentFilter;
import java.util.concurrent.atomic.AtomicInteger;

/**
 * open takes the parameter string of {@link BroadcastExtras} and registers a receiver; close
 * unregisters it. Every intent caught that carries one of the fields becomes one call of
 * PBroadcastReceaverSendString with the extras document: the native side then appends the
 * device's suffix to a code that lacks it, so a scanner application that sends a bare code
 * still gives one message per intent.
 * The desktop has no system bus: {@link #sendBroadcast} delivers through an in-JVM one, on the
 * calling thread. No thread of its own; close waits for nothing.
 */
public class PBroadcastReceaver {
    private static final Context bus = new Context();
    private static final AtomicInteger registered = new AtomicInteger();

    private final Context context;
    private final long handle;
    private Receiver receiver; // guarded by this
    private volatile String lastError = "";

    private final class Receiver extends BroadcastReceiver {
        final BroadcastExtras extras;
        volatile boolean closed;

        Receiver(BroadcastExtras extras) {
            this.extras = extras;
        }

        @Override
        public void onReceive(Context from, Intent intent) {
            if (closed || intent == null)
                return;
            String xml = extras.document(extrasOf(intent));
            if (xml != null && !closed)
                deliver(xml);
        }
    }

    public PBroadcastReceaver(Activity activity, long handle) {
        this.context = activity != null ? activity : bus;
        this.handle = handle;
    }

    /** Registers the receiver the parameters describe; false without an action or a field. */
    public synchronized boolean open(String parameters) {
        close();
        try {
            BroadcastExtras extras = BroadcastExtras.of(parameters);
            IntentFilter filter = new IntentFilter(extras.action);
            if (!extras.category.isEmpty())
                filter.addCategory(extras.category);
            Receiver made = new Receiver(extras);
            context.registerReceiver(made, filter);
            receiver = made;
            registered.incrementAndGet();
            lastError = "";
            return true;
        } catch (RuntimeException e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    public synchronized void close() {
        if (receiver == null)
            return;
        receiver.closed = true;
        try {
            context.unregisterReceiver(receiver);
        } catch (IllegalArgumentException alreadyGone) {
            // Nothing to undo.
        }
        receiver = null;
        registered.decrementAndGet();
    }

    public String getLastErrorMessage() {
        return lastError;
    }

    /** Where each extras document goes; a test overrides it to see them without the native side. */
    void deliver(String xml) {
        PBroadcastReceaverSendString(handle, xml);
    }

    /** Sends the intent to every receiver of the JVM whose filter matches it, on this thread. */
    public static void sendBroadcast(Intent intent) {
        bus.sendBroadcast(intent);
    }

    /** How many companions have a receiver registered now. */
    public static int registeredReceivers() {
        return registered.get();
    }

    static BroadcastExtras.Extras extrasOf(Intent intent) {
        return new BroadcastExtras.Extras() {
            public String string(String name) {
                return intent.getStringExtra(name);
            }

            public byte[] bytes(String name) {
                return intent.getByteArrayExtra(name);
            }

            public char[] chars(String name) {
                return intent.getCharArrayExtra(name);
            }
        };
    }

    static native void PBroadcastReceaverSendData(long handle, byte[] data);

    static native void PBroadcastReceaverSendString(long handle, String xml);
}
