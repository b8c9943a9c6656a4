// The Java side of keyboard mode on a desktop: key events come from the static calls below
// and go to the native keyboard service as packets.
package com.tavrel.piodevice;

import android.app.Activity;
import java.util.concurrent.CopyOnWriteArrayList;

/**
 * Each call of a send method gives one packet ({@link KeyPacket}) to every open companion
 * (normally the one of the native service), on the calling thread. open takes
 * "timeout=..;ignore_state=0|1;gs1symbolkey=<hex key code>;". No thread of its own; close
 * waits for nothing, and a closed companion sends no more.
 */
public class PKeyboard {
    public static final int ACTION_DOWN = KeyPacket.ACTION_DOWN;
    public static final int ACTION_UP = KeyPacket.ACTION_UP;
    public static final int ACTION_MULTIPLE = KeyPacket.ACTION_MULTIPLE;
    public static final int META_SHIFT_ON = KeyPacket.META_SHIFT_ON;
    public static final int META_ALT_ON = KeyPacket.META_ALT_ON;
    public static final int META_CTRL_ON = KeyPacket.META_CTRL_ON;
    public static final int META_CAPS_LOCK_ON = KeyPacket.META_CAPS_LOCK_ON;
    public static final int KEYCODE_UNKNOWN = KeyPacket.KEYCODE_UNKNOWN;
    public static final int KEYCODE_SHIFT_LEFT = KeyPacket.KEYCODE_SHIFT_LEFT;
    public static final int KEYCODE_ENTER = KeyPacket.KEYCODE_ENTER;
    public static final int KEYCODE_F8 = KeyPacket.KEYCODE_F8;

    private static final CopyOnWriteArrayList<PKeyboard> openKeyboards = new CopyOnWriteArrayList<>();

    private final long handle;
    private volatile boolean opened;
    private volatile int gs1KeyCode = KEYCODE_F8;

    public PKeyboard(Activity activity, long handle) {
        this.handle = handle;
    }

    public synchronized boolean open(String settings) {
        gs1KeyCode = KeyPacket.gsKeyCode(new Parameters(settings));
        opened = true;
        openKeyboards.addIfAbsent(this);
        return true;
    }

    public synchronized void close() {
        opened = false;
        openKeyboards.remove(this);
    }

    /** Where each packet goes; a test overrides it to see them without the native side. */
    void deliver(String packet) {
        PKeyboardDataSend(handle, packet);
    }

    public static char unicodeChar(int keyCode, int metaState) {
        return KeyPacket.unicodeChar(keyCode, metaState);
    }

    public static String packetRecord(int keyCode, int action, int metaState, String characters) {
        return KeyPacket.record(keyCode, action, metaState, characters);
    }

    public static String packet(int[] keyCodes, int[] actions, int[] metaStates, String[] characters) {
        return KeyPacket.of(keyCodes, actions, metaStates, characters);
    }

    /** Sends the events as one packet; answers how many open companions got it. */
    public static int sendKeyEvents(int[] keyCodes, int[] actions, int[] metaStates, String[] characters) {
        return sendPacket(packet(keyCodes, actions, metaStates, characters));
    }

    public static int sendKeyEvent(int keyCode, int action, int metaState, String characters) {
        return sendPacket(packetRecord(keyCode, action, metaState, characters));
    }

    /** Types the text as a keyboard scanner does, with the GS key of the first open companion. */
    public static int sendText(String text) {
        PKeyboard first = openKeyboards.isEmpty() ? null : openKeyboards.get(0);
        return sendPacket(KeyPacket.typed(text, first != null ? first.gs1KeyCode : KEYCODE_F8));
    }

    /** Hands a ready packet to every open companion; answers how many got it. */
    public static int sendPacket(String packet) {
        int reached = 0;
        for (PKeyboard keyboard : openKeyboards) {
            if (keyboard.opened) {
                keyboard.deliver(packet);
                ++reached;
            }
        }
        return reached;
    }

    /** How many companions are open now. */
    public static int openCount() {
        return openKeyboards.size();
    }

    static native void PKeyboardDataSend(long handle, String packet);
}
