// Compile-only declaration of the platform class.
package android.os;

public class HandlerThread extends Thread {
    public HandlerThread(String name) { throw new RuntimeException("Stub!"); } // API 1

    public Looper getLooper() { throw new RuntimeException("Stub!"); } // API 1

    public boolean quit() { throw new RuntimeException("Stub!"); } // API 1

    public boolean quitSafely() { throw new RuntimeException("Stub!"); } // API 18
}
