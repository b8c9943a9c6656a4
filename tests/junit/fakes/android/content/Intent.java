// Test fake of the intent: an action, a package and extras; a getter of the wrong type answers null.
package android.content;

import java.util.HashMap;
import java.util.Map;

public class Intent {
    private final String action;
    private String packageName;
    private final Map<String, Object> extras = new HashMap<>();

    public Intent(String action) { this.action = action; }

    public String getAction() { return action; }

    public String getPackage() { return packageName; }

    public Intent setPackage(String packageName) {
        this.packageName = packageName;
        return this;
    }

    public Intent putExtra(String name, Object value) {
        extras.put(name, value);
        return this;
    }

    public String getStringExtra(String name) { return typed(name, String.class); }

    public byte[] getByteArrayExtra(String name) { return typed(name, byte[].class); }

    public char[] getCharArrayExtra(String name) { return typed(name, char[].class); }

    private <T> T typed(String name, Class<T> type) {
        Object value = extras.get(name);
        return type.isInstance(value) ? type.cast(value) : null;
    }
}
