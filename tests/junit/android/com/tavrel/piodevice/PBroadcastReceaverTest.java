// The Android broadcast companion against the fake context: registration, delivery, close.
package com.tavrel.piodevice;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import android.app.Activity;
import android.content.Context;
import android.content.Intent;
import android.os.Build;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.After;
import org.junit.Test;

public class PBroadcastReceaverTest {
    private final Context application = new Context();
    private final Activity activity = activityOf(application);
    private final LinkedBlockingQueue<String> sent = new LinkedBlockingQueue<>();
    private final LinkedBlockingQueue<Thread> senders = new LinkedBlockingQueue<>();
    private final PBroadcastReceaver receiver = new PBroadcastReceaver(activity, 7) {
        @Override
        void deliver(String xml) {
            senders.add(Thread.currentThread());
            sent.add(xml);
        }
    };

    private static Activity activityOf(Context application) {
        Activity activity = new Activity();
        activity.applicationContext = application;
        return activity;
    }

    @After
    public void restoreLevel() {
        Build.VERSION.SDK_INT = 34;
        receiver.close();
    }

    private String next() throws InterruptedException {
        return sent.poll(5, TimeUnit.SECONDS);
    }

    @Test
    public void registersExportedOnTheApplicationFromApi33AndWithoutFlagsBefore() {
        for (int level : new int[] {24, 32, 33, 34}) {
            Build.VERSION.SDK_INT = level;
            assertTrue(receiver.open("action_name=SCAN;action_category_name=C;fields=data(9);"));
            assertTrue(activity.registrations.isEmpty());
            assertEquals(1, application.registrations.size());
            Context.Registration r = application.registrations.get(0);
            assertEquals(level >= 33 ? 2 : -1, r.flags);
            assertTrue(r.filter.actions.contains("SCAN") && r.filter.categories.contains("C"));
            receiver.close();
            assertTrue(application.registrations.isEmpty());
        }
    }

    @Test
    public void extrasGoByTheirDeclaredTypeOnTheReceiversOwnThread() throws InterruptedException {
        assertTrue(receiver.open("action_name=SCAN;fields=raw(65538),text(9),chars(65539);"));
        byte[] raw = {'0', '1', 0x1d, (byte) 0xff};
        application.sendBroadcast(new Intent("SCAN").putExtra("raw", raw).putExtra("text", "Aé")
                                                     .putExtra("chars", new char[] {'x'}));
        assertEquals("<action><fields><field key=\"raw\" value=\"MDEd/w==\"/><field key=\"text\" value=\"QcOp\"/>"
                     + "<field key=\"chars\" value=\"eA==\"/></fields></action>", next());
        assertNotEquals(Thread.currentThread(), senders.poll());

        // Wrong type or no extra: left out, and an intent with nothing is passed over.
        application.sendBroadcast(new Intent("SCAN").putExtra("raw", "not bytes").putExtra("text", "t"));
        assertEquals("<action><fields><field key=\"text\" value=\"dA==\"/></fields></action>", next());
        application.sendBroadcast(new Intent("SCAN").putExtra("other", "x"));
        application.sendBroadcast(new Intent("OTHER").putExtra("text", "x"));
        receiver.close();
        application.sendBroadcast(new Intent("SCAN").putExtra("text", "late"));
        assertNull(sent.poll(200, TimeUnit.MILLISECONDS));
    }

    @Test
    public void badParametersGiveFalseWithAReasonAndRegisterNothing() {
        for (String bad : new String[] {null, "", "fields=data(9);", "action_name=SCAN;", "action_name=SCAN;fields=data(x);"}) {
            assertFalse(bad, receiver.open(bad));
            assertFalse(bad, receiver.getLastErrorMessage().isEmpty());
        }
        assertTrue(application.registrations.isEmpty());
        assertFalse(new PBroadcastReceaver(null, 1).open("action_name=SCAN;fields=data(9);"));
    }
}
