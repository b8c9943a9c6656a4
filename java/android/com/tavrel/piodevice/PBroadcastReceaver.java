// The Java side of the broadcast device on Android: a receiver for the action (and category)
// of the parameter string, exported so that a scanner application can reach it, running on a
// thread of its own so that a busy UI thread does not hold codes back.
package com.tavrel.piodevice;

import android.app.Activity;
import android.content.BroadcastReceiver;
import android.content.Context;
import android.content.Intent;
import android.content.IntentFilter;
import android.os.Build;
import android.os.Handler;
import android.os.HandlerThread;

/**
 * open registers on the application's context with the action and category of
 * {@link BroadcastExtras}; close unregisters. Every intent caught that carries one of the
 * fields with its declared type becomes one call of PBroadcastReceaverSendString with the
 * extras document; one without them is passed over.
 * Only the application's context is kept, never the activity: the device may stay open while
 * the activity is destroyed and made again (a turn of the screen), and the receiver with it.
 * Intents are taken on one looper thread shared by all receivers, started with the first open
 * and idle (blocked, no wake-ups) while nothing comes. Nothing here throws to the caller.
 */
public class PBroadcastReceaver {
    // Context.RECEIVER_EXPORTED, named from API 33 on, when registering without it fails for
    // an application that targets that level.
    static final int RECEIVER_EXPORTED = 2;
    static final int EXPORTED_FLAG_API = 33;

    private static Handler intentHandler; // guarded by PBroadcastReceaver.class

    private final Context context; // null: no activity was given
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
            try {
                if (closed || intent == null)
                    return;
                String xml = extras.document(extrasOf(intent));
                if (xml != null && !closed)
                    deliver(xml);
            } catch (RuntimeException e) {
                lastError = Parameters.reason(e);
            }
        }
    }

    public PBroadcastReceaver(Activity activity, long handle) {
        this.context = applicationOf(activity);
        this.handle = handle;
    }

    /** Registers the receiver the parameters describe; false, with the reason, when it can't. */
    public synchronized boolean open(String parameters) {
        close();
        try {
            if (context == null)
                throw new IllegalStateException("no activity to register the receiver with");
            BroadcastExtras extras = BroadcastExtras.of(parameters);
            IntentFilter filter = new IntentFilter(extras.action);
            if (!extras.category.isEmpty())
                filter.addCategory(extras.category);
            Receiver made = new Receiver(extras);
            if (Build.VERSION.SDK_INT >= EXPORTED_FLAG_API)
                context.registerReceiver(made, filter, null, intentHandler(), RECEIVER_EXPORTED);
            else
                context.registerReceiver(made, filter, null, intentHandler());
            receiver = made;
            lastError = "";
            return true;
        } catch (RuntimeException e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** Unregisters; an intent already taken is dropped. Waits for nothing. */
    public synchronized void close() {
        if (receiver == null)
            return;
        receiver.closed = true;
        try {
            context.unregisterReceiver(receiver);
        } catch (RuntimeException alreadyGone) {
            // Nothing left to undo.
        }
        receiver = null;
    }

    public boolean write(byte[] data) {
        lastError = "a broadcast receiver sends nothing";
        return false;
    }

    public String getLastErrorMessage() {
        return lastError;
    }

    /** Where each extras document goes; a test overrides it to see them without the native side. */
    void deliver(String xml) {
        PBroadcastReceaverSendString(handle, xml);
    }

    private static Context applicationOf(Activity activity) {
        try {
            Context application = activity == null ? null : activity.getApplicationContext();
            return application != null ? application : activity;
        } catch (RuntimeException e) {
            return activity;
        }
    }

    private static synchronized Handler intentHandler() {
        if (intentHandler == null) {
            HandlerThread thread = new HandlerThread("PBroadcastReceaver");
            thread.setDaemon(true);
            thread.start();
            intentHandler = new Handler(thread.getLooper());
        }
        return intentHandler;
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
