// The Android broadcast companion against the fake context: registration, delivery, close.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import android.app.Activity;
import android.content.Context;
import android.content.Intent;
import android.content.IntentFilter;
import android.os.Build;
import java.util.concurrent.LinkedBlockingQueue;
import org.junit.After;
import org.junit.Test;

public class PBroadcastReceaverTest {
    private final Context application = new Context();
    private final Activity activity = new Activity() {{ applicationContext = application; }};
    private final LinkedBlockingQueue<String> sent = new LinkedBlockingQueue<>();

    private final PBroadcastReceaver receiver = new PBroadcastReceaver(activity, 7) {
        @Override
        void deliver(String xml) { sent.add(xml); }
    };

    @After
    public void restoreLevel() {
        Build.VERSION.SDK_INT = 34;
        receiver.close();
    }

    @Test
    public void registersExportedOnTheApplicationFromApi33AndHandsOverExtrasByteForByteUntilClose() {
        for (int level : new int[] {32, 33}) {
            Build.VERSION.SDK_INT = level;
            assertTrue(receiver.open("action_name=SCAN;action_category_name=C;fields=data(9);"));
            IntentFilter filter = application.receivers.get(application.receivers.keySet().iterator().next());
            assertEquals("SCAN C " + (level >= 33 ? 2 : -1), filter.action + " " + filter.category + " " + application.flags);
            assertNotNull("intents must not wait for the UI thread", application.handler);
            assertTrue(activity.receivers.isEmpty());
            receiver.close();
            assertTrue(application.receivers.isEmpty());
        }
        assertFalse(receiver.open("action_name=SCAN;"));
        assertFalse(receiver.getLastErrorMessage().isEmpty());
        assertFalse(new PBroadcastReceaver(null, 1).open("action_name=SCAN;fields=data(9);"));
        assertTrue(application.receivers.isEmpty());

        // Extras go byte for byte, each by its declared type; nothing comes after close.
        assertTrue(receiver.open("action_name=SCAN;fields=raw(65538),text(9),chars(65539);"));
        application.sendBroadcast(new Intent("SCAN").putExtra("raw", new byte[] {'0', '1', 0x1d, (byte) 0xff})
                                                     .putExtra("text", "Aé").putExtra("chars", new char[] {'x'}));
        assertEquals("<action><fields><field key=\"raw\" value=\"MDEd/w==\"/><field key=\"text\" value=\"QcOp\"/>"
                     + "<field key=\"chars\" value=\"eA==\"/></fields></action>", sent.poll());
        application.sendBroadcast(new Intent("SCAN").putExtra("other", "x")); // none of the fields: passed over
        receiver.close();
        application.sendBroadcast(new Intent("SCAN").putExtra("text", "late"));
        assertNull(sent.poll());
    }
}
