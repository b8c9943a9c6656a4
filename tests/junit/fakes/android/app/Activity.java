// Test fake of the activity: a context whose UI thread is the thread that calls runOnUiThread.
package android.app;

import android.content.Context;
import java.util.concurrent.atomic.AtomicInteger;

public class Activity extends Context {
    public android.view.Window window;
    public final AtomicInteger uiRuns = new AtomicInteger();
    public final java.util.List<String> requested = new java.util.concurrent.CopyOnWriteArrayList<>();

    public Activity() {}

    public android.view.Window getWindow() {
        return window;
    }

    public final void requestPermissions(String[] permissions, int requestCode) {
        for (String permission : permissions)
            requested.add(permission);
    }

    public final void runOnUiThread(Runnable action) {
        uiRuns.incrementAndGet();
        action.run();
    }
}
