// The port and Bluetooth lists in the forms the native side reads, and their Base64.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import java.util.Base64;
import java.util.List;
import java.util.Random;
import org.junit.Test;

public class DeviceListsTest {
    @Test
    public void listsGiveBase64IdsAndDevicesXmlWithAbsentFieldsLeftOutInTheStandardBase64() {
        List<DeviceLists.Port> ports = List.of(
            new DeviceLists.Port("/dev/bus/usb/001/004", "7523", "1a86", "QinHeng & Co", "USB \"Serial\"", null, "CH340 <1>"),
            new DeviceLists.Port("pty\u0001", null, null, null, null, null, null));
        assertEquals("L2Rldi9idXMvdXNiLzAwMS8wMDQ=;cHR5AQ==;", DeviceLists.portIds(ports));
        assertEquals("<Devices><Device id=\"/dev/bus/usb/001/004\" productId=\"7523\" vendorId=\"1a86\""
                     + " manufacturerName=\"QinHeng &amp; Co\" productName=\"USB &quot;Serial&quot;\""
                     + " deviceName=\"CH340 &lt;1&gt;\"/><Device id=\"pty&#1;\"/></Devices>", DeviceLists.devicesXml(ports));
        assertEquals("", DeviceLists.portIds(List.of()));
        assertEquals("<Devices></Devices>", DeviceLists.devicesXml(List.of()));
        assertEquals("address:MDA6MTE=#info:U2Nhbm5lciBbMDA6MTFd;address:QUE=#info:W0FBXQ==;",
                     DeviceLists.bluetooth(List.of(new DeviceLists.Peer("00:11", "Scanner"), new DeviceLists.Peer("AA", null))));
        // The Base64 matches the standard encoder for every length and byte.
        Random random = new Random(24);
        for (int length = 0; length < 70; ++length) {
            byte[] data = new byte[length];
            random.nextBytes(data);
            assertEquals(Base64.getEncoder().encodeToString(data), Base64Text.encode(data));
        }
    }
}
