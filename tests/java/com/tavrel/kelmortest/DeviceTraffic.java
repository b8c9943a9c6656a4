// What a scanner application or a keyboard sends: single intents and floods from Java threads.
package com.tavrel.kelmortest;

import android.content.Intent;
import com.tavrel.piodevice.PBroadcastReceaver;
import com.tavrel.piodevice.PKeyboard;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;

public final class DeviceTraffic {
    private static final List<Thread> floods = new ArrayList<>();
    private static volatile boolean flooding;

    private DeviceTraffic() {}

    private static Intent intent(String action, String category) {
        Intent intent = new Intent(action);
        if (category != null && !category.isEmpty())
            intent.addCategory(category);
        return intent;
    }

    public static void sendString(String action, String category, String name, String value) {
        PBroadcastReceaver.sendBroadcast(intent(action, category).putExtra(name, value));
    }

    /** The text's characters as bytes 0 to 255 each (ISO-8859-1), so a test can name any byte. */
    public static void sendBytes(String action, String category, String name, String latin1) {
        PBroadcastReceaver.sendBroadcast(
                intent(action, category).putExtra(name, latin1.getBytes(StandardCharsets.ISO_8859_1)));
    }

    public static void sendChars(String action, String category, String name, String value) {
        PBroadcastReceaver.sendBroadcast(intent(action, category).putExtra(name, value.toCharArray()));
    }

    /** Starts a thread that sends the intent over and over (unless action is null), and one that
     *  sends the key packet (unless it is null). Only the flood a test asked for: on a small
     *  machine the other would take the CPU from the threads that the test measures. */
    public static synchronized void startFloods(String action, String name, String keyPacket) {
        flooding = true;
        if (action != null) {
            Intent intent = new Intent(action).putExtra(name, "4601234567894");
            flood("intent flood", () -> PBroadcastReceaver.sendBroadcast(intent));
        }
        if (keyPacket != null)
            flood("key flood", () -> PKeyboard.sendPacket(keyPacket));
    }

    private static void flood(String name, Runnable send) {
        Thread thread = new Thread(() -> {
            while (flooding)
                send.run();
        }, name);
        thread.setDaemon(true);
        floods.add(thread);
        thread.start();
    }

    /** Ends the floods; true when their threads are gone within the time. */
    public static synchronized boolean stopFloods(long millis) throws InterruptedException {
        flooding = false;
        long deadline = System.currentTimeMillis() + millis;
        for (Thread thread : floods)
            thread.join(Math.max(1, deadline - System.currentTimeMillis()));
        boolean ended = floods.stream().noneMatch(Thread::isAlive);
        floods.clear();
        return ended;
    }
}
