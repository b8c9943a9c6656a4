// Compile-only declaration of the platform class.
package android.os;

public class Handler {
    public Handler(Looper looper) { throw new RuntimeException("Stub!"); } // API 1

    public final boolean post(Runnable r) { throw new RuntimeException("Stub!"); } // API 1

    public final Looper getLooper() { throw new RuntimeException("Stub!"); } // API 1
}
