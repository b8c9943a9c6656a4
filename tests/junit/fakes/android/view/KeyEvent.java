// Test fake of a key event: the test gives the action, key, meta state and the character that
// the key character map would answer.
package android.view;

public class KeyEvent {
    public static final int ACTION_DOWN = 0;
    public static final int ACTION_UP = 1;
    public static final int ACTION_MULTIPLE = 2;
    public static final int KEYCODE_UNKNOWN = 0;
    public static final int META_SHIFT_ON = 0x1;
    public static final int META_CAPS_LOCK_ON = 0x100000;

    private final int action;
    private final int keyCode;
    private final int metaState;
    private final int unicodeChar;
    private final String characters;

    public KeyEvent(int action, int keyCode, int metaState, int unicodeChar) {
        this.action = action;
        this.keyCode = keyCode;
        this.metaState = metaState;
        this.unicodeChar = unicodeChar;
        this.characters = null;
    }

    /** A string of characters that no key gives, as ACTION_MULTIPLE brings it. */
    public KeyEvent(String characters) {
        this.action = ACTION_MULTIPLE;
        this.keyCode = KEYCODE_UNKNOWN;
        this.metaState = 0;
        this.unicodeChar = 0;
        this.characters = characters;
    }

    public final int getAction() {
        return action;
    }

    public final int getKeyCode() {
        return keyCode;
    }

    public final int getMetaState() {
        return metaState;
    }

    public final int getRepeatCount() {
        return 0;
    }

    public int getUnicodeChar() {
        return unicodeChar;
    }

    public final String getCharacters() {
        return characters;
    }
}
