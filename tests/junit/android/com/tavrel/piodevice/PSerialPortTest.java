// The serial companion over USB host against a fake USB service: permission, line set up,
// data both ways, refusals, unplugging and the port lists.
package com.tavrel.piodevice;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertTrue;

import android.app.Activity;
import android.app.PendingIntent;
import android.content.Context;
import android.hardware.usb.UsbDevice;
import android.hardware.usb.UsbDeviceConnection;
import android.hardware.usb.UsbEndpoint;
import android.hardware.usb.UsbInterface;
import android.hardware.usb.UsbManager;
import android.os.Build;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Base64;
import java.util.Collections;
import java.util.HashSet;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

public class PSerialPortTest {
    static final String LINE = "speed=115200;data_bits=8;stop_bits=0;parity=2;flags=259;";

    final Activity activity = new Activity();
    final UsbManager usb = new UsbManager();
    final LinkedBlockingQueue<String> delivered = new LinkedBlockingQueue<>();
    final PSerialPort port = new PSerialPort(activity, 7) {
        @Override
        void deliver(byte[] block) {
            delivered.add(new String(block, StandardCharsets.ISO_8859_1));
        }
    };

    final UsbDevice ch340 = new UsbDevice("/dev/bus/usb/001/002", 0x1A86, 0x7523, UsbInterface.bulk(0, 0xFF, 32));
    final UsbDevice ftdi = new UsbDevice("/dev/bus/usb/001/003", 0x0403, 0x6001, UsbInterface.bulk(0, 0xFF, 64));
    final UsbDevice cp2102 = new UsbDevice("/dev/bus/usb/001/004", 0x10C4, 0xEA60, UsbInterface.bulk(0, 0xFF, 64));
    final UsbDevice cdc = new UsbDevice("/dev/bus/usb/001/005", 0x05F9, 0x4204,
                                        new UsbInterface(0, 2, new UsbEndpoint(128, 3, 8)), UsbInterface.bulk(1, 10, 64));
    final UsbDevice mouse = new UsbDevice("/dev/bus/usb/001/006", 0x046D, 0xC077, new UsbInterface(0, 3));

    @Before
    public void attach() {
        activity.services.put(Context.USB_SERVICE, usb);
        for (UsbDevice device : new UsbDevice[] {ch340, ftdi, cp2102, cdc, mouse})
            usb.attach(device);
    }

    @After
    public void noThreadOutlivesItsPort() throws InterruptedException {
        port.close();
        Build.VERSION.SDK_INT = 34;
        assertTrue(CompanionThreads.awaitNone(5000));
    }

    @Test
    public void permissionIsAskedThenTheLineIsSetAndDataFlowsBothWays() throws InterruptedException {
        usb.answer = true;
        assertTrue(port.getLastErrorMessage(), port.open("portid=0403:6001;" + LINE));
        assertEquals(1, usb.requests.size());
        PendingIntent request = usb.requests.get(0);
        assertEquals(PendingIntent.FLAG_IMMUTABLE, request.flags);
        assertEquals("com.example.till", request.intent.getPackage());
        Context.Registration receiver = usb.receiversWhenAsked.get(0);
        assertEquals(4, receiver.flags); // not exported, API 33 on
        assertTrue(receiver.handler != null); // the answer must not need the UI thread
        assertTrue(activity.registrations.isEmpty()); // and is gone again
        UsbDeviceConnection connection = usb.opened.get(0);
        assertTrue(connection.control.contains("40/03/001A/0000"));
        assertTrue(connection.control.contains("40/04/0208/0000"));

        connection.receive(new byte[] {0x01, 0x60}); // status alone: nothing to deliver
        connection.receive(new byte[] {0x01, 0x60, '4', '2'});
        assertEquals("42", delivered.poll(5, TimeUnit.SECONDS));
        assertTrue(port.write("hello".getBytes(StandardCharsets.US_ASCII)));
        assertEquals("hello", connection.written.toString());

        port.close();
        assertTrue(CompanionThreads.awaitNone(5000));
        assertTrue(connection.closed);
        assertTrue(connection.claimed.isEmpty());
        assertTrue(delivered.isEmpty());
        assertFalse(port.write(new byte[] {1}));
    }

