// Test fake of the bundle: the intent's extras.
package android.os;

import java.util.LinkedHashMap;
import java.util.Map;
import java.util.Set;

public final class Bundle {
    private final Map<String, Object> values;

    public Bundle(Map<String, Object> values) {
        this.values = new LinkedHashMap<>(values);
    }

    public Set<String> keySet() {
        return values.keySet();
    }

    public Object get(String key) {
        return values.get(key);
    }
}
