// The Android Bluetooth companion against a fake adapter: the paired list, connecting, a link
// that drops and comes back, and the reasons of a failed open.
package com.tavrel.piodevice;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertTrue;

import android.app.Activity;
import android.bluetooth.BluetoothAdapter;
import android.bluetooth.BluetoothDevice;
import android.bluetooth.BluetoothSocket;
import android.os.Build;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import org.junit.After;
import org.junit.Test;

public class PBluetoothTest {
    private static final String ADDRESS = "00:1A:7D:DA:71:13";

    private final Activity activity = new Activity();
    private final BluetoothAdapter adapter = new BluetoothAdapter();
    private final BluetoothDevice scanner = adapter.addDevice(ADDRESS, "Scanner", true);
    private final LinkedBlockingQueue<byte[]> blocks = new LinkedBlockingQueue<>();
    private final PBluetooth bluetooth = new PBluetooth(activity, 3) {
        @Override
        void deliver(byte[] block) {
            blocks.add(block);
        }
    };

    {
        BluetoothAdapter.setDefaultAdapter(adapter);
        activity.granted.add(PBluetooth.CONNECT_PERMISSION);
        activity.granted.add(PBluetooth.SCAN_PERMISSION);
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

    @Test
    public void listsThePairedDevicesAndNothingWithoutBluetoothOrPermission() {
        adapter.addDevice("00:11:22:33:44:55", null, true);
        adapter.addDevice("66:77:88:99:AA:BB", "Not paired", false);
        assertEquals(DeviceLists.bluetooth(List.of(new DeviceLists.Peer(ADDRESS, "Scanner"),
                                                   new DeviceLists.Peer("00:11:22:33:44:55", null))),
                     PBluetooth.availibleDevices());
        adapter.withoutPermission = true;
        assertEquals("", PBluetooth.availibleDevices());
        BluetoothAdapter.setDefaultAdapter(null);
        assertEquals("", PBluetooth.availibleDevices());
    }

    @Test
    public void connectsToTheSerialPortServiceFallingBackToTheInsecureSocket() throws Exception {
        scanner.refusesSecure = true;
        assertTrue(bluetooth.open("address=" + ADDRESS.toLowerCase() + ";flags=3;"));
        assertEquals(List.of("secure", "insecure"), Arrays.asList(next(scanner.attempts), next(scanner.attempts)));
        assertEquals(PBluetooth.SERIAL_PORT, scanner.lastUuid);
        assertEquals(1, adapter.discoveryCancels.get());
        assertTrue(bluetooth.isOpen());

        BluetoothSocket link = next(scanner.connected);
        link.peerSends(new byte[] {'4', '0', 0x1d, '\r'});
        assertArrayEquals(new byte[] {'4', '0', 0x1d, '\r'}, next(blocks));
        assertTrue(bluetooth.write(new byte[] {6}));
        assertArrayEquals(new byte[] {6}, link.received());

        bluetooth.close();
        assertTrue(link.isClosed());
        assertFalse(bluetooth.isOpen());
    }

    @Test
    public void aLinkThatDropsIsDownUntilItIsMadeAgainAndThenDeliversAgain() throws Exception {
        assertTrue(bluetooth.open("address=" + ADDRESS + ";flags=1;"));
        BluetoothSocket first = next(scanner.connected);
        next(scanner.attempts);

        scanner.reachable = false;
        first.drop();
        assertEquals("secure", next(scanner.attempts)); // a retry: the reader saw the drop
        assertFalse(bluetooth.isOpen());
        assertFalse(bluetooth.write(new byte[] {1}));

        scanner.reachable = true;
        BluetoothSocket second = next(scanner.connected);
        second.peerSends("again".getBytes());
        assertArrayEquals("again".getBytes(), next(blocks));
        assertTrue(bluetooth.isOpen());
    }

    @Test
    public void aSocketConnectedElsewhereIsReadAndNotMadeAgainAfterADrop() throws Exception {
        BluetoothSocket given = scanner.createRfcommSocketToServiceRecord(PBluetooth.SERIAL_PORT);
        given.connect();
        bluetooth.setConnected(given, 1);
        given.peerSends("given".getBytes());
        assertArrayEquals("given".getBytes(), next(blocks));
        next(scanner.attempts);
        given.drop();
        assertTrue(CompanionThreads.awaitNone(5000)); // the reader ended instead of reconnecting
        assertFalse(bluetooth.isOpen());
        assertTrue(scanner.attempts.isEmpty());
    }

    @Test
    public void openFailsWithTheReasonWhenBluetoothCannotServe() {
        assertOpenFails("address=;", "no Bluetooth address given");
        assertOpenFails("address=scanner;", "not a Bluetooth address: SCANNER");

        adapter.enabled = false;
        assertOpenFails("address=" + ADDRESS + ";", "Bluetooth is off");
        adapter.enabled = true;

        scanner.reachable = false;
        assertOpenFails("address=" + ADDRESS + ";", "cannot connect to " + ADDRESS
                        + ": read failed, socket might closed or timeout, read ret: -1");
        scanner.reachable = true;

        activity.granted.clear();
        Build.VERSION.SDK_INT = 30; // before the runtime permission: nothing to ask
        assertTrue(bluetooth.open("address=" + ADDRESS + ";"));
        Build.VERSION.SDK_INT = 31;
        assertOpenFails("address=" + ADDRESS + ";", "no permission to connect to Bluetooth devices"
                        + " (android.permission.BLUETOOTH_CONNECT): the user was asked for it, open again once it is granted");
        assertEquals(List.of(PBluetooth.CONNECT_PERMISSION), activity.requested);

        BluetoothAdapter.setDefaultAdapter(null);
        assertOpenFails("address=" + ADDRESS + ";", "this device has no Bluetooth");
    }

    private void assertOpenFails(String parameters, String reason) {
        assertFalse(parameters, bluetooth.open(parameters));
        assertFalse(bluetooth.isOpen());
        assertEquals(reason, bluetooth.getLastErrorMessage());
    }
}
