// Test fake of the handler thread: a thread that ends at once, since nothing is ever posted to it.
package android.os;

public class HandlerThread extends Thread {
    public HandlerThread(String name) { super(name); }

    public Looper getLooper() { return new Looper(); }

    public boolean quitSafely() { return true; }
}
