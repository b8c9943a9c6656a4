// The keyboard packet that the native keyboard service reads: one record per key event.
package com.tavrel.piodevice;

import java.util.HashMap;
import java.util.Map;

/**
 * A packet is a list of records "keyCode:flags[:characters]" joined by ";": the Android key
 * code, the flags (bit 0 pressed, bit 1 upper case: shift or caps lock but not both) and the
 * characters of the event as UTF-8 in Base64, left out when it has none. Key codes and meta
 * bits are Android's, so a record made from a real key event and one made here for the same
 * key are the same.
 */
public final class KeyPacket {
    public static final int ACTION_DOWN = 0;
    public static final int ACTION_UP = 1;
    public static final int ACTION_MULTIPLE = 2;
    public static final int META_SHIFT_ON = 0x1;
    public static final int META_ALT_ON = 0x2;
    public static final int META_CTRL_ON = 0x1000;
    public static final int META_CAPS_LOCK_ON = 0x100000;
    public static final int KEYCODE_UNKNOWN = 0;
    public static final int KEYCODE_SHIFT_LEFT = 59;
    public static final int KEYCODE_ENTER = 66;
    public static final int KEYCODE_F8 = 138;

    // Characters of a US desktop keyboard by Android key code: plain and with shift.
    private static final Map<Integer, char[]> keyChars = new HashMap<>();
    // The key, and whether it needs shift, of each character that one key gives.
    private static final Map<Character, int[]> charKeys = new HashMap<>();

    static {
        for (int i = 0; i < 26; ++i)
            key(29 + i, (char) ('a' + i), (char) ('A' + i));
        String shiftedDigits = ")!@#$%^&*(";
        for (int i = 0; i < 10; ++i)
            key(7 + i, (char) ('0' + i), shiftedDigits.charAt(i));
        String plain = ",.`-=[]\\;'/";
        String shifted = "<>~_+{}|:\"?";
        int[] codes = {55, 56, 68, 69, 70, 71, 72, 73, 74, 75, 76};
        for (int i = 0; i < codes.length; ++i)
            key(codes[i], plain.charAt(i), shifted.charAt(i));
        key(62, ' ', ' ');
        key(61, '\t', '\t');
        key(KEYCODE_ENTER, '\n', '\n');
        // Keys whose characters another key already gives: not used for typing text.
        keyChars.put(17, new char[] {'*', '*'});
        keyChars.put(18, new char[] {'#', '#'});
        keyChars.put(77, new char[] {'@', '@'});
        keyChars.put(81, new char[] {'+', '+'});
        for (int i = 0; i < 10; ++i)
            keyChars.put(144 + i, new char[] {(char) ('0' + i), (char) ('0' + i)});
        String pad = "/*-+.,\n=()";
        for (int i = 0; i < pad.length(); ++i)
            keyChars.put(154 + i, new char[] {pad.charAt(i), pad.charAt(i)});
    }

    private static void key(int code, char plain, char shifted) {
        keyChars.put(code, new char[] {plain, shifted});
        charKeys.putIfAbsent(plain, new int[] {code, 0});
        charKeys.putIfAbsent(shifted, new int[] {code, 1});
    }

    private KeyPacket() {}

    /** The character a key gives on a US desktop keyboard with that meta state; 0 for none. */
    public static char unicodeChar(int keyCode, int metaState) {
        char[] chars = keyChars.get(keyCode);
        if (chars == null)
            return 0;
        return chars[upperCase(metaState) ? 1 : 0];
    }

    /**
     * One record. Null characters take the key's own character from {@link #unicodeChar}; an
     * empty text sends none. ACTION_MULTIPLE counts as a press.
     */
    public static String record(int keyCode, int action, int metaState, String characters) {
        int flags = (action == ACTION_UP ? 0 : 1) | (upperCase(metaState) ? 2 : 0);
        if (characters == null) {
            char c = unicodeChar(keyCode, metaState);
            characters = c == 0 ? "" : String.valueOf(c);
        }
        String record = keyCode + ":" + flags;
        if (!characters.isEmpty())
            record += ":" + Base64Text.encode(characters);
        return record;
    }

    /** The packet of a series of key events; the arrays are read in parallel. */
    public static String of(int[] keyCodes, int[] actions, int[] metaStates, String[] characters) {
        StringBuilder packet = new StringBuilder();
        for (int i = 0; i < keyCodes.length; ++i)
            append(packet, record(keyCodes[i], actions[i], metaStates[i], characters == null ? null : characters[i]));
        return packet.toString();
    }

    /**
     * The text typed as a keyboard scanner types it: a press and a release per character,
     * shift around the characters that need it, Enter for CR or LF, the GS key for the
     * character 29, and a press of KEYCODE_UNKNOWN carrying the character for one that no key
     * gives.
     */
    public static String typed(String text, int gsKeyCode) {
        StringBuilder packet = new StringBuilder();
        int at = 0;
        while (at < text.length()) {
            int codePoint = text.codePointAt(at);
            at += Character.charCount(codePoint);
            if (codePoint == 29) {
                append(packet, record(gsKeyCode, ACTION_DOWN, 0, ""));
                append(packet, record(gsKeyCode, ACTION_UP, 0, ""));
                continue;
            }
            int[] key = codePoint == '\r' ? new int[] {KEYCODE_ENTER, 0}
                    : codePoint < 0x10000 ? charKeys.get((char) codePoint) : null;
            if (key == null) {
                append(packet, record(KEYCODE_UNKNOWN, ACTION_MULTIPLE, 0, new String(Character.toChars(codePoint))));
                continue;
            }
            int meta = key[1] == 1 ? META_SHIFT_ON : 0;
            if (meta != 0)
                append(packet, record(KEYCODE_SHIFT_LEFT, ACTION_DOWN, meta, null));
            append(packet, record(key[0], ACTION_DOWN, meta, null));
            append(packet, record(key[0], ACTION_UP, meta, null));
            if (meta != 0)
                append(packet, record(KEYCODE_SHIFT_LEFT, ACTION_UP, 0, null));
        }
        return packet.toString();
    }

    /** The GS key of a keyboard's settings ("gs1symbolkey=<hex key code>;"); F8 when absent or bad. */
    public static int gsKeyCode(Parameters settings) {
        String value = settings.text("gs1symbolkey").trim();
        try {
            return value.isEmpty() ? KEYCODE_F8 : Integer.parseInt(value, 16);
        } catch (NumberFormatException e) {
            return KEYCODE_F8;
        }
    }

    private static boolean upperCase(int metaState) {
        return ((metaState & META_SHIFT_ON) != 0) != ((metaState & META_CAPS_LOCK_ON) != 0);
    }

    private static void append(StringBuilder packet, String record) {
        if (packet.length() > 0)
            packet.append(';');
        packet.append(record);
    }
}
