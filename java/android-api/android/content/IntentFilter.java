// Compile-only declaration of the platform class.
package android.content;

public class IntentFilter {
    public IntentFilter() { throw new RuntimeException("Stub!"); } // API 1

    public IntentFilter(String action) { throw new RuntimeException("Stub!"); } // API 1

    public final void addAction(String action) { throw new RuntimeException("Stub!"); } // API 1

    public final void addCategory(String category) { throw new RuntimeException("Stub!"); } // API 1
}
