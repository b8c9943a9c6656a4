// Test fake of the handler: posts to its looper's queue.
package android.os;

public class Handler {
    private final Looper looper;

    public Handler(Looper looper) {
        this.looper = looper;
    }

    public final boolean post(Runnable r) {
        return looper.queue.offer(r);
    }

    public final Looper getLooper() {
        return looper;
    }
}
