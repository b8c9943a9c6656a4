// Text to bytes and back in a named code page, for the native side's recoding of scans.
package com.tavrel.strake;

import java.nio.charset.Charset;

/**
 * Takes the charset names of the native encoding table; "CP20127" is plain US-ASCII. A
 * character the code page lacks becomes "?", a byte it lacks U+FFFD. An unknown name or a
 * null argument gives an empty answer; nothing is thrown.
 */
public final class MyCharsetEncoder {
    private MyCharsetEncoder() {}

    public static byte[] encode(String text, String charsetName) {
        try {
            return text.getBytes(charset(charsetName));
        } catch (RuntimeException e) {
            return new byte[0];
        }
    }

    public static String decode(byte[] data, String charsetName) {
        try {
            return new String(data, charset(charsetName));
        } catch (RuntimeException e) {
            return "";
        }
    }

    static Charset charset(String name) {
        return Charset.forName("CP20127".equalsIgnoreCase(name) ? "US-ASCII" : name);
    }
}
