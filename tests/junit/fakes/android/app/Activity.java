// Test fake of the activity: its own UI thread is whichever thread calls runOnUiThread.
package android.app;

import android.content.Context;
import android.view.Window;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.CopyOnWriteArrayList;

public class Activity extends Context {
    public Window window;
    public final List<String> requested = new CopyOnWriteArrayList<>();

    public Window getWindow() { return window; }

    public final void requestPermissions(String[] permissions, int requestCode) {
        requested.addAll(Arrays.asList(permissions));
    }

    public final void runOnUiThread(Runnable action) { action.run(); }
}
