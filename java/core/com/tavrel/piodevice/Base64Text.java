// Base64 of the lists and documents handed to the native side. java.util.Base64 only came
// with Android 8, and the companions run from Android 7 on.
package com.tavrel.piodevice;

import java.nio.charset.StandardCharsets;

public final class Base64Text {
    private static final char[] ALPHABET =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/".toCharArray();

    private Base64Text() {}

    /** The bytes in the standard alphabet, padded with "=". */
    public static String encode(byte[] data) {
        StringBuilder out = new StringBuilder((data.length + 2) / 3 * 4);
        for (int i = 0; i < data.length; i += 3) {
            int left = data.length - i;
            int group = (data[i] & 0xff) << 16 | (left > 1 ? (data[i + 1] & 0xff) << 8 : 0)
                        | (left > 2 ? data[i + 2] & 0xff : 0);
            out.append(ALPHABET[group >> 18 & 63]).append(ALPHABET[group >> 12 & 63])
               .append(left > 1 ? ALPHABET[group >> 6 & 63] : '=').append(left > 2 ? ALPHABET[group & 63] : '=');
        }
        return out.toString();
    }

    /** The text's UTF-8 bytes in Base64. */
    public static String encode(String text) {
        return encode(text.getBytes(StandardCharsets.UTF_8));
    }
}
