// The platform's system log, as PLogger writes to it. A desktop VM has none: the log file,
// when one is set, is where the lines go.
package com.tavrel.strake;

final class SystemLog {
    private SystemLog() {}

    static void write(String tag, String line) {}
}
