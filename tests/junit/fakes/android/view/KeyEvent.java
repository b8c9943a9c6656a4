// Test fake of a key event: the test gives what it answers, the character too.
package android.view;

public class KeyEvent {
    private final int action;
    private final int keyCode;
    private final int metaState;
    private final int unicodeChar;
    private final String characters;

    public KeyEvent(int action, int keyCode, int metaState, int unicodeChar, String characters) {
        this.action = action;
        this.keyCode = keyCode;
        this.metaState = metaState;
        this.unicodeChar = unicodeChar;
        this.characters = characters;
    }

    public final int getAction() { return action; }

    public final int getKeyCode() { return keyCode; }

    public final int getMetaState() { return metaState; }

    public final int getRepeatCount() { return 0; }

    public int getUnicodeChar() { return unicodeChar; }

    public final String getCharacters() { return characters; }
}
