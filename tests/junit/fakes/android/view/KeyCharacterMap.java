// Test fake of the key character map's constant.
package android.view;

public class KeyCharacterMap {
    public static final int COMBINING_ACCENT = 0x80000000;
}
