// Test fake of the handler thread: a thread running one looper until quit.
package android.os;

import java.util.concurrent.CountDownLatch;

public class HandlerThread extends Thread {
    private final Looper looper = new Looper();
    private final CountDownLatch started = new CountDownLatch(1);

    public HandlerThread(String name) {
        super(name);
    }

    @Override
    public void run() {
        started.countDown();
        try {
            looper.loop();
        } catch (InterruptedException ignored) {
        }
    }

    public Looper getLooper() {
        try {
            started.await();
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
        return looper;
    }

    public boolean quit() {
        looper.queue.clear();
        return looper.queue.offer(Looper.QUIT);
    }

    public boolean quitSafely() {
        return looper.queue.offer(Looper.QUIT);
    }
}