    @Test
    public void closingFromAnyThreadWhileDataFlowsLetsEveryConnectionGo() throws InterruptedException {
        usb.permitted.add(ch340.getDeviceName());
        for (int i = 0; i < 300; ++i) {
            assertTrue(port.getLastErrorMessage(), port.open("portid=1a86:7523;"));
            UsbDeviceConnection connection = usb.opened.get(i);
            Thread traffic = new Thread(() -> {
                for (int k = 0; k < 20; ++k) {
                    connection.receive(new byte[] {'x'});
                    port.write(new byte[] {'y'});
                }
            });
            traffic.start();
            if (i % 2 == 0)
                new Thread(port::close).start();
            else
                port.close();
            traffic.join();
        }
        port.close();
        assertTrue(CompanionThreads.awaitNone(5000));
        for (UsbDeviceConnection connection : usb.opened)
            assertTrue(connection.closed && connection.claimed.isEmpty());
    }

    @Test
    public void aDeniedOrUnansweredPermissionFailsOpenWithTheDeviceIds() {
        Build.VERSION.SDK_INT = 30;
        usb.answer = false;
        assertFalse(port.open("portid=/dev/bus/usb/001/002;" + LINE));
        assertEquals("no permission for USB device 1a86:7523", port.getLastErrorMessage());
        assertEquals(0, usb.requests.get(0).flags); // mutable before API 31, so the system can add its answer
        assertTrue(activity.registrations.isEmpty());

        usb.answer = null; // the dialog stays open
        long wait = PSerialPort.permissionWaitMillis;
        PSerialPort.permissionWaitMillis = 50;
        try {
            assertFalse(port.open("portid=/dev/bus/usb/001/002;" + LINE));
        } finally {
            PSerialPort.permissionWaitMillis = wait;
        }
        assertEquals("no permission for USB device 1a86:7523", port.getLastErrorMessage());
        assertTrue(activity.registrations.isEmpty());
        assertTrue(usb.opened.isEmpty());
    }

    @Test
    public void refusalsOfTheDeviceOrOfTheSettingsFailOpenWithTheReasonAndLetTheDeviceGo() {
        usb.permitted.add(cp2102.getDeviceName());
        usb.permitted.add(ftdi.getDeviceName());
        usb.refuseControlAt = 1;
        String[][] cases = {
            {"portid=10c4:ea60;" + LINE, "USB device 10c4:ea60: CP210x refused the speed (control transfer failed)"},
            {"portid=0403:6001;speed=9600;data_bits=5;", "USB device 0403:6001: FTDI cannot set 9600 5N1: the chip takes 7 or 8 data bits"},
            {"portid=0403:6001;speed=fast;", "bad speed value: fast"},
            {"portid=/dev/bus/usb/009/009;", "USB device /dev/bus/usb/009/009 is not attached"},
            {"portid=046d:c077;", "USB device 046d:c077 is no serial port"},
            {"speed=9600;", "no port given"},
        };
        for (String[] c : cases) {
            assertFalse(c[0], port.open(c[0]));
            assertEquals(c[1], port.getLastErrorMessage());
        }
        assertEquals(2, usb.opened.size());
        // After the refused speed only the port's disabling, as on every release.
        assertEquals(Arrays.asList("41/00/0001/0000", "41/1E/0000/0000 00C20100", "41/00/0000/0000"),
                     usb.opened.get(0).control);
        assertTrue(usb.opened.get(1).control.isEmpty()); // a line the chip cannot make sends nothing
        for (UsbDeviceConnection connection : usb.opened)
            assertTrue(connection.closed && connection.claimed.isEmpty());
    }

