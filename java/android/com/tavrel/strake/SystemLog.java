// The platform's system log, as PLogger writes to it: Android's log at the info level.
package com.tavrel.strake;

import android.util.Log;

final class SystemLog {
    private SystemLog() {}

    static void write(String tag, String line) {
        try {
            Log.i(tag, line);
        } catch (RuntimeException ignored) {
            // A log that fails must not break what is being logged.
        }
    }
}
