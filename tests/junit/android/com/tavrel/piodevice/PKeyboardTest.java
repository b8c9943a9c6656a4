// The Android keyboard companion against a fake window: which keys it takes, the packets they
// become, and the window's callback put back on close.
package com.tavrel.piodevice;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotSame;
import static org.junit.Assert.assertSame;
import static org.junit.Assert.assertTrue;

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

        public void onWindowFocusChanged(boolean hasFocus) {
            focus = hasFocus;
        }
    }

    private final Activity activity = new Activity();
    private final Original original = new Original();
    private final List<String> packets = new ArrayList<>();
    private final PKeyboard keyboard = new PKeyboard(activity, 5) {
        @Override
        void deliver(String packet) {
            packets.add(packet);
        }
    };

    {
        activity.window = new Window();
        activity.window.setCallback(original);
    }

    private boolean press(KeyEvent event) {
        return activity.window.getCallback().dispatchKeyEvent(event);
    }

    @Test
    public void keyEventsBecomeThePacketTheDesktopMakesForTheSameKeys() {
        int shift = KeyEvent.META_SHIFT_ON;
        int caps = KeyEvent.META_CAPS_LOCK_ON;
        KeyEvent[] events = {
            new KeyEvent(KeyEvent.ACTION_DOWN, 59, shift, 0),
            new KeyEvent(KeyEvent.ACTION_DOWN, 29, shift, 'A'),
            new KeyEvent(KeyEvent.ACTION_UP, 29, shift, 'A'),
            new KeyEvent(KeyEvent.ACTION_UP, 59, 0, 0),
            new KeyEvent(KeyEvent.ACTION_DOWN, 30, caps, 'B'),
            new KeyEvent(KeyEvent.ACTION_DOWN, 138, 0, 0),
            new KeyEvent(KeyEvent.ACTION_UP, 138, 0, 0),
            new KeyEvent("é"),
            new KeyEvent(KeyEvent.ACTION_DOWN, 66, 0, '\n'),
        };
        String desktop = KeyPacket.of(new int[] {59, 29, 29, 59, 30, 138, 138, 0, 66},
                                      new int[] {0, 0, 1, 1, 0, 0, 1, 2, 0},
                                      new int[] {shift, shift, shift, 0, caps, 0, 0, 0, 0},
                                      new String[] {null, null, null, null, null, null, null, "é", null});
        assertTrue(keyboard.open("timeout=0;ignore_state=0;gs1symbolkey=0000008a;"));
        for (KeyEvent event : events)
            assertTrue(press(event));
        assertEquals(desktop, String.join(";", packets));
        assertTrue(original.keys.isEmpty());
    }

    @Test
    public void keysThatTypeNothingAndHaveNoNameAndEveryOtherCallReachTheWindow() {
        assertTrue(keyboard.open(""));
        assertFalse(press(new KeyEvent(KeyEvent.ACTION_DOWN, 4, 0, 0))); // back
        assertFalse(press(new KeyEvent(KeyEvent.ACTION_DOWN, 24, 0, 0))); // volume up
        assertTrue(press(new KeyEvent(KeyEvent.ACTION_DOWN, 156, 0, '-'))); // keypad minus: no name, a character
        assertEquals(List.of("156:1:LQ=="), packets);
        activity.window.getCallback().onWindowFocusChanged(true);
        assertEquals(List.of(4, 24), original.keys);
        assertTrue(original.focus);
    }

    @Test
    public void closePutsTheCallbackBackOrLeavesAWrapperAroundItPassingEverythingOn() {
        assertTrue(keyboard.open(""));
        Window.Callback wrapper = activity.window.getCallback();
        assertNotSame(original, wrapper);
        keyboard.close();
        assertSame(original, activity.window.getCallback());
        assertFalse(wrapper.dispatchKeyEvent(new KeyEvent(KeyEvent.ACTION_DOWN, 29, 0, 'a')));

        // Another library wraps ours: closing must not cut it out, and ours must go quiet.
        assertTrue(keyboard.open(""));
        Window.Callback ours = activity.window.getCallback();
        Original outer = new Original() {
            @Override
            public boolean dispatchKeyEvent(KeyEvent event) {
                return ours.dispatchKeyEvent(event);
            }
        };
        activity.window.setCallback(outer);
        keyboard.close();
        assertSame(outer, activity.window.getCallback());
        assertFalse(press(new KeyEvent(KeyEvent.ACTION_DOWN, 29, 0, 'a')));
        assertEquals(List.of(29, 29), original.keys);
        assertTrue(packets.isEmpty());
    }

    @Test
    public void openWithoutAWindowToWatchFailsWithTheReason() {
        assertFalse(new PKeyboard(null, 5).open(""));
        activity.window = null;
        assertFalse(keyboard.open(""));
        assertEquals("the activity's window takes no key events", keyboard.getLastErrorMessage());
    }
}