    @Test
    public void unpluggingEndsTheReaderAndTheNextWriteAndOpenSayWhy() throws InterruptedException {
        usb.permitted.add(ch340.getDeviceName());
        assertTrue(port.getLastErrorMessage(), port.open("portid=/dev/bus/usb/001/002;" + LINE));
        usb.unplug(ch340);
        assertTrue(CompanionThreads.awaitNone(5000));
        assertTrue(usb.opened.get(0).closed);
        assertFalse(port.write(new byte[] {1}));
        assertEquals("USB device 1a86:7523 was unplugged", port.getLastErrorMessage());
        assertFalse(port.open("portid=/dev/bus/usb/001/002;" + LINE));
        assertEquals("USB device /dev/bus/usb/001/002 is not attached", port.getLastErrorMessage());
    }

    @Test
    public void aCdcAcmDeviceGetsItsLineOnTheCommunicationsInterfaceWithBothInterfacesClaimed() {
        usb.permitted.add(cdc.getDeviceName());
        assertTrue(port.getLastErrorMessage(), port.open("portid=05f9:4204;" + LINE));
        UsbDeviceConnection connection = usb.opened.get(0);
        assertEquals(Arrays.asList("21/20/0000/0000 00C20100000208", "21/22/0003/0000"), connection.control);
        assertEquals(new HashSet<>(Arrays.asList(0, 1)), connection.claimed);
    }

    @Test
    public void eachPortOfATwoPortChipIsListedAndOpenedOnItsOwnInterface() {
        UsbDevice ft2232 = new UsbDevice("/dev/bus/usb/001/007", 0x0403, 0x6010, UsbInterface.bulk(0, 0xFF, 64),
                                         UsbInterface.bulk(1, 0xFF, 64));
        usb.attach(ft2232);
        usb.permitted.add(ft2232.getDeviceName());
        String list = PSerialPort.availibleDevicesInfo(activity);
        assertTrue(list, list.contains("<Device id=\"/dev/bus/usb/001/007\"") && list.contains("id=\"/dev/bus/usb/001/007#2\""));
        assertTrue(port.getLastErrorMessage(), port.open("portid=0403:6010#2;" + LINE));
        UsbDeviceConnection connection = usb.opened.get(0);
        assertTrue(connection.control.contains("40/03/001A/0002"));
        assertEquals(Collections.singleton(1), connection.claimed);
        assertFalse(port.open("portid=0403:6010#3;" + LINE));
        assertEquals("USB device 0403:6010 has no port 3", port.getLastErrorMessage());
    }

    @Test
    public void theListsHoldTheAttachedSerialDevicesWithIdsAndAReadableName() {
        ch340.serialNeedsPermission = true;
        cdc.manufacturerName = "Acme";
        cdc.productName = "Scanner <2D>";
        cdc.serialNumber = "S1";
        usb.attached.remove(ftdi.getDeviceName());
        usb.attached.remove(cp2102.getDeviceName());
        Base64.Encoder base64 = Base64.getEncoder();
        assertEquals(base64.encodeToString(ch340.getDeviceName().getBytes(StandardCharsets.UTF_8)) + ";"
                     + base64.encodeToString(cdc.getDeviceName().getBytes(StandardCharsets.UTF_8)) + ";",
                     PSerialPort.availibleDevices(activity));
        assertEquals("<Devices>"
                     + "<Device id=\"/dev/bus/usb/001/002\" productId=\"7523\" vendorId=\"1a86\""
                     + " productName=\"CH34x serial port\" deviceName=\"/dev/bus/usb/001/002\"/>"
                     + "<Device id=\"/dev/bus/usb/001/005\" productId=\"4204\" vendorId=\"05f9\" manufacturerName=\"Acme\""
                     + " productName=\"Scanner &lt;2D&gt;\" serialNumber=\"S1\" deviceName=\"/dev/bus/usb/001/005\"/>"
                     + "</Devices>",
                     PSerialPort.availibleDevicesInfo(activity));
        activity.services.clear(); // no USB host: empty lists, nothing thrown
        assertEquals("", PSerialPort.availibleDevices(activity));
        assertEquals("<Devices></Devices>", PSerialPort.availibleDevicesInfo(activity));
    }
}
