// Parameter strings and the serial line settings read from them.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import org.junit.Test;

public class ParametersTest {
    @Test
    public void itemsSplitAtSemicolonsAndTheFirstEqualsAndLineSettingsRefuseWhatTheCatalogueLacks() {
        Parameters p = new Parameters("portid=/dev/ttyACM0;speed= 9600 ;junk;=x;address=a=b;empty=;");
        assertEquals("/dev/ttyACM0", p.text("portid"));
        assertEquals(9600, p.number("speed", 0));
        assertEquals("a=b", p.text("address"));
        assertEquals(7, p.number("empty", 7));
        assertEquals(7, p.number("missing", 7));
        assertEquals("", new Parameters(null).text("portid"));
        // Line settings take the catalogue numbers and refuse others with the reason.
        assertEquals("115200 8E2", LineSettings.of(new Parameters("speed=115200;data_bits=0;stop_bits=2;parity=2;")).toString());
        assertEquals("0 7M1.5", LineSettings.of(new Parameters("data_bits=7;stop_bits=1;parity=3;")).toString());
        String[][] bad = {
            {"data_bits=9;", "unsupported data bits: 9"}, {"data_bits=4;", "unsupported data bits: 4"},
            {"stop_bits=3;", "unsupported stop bits: 3"}, {"parity=5;", "unsupported parity: 5"},
            {"parity=-1;", "unsupported parity: -1"}, {"speed=-9600;", "unsupported speed: -1"},
            {"speed=fast;", "bad speed value: fast"},
        };
        for (String[] row : bad) {
            assertEquals(row[1], assertThrows(row[0], IllegalArgumentException.class,
                                              () -> LineSettings.of(new Parameters(row[0]))).getMessage());
        }
    }
}
