// Compile-only declaration of the platform class.
package android.os;

public class Build {
    public Build() { throw new RuntimeException("Stub!"); }

    public static class VERSION {
        public VERSION() { throw new RuntimeException("Stub!"); }

        // API 4; not a constant, so that the running system's value is read.
        public static final int SDK_INT;

        static {
            SDK_INT = 0;
        }
    }
}
