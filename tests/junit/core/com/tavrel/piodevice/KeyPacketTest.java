// The keyboard packet: records of single events and the packet of a typed text.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import org.junit.Test;

public class KeyPacketTest {
    @Test
    public void recordsCarryPressUpperCaseAndCharactersAndTypedTextShiftsGsAndUnknownCharacters() {
        assertEquals("29:3:QQ==", KeyPacket.record(29, KeyPacket.ACTION_DOWN, KeyPacket.META_SHIFT_ON, null));
        assertEquals("29:2:QQ==", KeyPacket.record(29, KeyPacket.ACTION_UP, KeyPacket.META_CAPS_LOCK_ON, null));
        assertEquals("29:1:YQ==", KeyPacket.record(29, KeyPacket.ACTION_DOWN,
                KeyPacket.META_SHIFT_ON | KeyPacket.META_CAPS_LOCK_ON, null));
        assertEquals("0:1:w6k=", KeyPacket.record(0, KeyPacket.ACTION_MULTIPLE, 0, "é"));
        assertEquals("131:1", KeyPacket.record(131, KeyPacket.ACTION_DOWN, 0, ""));
        assertEquals("999:0", KeyPacket.record(999, KeyPacket.ACTION_UP, 0, null));
        assertEquals("59:3;29:3:QQ==;29:2:QQ==;59:0;138:1;138:0;66:1:Cg==;66:0:Cg==;0:1:0Ik=",
                     KeyPacket.typed("A\u001d\rЉ", KeyPacket.KEYCODE_F8));
        assertEquals(0x8a, KeyPacket.gsKeyCode(new Parameters("gs1symbolkey=8a;")));
        assertEquals(KeyPacket.KEYCODE_F8, KeyPacket.gsKeyCode(new Parameters("gs1symbolkey=zz;")));
    }
}
