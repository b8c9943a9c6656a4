// Test fake of the system log: keeps "TAG: message" lines for a test to read.
package android.util;

import java.util.List;
import java.util.concurrent.CopyOnWriteArrayList;

public final class Log {
    public static final List<String> lines = new CopyOnWriteArrayList<>();

    public static int i(String tag, String msg) {
        lines.add(tag + ": " + msg);
        return 0;
    }
}
