// The Android keyboard companion against a fake window: which keys it takes, the packets they
// become, and the window's callback put back on close.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import android.app.Activity;
import android.view.KeyEvent;
import android.view.Window;
import java.util.ArrayList;
import java.util.List;
import org.junit.Test;

public class PKeyboardTest {
    /** The activity's own callback: records what reaches it. */
    private static class Original implements Window.Callback {
        final List<Integer> keys = new ArrayList<>();
        boolean focus;

        public boolean dispatchKeyEvent(KeyEvent event) {
            keys.add(event.getKeyCode());
            return false;
        }

        public void onWindowFocusChanged(boolean hasFocus) { focus = hasFocus; }
    }

    private final Activity activity = new Activity();
    private final Original original = new Original();
    private final List<String> packets = new ArrayList<>();
    private final PKeyboard keyboard = new PKeyboard(activity, 5) {
        @Override
        void deliver(String packet) { packets.add(packet); }
    };

    {
        activity.window = new Window();
        activity.window.setCallback(original);
    }

    /** Presses a key with no modifier; true when the key went no further. */
    private boolean press(int keyCode, int character) {
        return activity.window.getCallback().dispatchKeyEvent(new KeyEvent(KeyPacket.ACTION_DOWN, keyCode, 0, character, null));
    }

    @Test
    public void keyEventsBecomeThePacketTheDesktopMakesForTheSameKeys() {
        int shift = KeyPacket.META_SHIFT_ON, caps = KeyPacket.META_CAPS_LOCK_ON;
        int[] codes = {59, 29, 29, 59, 30, 138, 138, 0, 66};
        int[] actions = {0, 0, 1, 1, 0, 0, 1, KeyPacket.ACTION_MULTIPLE, 0};
        int[] metas = {shift, shift, shift, 0, caps, 0, 0, 0, 0};
        int[] characters = {0, 'A', 'A', 0, 'B', 0, 0, 0, '\n'};
        String[] texts = {null, null, null, null, null, null, null, "é", null};
        assertTrue(keyboard.open("timeout=0;ignore_state=0;gs1symbolkey=0000008a;"));
        for (int i = 0; i < codes.length; ++i) {
            KeyEvent event = new KeyEvent(actions[i], codes[i], metas[i], characters[i], texts[i]);
            assertTrue(activity.window.getCallback().dispatchKeyEvent(event));
        }
        assertEquals(KeyPacket.of(codes, actions, metas, texts), String.join(";", packets));
        assertTrue(original.keys.isEmpty());
    }

    @Test
    public void keysThatTypeNothingReachTheWindowAndClosePutsTheCallbackBackOrLeavesAWrapperPassingEverythingOn() {
        assertTrue(keyboard.open(""));
        assertFalse(press(4, 0)); // back
        assertFalse(press(24, 0)); // volume up
        assertTrue(press(156, '-')); // keypad minus: no name, a character
        assertEquals(List.of("156:1:LQ=="), packets);
        activity.window.getCallback().onWindowFocusChanged(true);
        assertEquals(List.of(4, 24), original.keys);
        assertTrue(original.focus);

        Window.Callback wrapper = activity.window.getCallback();
        assertNotSame(original, wrapper);
        keyboard.close();
        assertSame(original, activity.window.getCallback());
        assertFalse(wrapper.dispatchKeyEvent(new KeyEvent(KeyPacket.ACTION_DOWN, 29, 0, 'a', null)));

        // Another library wraps ours: closing must not cut it out, and ours must go quiet.
        assertTrue(keyboard.open(""));
        Window.Callback ours = activity.window.getCallback();
        Original outer = new Original() {
            @Override
            public boolean dispatchKeyEvent(KeyEvent event) { return ours.dispatchKeyEvent(event); }
        };
        activity.window.setCallback(outer);
        keyboard.close();
        assertSame(outer, activity.window.getCallback());
        assertFalse(press(29, 'a'));
        assertEquals(List.of(4, 24, 29, 29), original.keys);
        assertEquals(List.of("156:1:LQ=="), packets);

        // Nothing to watch: the open fails with the reason.
        assertFalse(new PKeyboard(null, 5).open(""));
        activity.window = null;
        assertFalse(keyboard.open(""));
        assertEquals("the activity's window takes no key events", keyboard.getLastErrorMessage());
    }
}
