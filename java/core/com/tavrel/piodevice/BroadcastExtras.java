// What a broadcast companion listens for and what it sends of each intent: the parameter
// string read, and the extras document built.
package com.tavrel.piodevice;

import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;

/**
 * The parameter string is "action_name=A;[action_category_name=C;]fields=name(type),...;".
 * The document is {@code <action><fields><field key="name" value="Base64"/>...</fields></action>},
 * one field per extra of the list that the intent carries with its declared type, in the
 * list's order. Types: 9 String (sent as UTF-8), 65538 byte[] (every byte as it is), 65539
 * char[] (sent as UTF-8); an extra of another type, or missing, is left out.
 */
public final class BroadcastExtras {
    public static final int STRING = 9;
    public static final int BYTE_ARRAY = 0x10002;
    public static final int CHAR_ARRAY = 0x10003;

    /** The typed getters of an intent's extras: null when absent or of another type. */
    public interface Extras {
        String string(String name);

        byte[] bytes(String name);

        char[] chars(String name);
    }

    public static final class Field {
        public final String name;
        public final int type;

        public Field(String name, int type) {
            this.name = name;
            this.type = type;
        }
    }

    public final String action;
    public final String category; // empty: none
    public final List<Field> fields;

    private BroadcastExtras(String action, String category, List<Field> fields) {
        this.action = action;
        this.category = category;
        this.fields = Collections.unmodifiableList(fields);
    }

    /**
     * Reads the parameter string; IllegalArgumentException with the reason when it names no
     * action or no field of a known type. A field written wrong is passed over.
     */
    public static BroadcastExtras of(String parameters) {
        Parameters p = new Parameters(parameters);
        String action = p.text("action_name").trim();
        if (action.isEmpty())
            throw new IllegalArgumentException("no broadcast action given");
        List<Field> fields = new ArrayList<>();
        for (String item : p.text("fields").split(",")) {
            int open = item.lastIndexOf('(');
            if (open <= 0 || !item.endsWith(")"))
                continue;
            try {
                int type = Integer.parseInt(item.substring(open + 1, item.length() - 1).trim());
                if (type == STRING || type == BYTE_ARRAY || type == CHAR_ARRAY)
                    fields.add(new Field(item.substring(0, open).trim(), type));
            } catch (NumberFormatException badType) {
                // Passed over like any field of a type we don't read.
            }
        }
        if (fields.isEmpty())
            throw new IllegalArgumentException("no broadcast data field of a known type given");
        return new BroadcastExtras(action, p.text("action_category_name").trim(), fields);
    }

    /** The document for the intent's extras, or null when it carries none of the fields. */
    public String document(Extras extras) {
        StringBuilder xml = new StringBuilder("<action><fields>");
        boolean any = false;
        for (Field field : fields) {
            byte[] value = value(extras, field);
            if (value == null)
                continue;
            any = true;
            xml.append("<field key=\"").append(DeviceLists.escape(field.name)).append("\" value=\"")
               .append(Base64Text.encode(value)).append("\"/>");
        }
        return any ? xml.append("</fields></action>").toString() : null;
    }

    private static byte[] value(Extras extras, Field field) {
        try {
            switch (field.type) {
            case STRING: {
                String text = extras.string(field.name);
                return text == null ? null : text.getBytes(StandardCharsets.UTF_8);
            }
            case BYTE_ARRAY:
                return extras.bytes(field.name);
            default: {
                char[] chars = extras.chars(field.name);
                return chars == null ? null : new String(chars).getBytes(StandardCharsets.UTF_8);
            }
            }
        } catch (RuntimeException wrongType) {
            // A getter may throw on an extra of another type: the field is left out.
            return null;
        }
    }
}
