// Test fake of the intent filter: actions and categories, matched as the system matches them.
package android.content;

import java.util.ArrayList;
import java.util.List;

public class IntentFilter {
    public final List<String> actions = new ArrayList<>();
    public final List<String> categories = new ArrayList<>();

    public IntentFilter() {}

    public IntentFilter(String action) {
        addAction(action);
    }

    public final void addAction(String action) {
        actions.add(action);
    }

    public final void addCategory(String category) {
        categories.add(category);
    }

    /** The action is one of ours, and every category of the intent too. */
    public boolean matches(Intent intent) {
        return actions.contains(intent.getAction()) && categories.containsAll(intent.categories);
    }
}
