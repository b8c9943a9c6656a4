// The Android Bluetooth companion against a fake adapter: the paired list, connecting, a link that
// drops and comes back, and the reasons of a failed open.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import android.app.Activity;
import android.bluetooth.BluetoothAdapter;
import android.bluetooth.BluetoothDevice;
import android.bluetooth.BluetoothSocket;
import android.os.Build;
import java.nio.charset.StandardCharsets;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.After;
import org.junit.Test;

public class PBluetoothTest {
    private static final String ADDRESS = "00:1A:7D:DA:71:13";
    private static final String SERIAL_PORT = "00001101-0000-1000-8000-00805f9b34fb";

    private final Activity activity = new Activity();
    private final BluetoothAdapter adapter = new BluetoothAdapter();
    private final BluetoothDevice scanner = new BluetoothDevice(ADDRESS, "Scanner");
    private final LinkedBlockingQueue<String> blocks = new LinkedBlockingQueue<>();
    private final PBluetooth bluetooth = new PBluetooth(activity, 3) {
        @Override
        void deliver(byte[] block) { blocks.add(new String(block, StandardCharsets.ISO_8859_1)); }
    };

    {
        BluetoothAdapter.defaultAdapter = adapter;
        adapter.bonded.add(scanner);
        activity.granted.add(PBluetooth.CONNECT_PERMISSION);
    }

    @After
    public void closeAndCheckThatTheReaderEnded() throws InterruptedException {
        bluetooth.close();
        Build.VERSION.SDK_INT = 34;
        assertTrue(CompanionThreads.awaitNone(5000));
    }

    private static <T> T next(BlockingQueue<T> queue) throws InterruptedException {
        T item = queue.poll(5, TimeUnit.SECONDS);
        if (item == null)
            throw new AssertionError("nothing came in 5 s");
        return item;
    }

    private String refusal(String parameters) {
        assertFalse(parameters, bluetooth.open(parameters));
        assertFalse(bluetooth.isOpen());
        return bluetooth.getLastErrorMessage();
    }

    @Test
    public void connectsSecureThenInsecureAndALinkThatDropsIsDownUntilItIsMadeAgain() throws Exception {
        scanner.refusesSecure = true;
        assertTrue(bluetooth.open("address=" + ADDRESS.toLowerCase() + ";flags=3;"));
        assertEquals("secure " + SERIAL_PORT, next(scanner.attempts));
        assertEquals("insecure " + SERIAL_PORT, next(scanner.attempts));
        BluetoothSocket link = next(scanner.connected);
        link.peerSends(new byte[] {'4', '0', 0x1d, '\r'});
        assertEquals("40\u001d\r", next(blocks));
        assertTrue(bluetooth.write("ack".getBytes()));
        assertEquals("ack", link.sent.toString());

        scanner.reachable = false;
        link.drop();
        next(scanner.attempts); // a retry: the reader saw the drop
        assertFalse(bluetooth.isOpen());
        assertFalse(bluetooth.write(new byte[] {1}));
        scanner.reachable = true;
        BluetoothSocket again = next(scanner.connected);
        again.peerSends("again".getBytes());
        assertEquals("again", next(blocks));
        assertTrue(bluetooth.isOpen());
        bluetooth.close();
        assertTrue(again.closed);
        assertFalse(bluetooth.isOpen());
    }

    @Test
    public void listsThePairedDevicesAndOpenFailsWithTheReasonWhenBluetoothCannotServe() {
        String open = "address=" + ADDRESS + ";";
        adapter.bonded.add(new BluetoothDevice("00:11:22:33:44:55", null));
        assertEquals(DeviceLists.bluetooth(List.of(new DeviceLists.Peer(ADDRESS, "Scanner"),
                                                   new DeviceLists.Peer("00:11:22:33:44:55", null))),
                     PBluetooth.availibleDevices());
        adapter.withoutPermission = true;
        assertEquals("", PBluetooth.availibleDevices());
        adapter.withoutPermission = false;
        assertEquals("no Bluetooth address given", refusal("address=;"));
        assertEquals("not a Bluetooth address: SCANNER", refusal("address=scanner;"));
        adapter.enabled = false;
        assertEquals("Bluetooth is off", refusal(open));
        adapter.enabled = true;
        scanner.reachable = false;
        assertEquals("cannot connect to " + ADDRESS + ": read failed, socket might closed or timeout, read ret: -1",
                     refusal(open));
        scanner.reachable = true;
        activity.granted.clear();
        Build.VERSION.SDK_INT = 30; // before the runtime permission: nothing to ask
        assertTrue(bluetooth.open(open));
        Build.VERSION.SDK_INT = 31;
        assertEquals("no permission to connect to Bluetooth devices (android.permission.BLUETOOTH_CONNECT): the user"
                     + " was asked for it, open again once it is granted", refusal(open));
        assertEquals(List.of(PBluetooth.CONNECT_PERMISSION), activity.requested);
        BluetoothAdapter.defaultAdapter = null;
        assertEquals("this device has no Bluetooth", refusal(open));
        assertEquals("", PBluetooth.availibleDevices());
    }
}
