// Test fake of the intent: an action, categories, a package and typed extras. A getter of the
// wrong type answers null (the system logs a warning and does the same).
package android.content;

import android.os.Bundle;
import android.os.Parcelable;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.Map;
import java.util.Set;

public class Intent {
    private final String action;
    private String packageName;
    public final Set<String> categories = new LinkedHashSet<>();
    public final Map<String, Object> extras = new LinkedHashMap<>();

    public Intent(String action) {
        this.action = action;
    }

    public Intent setPackage(String packageName) {
        this.packageName = packageName;
        return this;
    }

    public String getPackage() {
        return packageName;
    }

    public String getAction() {
        return action;
    }

    public Intent addCategory(String category) {
        categories.add(category);
        return this;
    }

    public Intent putExtra(String name, Object value) {
        extras.put(name, value);
        return this;
    }

    public Bundle getExtras() {
        return extras.isEmpty() ? null : new Bundle(extras);
    }

    public boolean hasExtra(String name) {
        return extras.containsKey(name);
    }

    public String getStringExtra(String name) {
        return typed(name, String.class);
    }

    public byte[] getByteArrayExtra(String name) {
        return typed(name, byte[].class);
    }

    public char[] getCharArrayExtra(String name) {
        return typed(name, char[].class);
    }

    public boolean getBooleanExtra(String name, boolean defaultValue) {
        Boolean value = typed(name, Boolean.class);
        return value == null ? defaultValue : value;
    }

    @SuppressWarnings("unchecked")
    public <T extends Parcelable> T getParcelableExtra(String name) {
        return (T) typed(name, Parcelable.class);
    }

    private <T> T typed(String name, Class<T> type) {
        Object value = extras.get(name);
        return type.isInstance(value) ? type.cast(value) : null;
    }
}
