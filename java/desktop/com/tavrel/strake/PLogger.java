// The Java end of the native log: a tag, a log file name, and the native writer.
package com.tavrel.strake;

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

    /** Writes a line to the native logger at that address; 0 only traces that there is none. */
    public static native void PLoggerWrite(long logger, String text);
}
