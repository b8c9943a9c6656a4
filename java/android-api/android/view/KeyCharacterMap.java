// Compile-only declaration of the key character map constant that the companions use.
package android.view;

public class KeyCharacterMap {
    public static final int COMBINING_ACCENT = 0x80000000; // API 1

    KeyCharacterMap() {
        throw new RuntimeException("Stub!");
    }
}
