// Desktop stand-in for the Android intent filter: actions and categories, matched as Android
// matches them.
package android.content;

import java.util.ArrayList;
import java.util.List;
import java.util.Set;

public class IntentFilter {
    private final List<String> actions = new ArrayList<>();
    private final List<String> categories = new ArrayList<>();

    public IntentFilter() {}

    public IntentFilter(String action) {
        addAction(action);
    }

    public final void addAction(String action) {
        if (action != null && !actions.contains(action))
            actions.add(action);
    }

    public final void addCategory(String category) {
        if (category != null && !categories.contains(category))
            categories.add(category);
    }

    public final boolean hasAction(String action) {
        return action != null && actions.contains(action);
    }

    public final boolean hasCategory(String category) {
        return category != null && categories.contains(category);
    }

    /** True when the filter names the action. */
    public final boolean matchAction(String action) {
        return hasAction(action);
    }

    /**
     * Null when every category of the intent is one of the filter's (an intent without
     * categories matches any filter); otherwise the first category that is not.
     */
    public final String matchCategories(Set<String> intentCategories) {
        if (intentCategories == null)
            return null;
        for (String category : intentCategories) {
            if (!categories.contains(category))
                return category;
        }
        return null;
    }
}
