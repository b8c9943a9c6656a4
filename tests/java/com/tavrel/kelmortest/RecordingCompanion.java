// A companion that records what the native side asks of it and answers as a test tells it:
// it stands in for any device class with a constructor (Activity, long), open and close.
package com.tavrel.kelmortest;

import android.app.Activity;
import java.util.ArrayList;
import java.util.List;

public class RecordingCompanion {
    private static volatile String openAnswer = "true";
    private static volatile boolean constructorThrows = false;

    private static final List<String> log = new ArrayList<>();
    private static volatile long lastHandle;

    public RecordingCompanion(Activity activity, long handle) {
        if (constructorThrows)
            throw new IllegalStateException("constructor refused");
        lastHandle = handle;
        record("new " + (handle != 0 ? "handle" : "0"));
    }

    public boolean open(String parameters) {
        record("open " + parameters);
        if (openAnswer.equals("throw"))
            throw new IllegalStateException("open refused");
        return openAnswer.equals("true");
    }

    public void close() {
        record("close");
        if (openAnswer.equals("throw"))
            throw new IllegalStateException("close refused");
    }

    /** The handle the last companion was made with. */
    public static String lastHandle() {
        return Long.toString(lastHandle);
    }

    /** How the next companions answer: open "true", "false" or "throw"; a throwing constructor. */
    public static void answer(String open, boolean constructorFails) {
        openAnswer = open;
        constructorThrows = constructorFails;
    }

    private static synchronized void record(String line) {
        log.add(line);
    }

    /** Everything recorded since the last call, one line each, and resets the answers. */
    public static synchronized String take() {
        String text = String.join("\n", log);
        log.clear();
        openAnswer = "true";
        constructorThrows = false;
        return text;
    }
}
