// The parameter strings that the native side hands to a companion's open.
package com.tavrel.piodevice;

import java.util.HashMap;
import java.util.Map;

/** "key=value;" items, nothing escaped: a value runs from the first "=" to the next ";". */
public final class Parameters {
    private final Map<String, String> values = new HashMap<>();

    public Parameters(String text) {
        if (text == null)
            return;
        for (String item : text.split(";")) {
            int equals = item.indexOf('=');
            if (equals > 0)
                values.put(item.substring(0, equals).trim(), item.substring(equals + 1));
        }
    }

    /** The value as it is; empty when absent. */
    public String text(String key) {
        String value = values.get(key);
        return value == null ? "" : value;
    }

    /** The value as a number; the fallback when absent or empty, IllegalArgumentException when not a number. */
    public long number(String key, long fallback) {
        String value = text(key).trim();
        if (value.isEmpty())
            return fallback;
        try {
            return Long.parseLong(value);
        } catch (NumberFormatException e) {
            throw new IllegalArgumentException("bad " + key + " value: " + value);
        }
    }

    /** The reason of a failure in a few words, for getLastErrorMessage. */
    public static String reason(Throwable e) {
        String message = e.getMessage();
        return message == null || message.isEmpty() ? e.toString() : message;
    }
}
