// Compile-only declaration of the platform class.
package android.util;

public final class Log {
    Log() { throw new RuntimeException("Stub!"); }

    public static int i(String tag, String msg) { throw new RuntimeException("Stub!"); } // API 1

    public static int w(String tag, String msg) { throw new RuntimeException("Stub!"); } // API 1

    public static int e(String tag, String msg) { throw new RuntimeException("Stub!"); } // API 1
}
