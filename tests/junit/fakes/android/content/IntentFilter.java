// Test fake of the intent filter: one action and at most one category.
package android.content;

public class IntentFilter {
    public final String action;
    public String category;

    public IntentFilter(String action) { this.action = action; }

    public final void addCategory(String category) { this.category = category; }
}
