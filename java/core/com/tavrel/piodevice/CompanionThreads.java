// The threads of the device companions, counted so that a test or the emulator can wait until
// every one of them has ended.
package com.tavrel.piodevice;

/**
 * Every companion reads on threads started here. A companion never waits for its own threads
 * (its close may run under the native side's lock, which a reader inside a native call may be
 * waiting for): it closes the stream and lets the thread end by itself. awaitNone lets a test
 * prove that they did.
 */
public final class CompanionThreads {
    private static final Object lock = new Object();
    private static int live; // guarded by lock

    private CompanionThreads() {}

    /** Starts a daemon thread running the body; whatever the body throws ends it quietly. */
    static Thread start(String name, Runnable body) {
        Thread thread = new Thread(() -> {
            try {
                body.run();
            } catch (Throwable ignored) {
                // A reader that fails has reported what it could; the thread just ends.
            } finally {
                synchronized (lock) {
                    --live;
                    lock.notifyAll();
                }
            }
        }, name);
        thread.setDaemon(true);
        synchronized (lock) {
            ++live;
        }
        try {
            thread.start();
        } catch (Throwable e) {
            synchronized (lock) {
                --live;
                lock.notifyAll();
            }
            throw e;
        }
        return thread;
    }

    /** How many companion threads run now. */
    public static int live() {
        synchronized (lock) {
            return live;
        }
    }

    /** Waits until no companion thread runs; false when some still run after the timeout. */
    public static boolean awaitNone(long timeoutMillis) throws InterruptedException {
        long deadline = System.nanoTime() + timeoutMillis * 1_000_000L;
        synchronized (lock) {
            while (live > 0) {
                long left = (deadline - System.nanoTime()) / 1_000_000L;
                if (left <= 0)
                    return false;
                lock.wait(left);
            }
            return true;
        }
    }
}
