// The Java side of keyboard mode on Android: sees the activity's key events before the focused
// view does and hands each one the scanner typed to the native keyboard service.
package com.tavrel.piodevice;

import android.app.Activity;
import android.view.KeyCharacterMap;
import android.view.KeyEvent;
import android.view.Window;
import java.lang.reflect.InvocationHandler;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Proxy;

/**
 * open puts a wrapper around the callback of the activity's window, on the UI thread, so every
 * key event reaches it before the focused view. A key the scanner types (one the native key
 * table names, or one that gives characters) becomes one packet of {@link KeyPacket}, sent on
 * the UI thread, and goes no further: a code scanned while a text field has the focus must not
 * land in the field as well. Keys the table does not name and that type nothing (back, volume,
 * the D-pad, a scan trigger) go on to the window as if the wrapper were not there, and so does
 * every other call of the callback.
 * close puts the old callback back, on the UI thread, when the wrapper is still the window's;
 * when another one has been put around it since, the wrapper stays in that chain and passes
 * everything on. open takes "timeout=..;ignore_state=0|1;gs1symbolkey=<hex key code>;": the
 * timing and the GS key are the native side's business, so none of it changes what is done here.
 * Nothing here waits for the UI thread or throws to its caller.
 */
public class PKeyboard {
    // The Android key codes the native key table names, as ranges; other keys count only by the
    // characters they give.
    private static final int[][] NAMED_KEYS = {
        {3, 3}, {7, 18}, {29, 62}, {66, 76}, {81, 81}, {92, 93}, {111, 111}, {113, 115},
        {124, 124}, {131, 142}, {144, 155}, {157, 157}, {159, 163},
    };

    private final Activity activity;
    private final long handle;
    private final Object lock = new Object(); // guards hook
    private Hook hook;
    private volatile String lastError = "";

    /** One opening's wrapper. install and remove run on the UI thread, and so do key events. */
    private final class Hook implements InvocationHandler {
        volatile boolean closed;
        private Window window;
        private Window.Callback wrapped; // what the wrapper passes on to
        private Window.Callback wrapper;

        void install() {
            try {
                Window found = activity.getWindow();
                if (closed || found == null || found.getCallback() == null)
                    return;
                wrapped = found.getCallback();
                wrapper = (Window.Callback) Proxy.newProxyInstance(PKeyboard.class.getClassLoader(),
                                                                   new Class<?>[] {Window.Callback.class}, this);
                found.setCallback(wrapper);
                window = found;
            } catch (RuntimeException e) {
                lastError = Parameters.reason(e);
            }
        }

        void remove() {
            try {
                if (window != null && window.getCallback() == wrapper)
                    window.setCallback(wrapped);
            } catch (RuntimeException e) {
                lastError = Parameters.reason(e);
            }
            window = null;
        }

        @Override
        public Object invoke(Object self, Method method, Object[] args) throws Throwable {
            if (method.getDeclaringClass() == Object.class) {
                switch (method.getName()) {
                case "equals": return self == args[0];
                case "hashCode": return System.identityHashCode(self);
                default: return "key wrapper of " + wrapped;
                }
            }
            if (!closed && method.getName().equals("dispatchKeyEvent") && args != null && args.length == 1
                    && args[0] instanceof KeyEvent && take((KeyEvent) args[0]))
                return Boolean.TRUE;
            try {
                return method.invoke(wrapped, args);
            } catch (InvocationTargetException e) {
                throw e.getCause();
            }
        }
    }

    public PKeyboard(Activity activity, long handle) {
        this.activity = activity;
        this.handle = handle;
    }

    /** Starts taking the activity's key events; false, with the reason, when it has none to give. */
    public boolean open(String settings) {
        close();
        try {
            if (activity == null)
                throw new IllegalStateException("no activity to take key events from");
            Window window = activity.getWindow();
            if (window == null || window.getCallback() == null)
                throw new IllegalStateException("the activity's window takes no key events");
            Hook opened = new Hook();
            synchronized (lock) {
                hook = opened;
            }
            lastError = "";
            activity.runOnUiThread(opened::install);
            return true;
        } catch (RuntimeException e) {
            close();
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** Stops taking key events at once; the window gets its callback back on the UI thread. */
    public void close() {
        Hook closing;
        synchronized (lock) {
            closing = hook;
            hook = null;
        }
        if (closing == null)
            return;
        closing.closed = true;
        try {
            activity.runOnUiThread(closing::remove);
        } catch (RuntimeException e) {
            lastError = Parameters.reason(e);
        }
    }

    public String getLastErrorMessage() {
        return lastError;
    }

    /** Where each packet goes; a test overrides it to see the packets without the native side. */
    void deliver(String packet) {
        PKeyboardDataSend(handle, packet);
    }

    /** True when the event was the scanner's and went to the native side. */
    private boolean take(KeyEvent event) {
        try {
            String record = record(event);
            if (record == null)
                return false;
            deliver(record);
            return true;
        } catch (RuntimeException | LinkageError e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** The event's record in the packet; null for a key that types nothing and has no name. */
    static String record(KeyEvent event) {
        int action = event.getAction();
        int keyCode = event.getKeyCode();
        String characters;
        if (action == KeyEvent.ACTION_MULTIPLE && keyCode == KeyEvent.KEYCODE_UNKNOWN) {
            characters = event.getCharacters();
            if (characters == null)
                characters = "";
        } else {
            characters = character(event.getUnicodeChar());
            // A key repeated in one event gives its character that many times.
            if (action == KeyEvent.ACTION_MULTIPLE && !characters.isEmpty()) {
                StringBuilder repeated = new StringBuilder(characters);
                for (int i = 1; i < event.getRepeatCount(); ++i)
                    repeated.append(characters);
                characters = repeated.toString();
            }
        }
        if (characters.isEmpty() && !named(keyCode))
            return null;
        return KeyPacket.record(keyCode, action, event.getMetaState(), characters);
    }

    private static String character(int unicodeChar) {
        // A dead key (an accent waiting for its letter) types nothing by itself.
        if (unicodeChar == 0 || (unicodeChar & KeyCharacterMap.COMBINING_ACCENT) != 0
                || !Character.isValidCodePoint(unicodeChar))
            return "";
        return new String(Character.toChars(unicodeChar));
    }

    private static boolean named(int keyCode) {
        for (int[] range : NAMED_KEYS) {
            if (keyCode >= range[0] && keyCode <= range[1])
                return true;
        }
        return false;
    }

    static native void PKeyboardDataSend(long handle, String packet);
}
