// Test fake of the looper: a queue of work that its thread runs in order, blocking while empty.
// The main looper has no thread: a test runs what was posted to it with runPending.
package android.os;

import java.util.concurrent.LinkedBlockingQueue;

public final class Looper {
    private static final Looper main = new Looper();
    private static final ThreadLocal<Looper> mine = new ThreadLocal<>();
    static final Runnable QUIT = () -> {};

    final LinkedBlockingQueue<Runnable> queue = new LinkedBlockingQueue<>();

    Looper() {}

    public static Looper getMainLooper() {
        return main;
    }

    public static Looper myLooper() {
        return mine.get();
    }

    /** Runs what was posted until now; for the main looper. */
    public void runPending() {
        Runnable work;
        while ((work = queue.poll()) != null && work != QUIT)
            work.run();
    }

    void loop() throws InterruptedException {
        mine.set(this);
        for (Runnable work = queue.take(); work != QUIT; work = queue.take())
            work.run();
    }
}
