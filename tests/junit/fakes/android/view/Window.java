// Test fake of a window: it keeps the callback it is given.
package android.view;

public class Window {
    private volatile Callback callback;

    public final Callback getCallback() { return callback; }

    public void setCallback(Callback callback) { this.callback = callback; }

    public interface Callback { // two of the real members: the key road and one a wrapper only passes on
        boolean dispatchKeyEvent(KeyEvent event);

        void onWindowFocusChanged(boolean hasFocus);
    }
}
