// Test fake of the window.
package android.view;

public abstract class Window {
    public Window(android.content.Context context) {}
}
