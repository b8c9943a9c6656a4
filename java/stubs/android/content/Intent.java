// Desktop stand-in for the Android intent: an action, categories and typed extras.
package android.content;

import java.util.Collections;
import java.util.HashMap;
import java.util.LinkedHashSet;
import java.util.Map;
import java.util.Set;

public class Intent {
    private String action;
    private Set<String> categories;
    private final Map<String, Object> extras = new HashMap<>();

    public Intent() {}

    public Intent(String action) {
        this.action = action;
    }

    public String getAction() {
        return action;
    }

    public Intent setAction(String action) {
        this.action = action;
        return this;
    }

    public Intent addCategory(String category) {
        if (categories == null)
            categories = new LinkedHashSet<>();
        categories.add(category);
        return this;
    }

    /** The categories, or null when none was added. */
    public Set<String> getCategories() {
        return categories == null ? null : Collections.unmodifiableSet(categories);
    }

    public Intent putExtra(String name, String value) {
        extras.put(name, value);
        return this;
    }

    public Intent putExtra(String name, byte[] value) {
        extras.put(name, value);
        return this;
    }

    public Intent putExtra(String name, char[] value) {
        extras.put(name, value);
        return this;
    }

    public boolean hasExtra(String name) {
        return extras.containsKey(name);
    }

    /** The extra of that name when it is a String; null when absent or of another type. */
    public String getStringExtra(String name) {
        Object value = extras.get(name);
        return value instanceof String ? (String) value : null;
    }

    public byte[] getByteArrayExtra(String name) {
        Object value = extras.get(name);
        return value instanceof byte[] ? (byte[]) value : null;
    }

    public char[] getCharArrayExtra(String name) {
        Object value = extras.get(name);
        return value instanceof char[] ? (char[]) value : null;
    }
}
