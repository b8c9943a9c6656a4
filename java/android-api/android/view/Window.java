// Compile-only declaration of the platform class.
package android.view;

public abstract class Window {
    public Window(android.content.Context context) { throw new RuntimeException("Stub!"); }
}
