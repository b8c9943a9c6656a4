// Compile-only declaration of the platform class (its bases left out).
package android.os;

public final class Bundle {
    public Bundle() { throw new RuntimeException("Stub!"); }

    public java.util.Set<String> keySet() { throw new RuntimeException("Stub!"); } // API 1

    public Object get(String key) { throw new RuntimeException("Stub!"); } // API 1
}
