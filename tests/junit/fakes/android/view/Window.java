// Test fake of a window: it keeps the callback it is given, as the real one does.
package android.view;

public class Window {
    private volatile Callback callback;

    public final Callback getCallback() {
        return callback;
    }

    public void setCallback(Callback callback) {
        this.callback = callback;
    }

    /** Two of the real interface's members: the key road and one that a wrapper only passes on. */
    public interface Callback {
        boolean dispatchKeyEvent(KeyEvent event);

        void onWindowFocusChanged(boolean hasFocus);
    }
}
