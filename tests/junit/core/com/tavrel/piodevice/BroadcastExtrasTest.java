// The broadcast parameter string and the extras document of an intent.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import java.util.HashMap;
import java.util.Map;
import org.junit.Test;

public class BroadcastExtrasTest {
    @Test
    public void parametersGiveTheFieldsOfKnownTypesWhoseDocumentKeepsTheListOrderAndEveryByte() {
        BroadcastExtras b = BroadcastExtras.of("action_name=com.scanner.SCAN;action_category_name=C;"
                                               + "fields=data(9),bad,raw(65538),odd(7),x(y),chars(65539);");
        assertEquals("com.scanner.SCAN C 3 raw", b.action + " " + b.category + " " + b.fields.size() + " " + b.fields.get(1).name);
        assertEquals(BroadcastExtras.CHAR_ARRAY, b.fields.get(2).type);
        assertEquals("", BroadcastExtras.of("action_name=A;fields=d(9);").category);
        for (String bad : new String[] {"fields=d(9);", "action_name=A;", "action_name=A;fields=d(7);", null})
            assertThrows(bad, IllegalArgumentException.class, () -> BroadcastExtras.of(bad));

        // The document keeps the list order and every byte, and leaves out what is missing or of another type.
        b = BroadcastExtras.of("action_name=A;fields=raw(65538),a\"b(9),chars(65539);");
        Map<String, Object> values = new HashMap<>();
        // A getter of the wrong type throws, as some platforms' do.
        BroadcastExtras.Extras extras = new BroadcastExtras.Extras() {
            public String string(String name) { return (String) values.get(name); }

            public byte[] bytes(String name) { return (byte[]) values.get(name); }

            public char[] chars(String name) { return (char[]) values.get(name); }
        };
        values.put("chars", new char[] {'П'});
        values.put("raw", new byte[] {'0', 0x1d, (byte) 0x80});
        values.put("a\"b", "1");
        assertEquals("<action><fields><field key=\"raw\" value=\"MB2A\"/><field key=\"a&quot;b\" value=\"MQ==\"/>"
                     + "<field key=\"chars\" value=\"0J8=\"/></fields></action>", b.document(extras));
        values.put("raw", "text where bytes are declared");
        values.remove("chars");
        assertEquals("<action><fields><field key=\"a&quot;b\" value=\"MQ==\"/></fields></action>", b.document(extras));
        values.clear();
        assertNull(b.document(extras));
    }
}
