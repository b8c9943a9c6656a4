// The serial companion over USB host against a fake USB service: permission, the line, data both
// ways, refusals, unplugging and the port list.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import android.app.Activity;
import android.app.PendingIntent;
import android.content.Context;
import android.hardware.usb.*;
import android.os.Build;
import java.nio.charset.StandardCharsets;
import java.util.List;
import java.util.Set;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.After;
import org.junit.Test;

public class PSerialPortTest {
    static final String LINE = "speed=115200;data_bits=8;stop_bits=0;parity=2;";

    final Activity activity = new Activity();
    final UsbManager usb = new UsbManager();
    final LinkedBlockingQueue<String> delivered = new LinkedBlockingQueue<>();
    final PSerialPort port = new PSerialPort(activity, 7) {
        @Override
        void deliver(byte[] block) { delivered.add(new String(block, StandardCharsets.ISO_8859_1)); }
    };
    final UsbDevice ch340 = new UsbDevice("/dev/bus/usb/001/002", 0x1A86, 0x7523, bulk(0, 0xFF));
    final UsbDevice ftdi = new UsbDevice("/dev/bus/usb/001/003", 0x0403, 0x6001, bulk(0, 0xFF));
    final UsbDevice cp2102 = new UsbDevice("/dev/bus/usb/001/004", 0x10C4, 0xEA60, bulk(0, 0xFF));
    final UsbDevice cdc = new UsbDevice("/dev/bus/usb/001/005", 0x05F9, 0x4204,
                                        new UsbInterface(0, 2, new UsbEndpoint(128, 3, 8)), bulk(1, 10));
    final UsbDevice ft2232 = new UsbDevice("/dev/bus/usb/001/007", 0x0403, 0x6010, bulk(0, 0xFF), bulk(1, 0xFF));

    {
        activity.services.put(Context.USB_SERVICE, usb);
        usb.attach(ch340, ftdi, cp2102, cdc, ft2232);
    }

    /** An interface with a bulk IN and a bulk OUT endpoint. */
    static UsbInterface bulk(int id, int interfaceClass) {
        return new UsbInterface(id, interfaceClass, new UsbEndpoint(128, 2, 64), new UsbEndpoint(0, 2, 64));
    }

    private String refusal(String parameters) {
        assertFalse(parameters, port.open(parameters));
        return port.getLastErrorMessage();
    }

    @After
    public void noThreadOutlivesItsPort() throws InterruptedException {
        port.close();
        Build.VERSION.SDK_INT = 34;
        assertTrue(CompanionThreads.awaitNone(5000));
    }

    @Test
    public void permissionIsAskedThenTheLineIsSetDataFlowsBothWaysAndAnUnplugIsToldByTheNextWriteAndOpen()
            throws InterruptedException {
        usb.answer = true;
        assertTrue(port.getLastErrorMessage(), port.open("portid=0403:6001;" + LINE));
        assertEquals(PendingIntent.FLAG_IMMUTABLE + " com.example.till", usb.asked.flags + " " + usb.asked.intent.getPackage());
        assertEquals(4, activity.flags); // the answer's receiver is not exported
        assertNotNull("the answer must not need the UI thread", activity.handler);
        assertTrue(activity.receivers.isEmpty());
        UsbDeviceConnection connection = usb.opened.get(0);
        assertTrue(connection.control.containsAll(List.of("40/03/001A/0000", "40/04/0208/0000")));

        connection.receive(new byte[] {0x01, 0x60}); // status alone: nothing to deliver
        connection.receive(new byte[] {0x01, 0x60, '4', '2'});
        assertEquals("42", delivered.poll(5, TimeUnit.SECONDS));
        assertTrue(port.write("hello".getBytes(StandardCharsets.US_ASCII)));
        assertEquals("hello", connection.written.toString());

        usb.unplug(ftdi);
        assertTrue(CompanionThreads.awaitNone(5000));
        assertTrue(connection.closed && connection.claimed.isEmpty());
        assertFalse(port.write(new byte[] {1}));
        assertEquals("USB device 0403:6001 was unplugged", port.getLastErrorMessage());
        assertEquals("USB device 0403:6001 is not attached", refusal("portid=0403:6001;"));
    }

    @Test
    public void aDeniedOrUnansweredPermissionFailsOpenWithTheDeviceIds() {
        Build.VERSION.SDK_INT = 30;
        usb.answer = false;
        assertEquals("no permission for USB device 1a86:7523", refusal("portid=/dev/bus/usb/001/002;"));
        assertEquals(0, usb.asked.flags); // mutable before API 31, so the system can add its answer
        usb.answer = null; // the dialog stays open
        long wait = PSerialPort.permissionWaitMillis;
        PSerialPort.permissionWaitMillis = 50;
        try {
            assertEquals("no permission for USB device 1a86:7523", refusal("portid=/dev/bus/usb/001/002;"));
        } finally {
            PSerialPort.permissionWaitMillis = wait;
        }
        assertTrue(activity.receivers.isEmpty() && usb.opened.isEmpty());
    }

    @Test
    public void eachDeviceGetsItsLineOnItsOwnInterfacesAndRefusalsFailOpenWithTheReasonAndLetTheDeviceGo() {
        usb.permitted.addAll(usb.attached.keySet());
        assertTrue(port.getLastErrorMessage(), port.open("portid=05f9:4204;" + LINE));
        assertEquals(List.of("21/20/0000/0000:00C20100000208", "21/22/0003/0000"), usb.opened.get(0).control);
        assertEquals(Set.of(0, 1), usb.opened.get(0).claimed);
        assertTrue(port.getLastErrorMessage(), port.open("portid=0403:6010#2;" + LINE));
        assertEquals("40/03/001A/0002", usb.opened.get(1).control.get(1));
        assertEquals(Set.of(1), usb.opened.get(1).claimed);
        port.close();

        usb.refuseControlAt = 1;
        assertEquals("USB device 10c4:ea60: CP210x refused the speed (control transfer failed)",
                     refusal("portid=10c4:ea60;" + LINE));
        // After the refused speed only the port's disabling, as on every release.
        assertEquals(List.of("41/00/0001/0000", "41/1E/0000/0000:00C20100", "41/00/0000/0000"), usb.opened.get(2).control);
        assertEquals("USB device 0403:6001: FTDI cannot set 9600 5N1: the chip takes 7 or 8 data bits",
                     refusal("portid=0403:6001;speed=9600;data_bits=5;"));
        assertTrue(usb.opened.get(3).control.isEmpty());
        assertEquals("USB device 0403:6010 has no port 3", refusal("portid=0403:6010#3;"));
        assertEquals("no port given", refusal("speed=9600;"));
        for (UsbDeviceConnection connection : usb.opened)
            assertTrue(connection.closed && connection.claimed.isEmpty());
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
    public void theListNamesEachPortWithTheChipsNameWhenTheDeviceGivesNone() {
        usb.attached.clear();
        usb.attach(ft2232);
        assertEquals("<Devices><Device id=\"/dev/bus/usb/001/007\" productId=\"6010\" vendorId=\"0403\" productName=\"FTDI"
                     + " serial port\" deviceName=\"/dev/bus/usb/001/007\"/><Device id=\"/dev/bus/usb/001/007#2\" productId=\"6010\""
                     + " vendorId=\"0403\" productName=\"FTDI serial port\" deviceName=\"/dev/bus/usb/001/007\"/></Devices>",
                     PSerialPort.availibleDevicesInfo(activity));
        activity.services.clear(); // no USB host: an empty list, nothing thrown
        assertEquals("", PSerialPort.availibleDevices(activity));
    }
}
