// The Java end of the native log: the tag of the system log, the log file, and the native
// writer. Java code of the library logs through log().
package com.tavrel.strake;

import java.io.FileOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.text.SimpleDateFormat;
import java.util.Date;
import java.util.Locale;

/**
 * setTag and setLogFile come from the native side when a device log opens. log writes a line
 * to the system log under the tag and, when a log file is set, appends it there with the time,
 * so the companions' own troubles show beside the native lines. Nothing here throws.
 */
public final class PLogger {
    private static volatile String tag = "Strake";
    private static volatile String logFile = "";

    private PLogger() {}

    public static void setTag(String value) {
        tag = value == null ? "" : value;
    }

    public static void setLogFile(String value) {
        logFile = value == null ? "" : value;
    }

    public static String getTag() {
        return tag;
    }

    public static String getLogFile() {
        return logFile;
    }

    /** One line to the system log and the log file. */
    public static void log(String text) {
        String line = text == null ? "" : text;
        SystemLog.write(tag.isEmpty() ? "Strake" : tag, line);
        String file = logFile;
        if (file.isEmpty())
            return;
        String stamp = new SimpleDateFormat("yyyy-MM-dd HH:mm:ss.SSS", Locale.ROOT).format(new Date());
        synchronized (PLogger.class) {
            try (OutputStream out = new FileOutputStream(file, true)) {
                out.write((stamp + " " + line + "\n").getBytes(StandardCharsets.UTF_8));
            } catch (IOException | RuntimeException ignored) {
                // A log that can't be written must not break what is being logged.
            }
        }
    }

    /** Writes a line to the native logger at that address; 0 only traces that there is none. */
    public static native void PLoggerWrite(long logger, String text);
}
