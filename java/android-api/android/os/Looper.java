// Compile-only declaration of the platform class.
package android.os;

public final class Looper {
    Looper() { throw new RuntimeException("Stub!"); }

    public static Looper getMainLooper() { throw new RuntimeException("Stub!"); } // API 1

    public static Looper myLooper() { throw new RuntimeException("Stub!"); } // API 1
}
