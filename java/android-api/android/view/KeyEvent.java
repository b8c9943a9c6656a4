// Compile-only declaration of the key event members that the companions use.
package android.view;

public class KeyEvent {
    public static final int ACTION_MULTIPLE = 2; // API 1; deprecated in API 29
    public static final int KEYCODE_UNKNOWN = 0; // API 1

    KeyEvent() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public final int getAction() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public final int getKeyCode() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public final int getMetaState() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public final int getRepeatCount() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public int getUnicodeChar() {
        throw new RuntimeException("Stub!");
    }

    // API 1; deprecated in API 29
    public final String getCharacters() {
        throw new RuntimeException("Stub!");
    }
}
