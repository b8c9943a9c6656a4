// Compile-only declaration of the window members that the companions use.
package android.view;

public abstract class Window {
    // API 1
    public Window(android.content.Context context) {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public final Callback getCallback() {
        throw new RuntimeException("Stub!");
    }

    // API 1
    public void setCallback(Callback callback) {
        throw new RuntimeException("Stub!");
    }

    /** Of its many members only dispatchKeyEvent is named; the rest are forwarded unseen. */
    public interface Callback {
        // API 1
        boolean dispatchKeyEvent(KeyEvent event);
    }
}
