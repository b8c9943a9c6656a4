// The Java side of the Bluetooth device on Android: the paired devices of the adapter, and a
// serial port profile link to one of them that is kept up while the device is open.
package com.tavrel.piodevice;

import android.app.Activity;
import android.bluetooth.BluetoothAdapter;
import android.bluetooth.BluetoothDevice;
import android.bluetooth.BluetoothSocket;
import android.os.Build;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;
import java.util.Locale;
import java.util.UUID;

/**
 * open takes "address=AA:BB:CC:DD:EE:FF;flags=N;" and connects an RFCOMM socket to the
 * device's serial port service: the secure socket first, the insecure one when that fails
 * (scanners paired without a PIN often accept only that). Discovery is cancelled before each
 * connect, since a running one slows a connect down to failure. A link that drops is made
 * again with the back-off of {@link StreamCompanion} until close; isOpen is false meanwhile.
 * From API 31 on the app needs the runtime permission BLUETOOTH_CONNECT: without it open asks
 * the user for it and fails with the reason, and an open after the grant succeeds.
 * Nothing here throws to the caller.
 */
public class PBluetooth extends StreamDevice {
    static final UUID SERIAL_PORT = UUID.fromString("00001101-0000-1000-8000-00805F9B34FB");
    // The runtime permissions of API 31 on, by name so that older platform jars compile this.
    static final int RUNTIME_PERMISSION_API = 31;
    static final String CONNECT_PERMISSION = "android.permission.BLUETOOTH_CONNECT";
    static final String SCAN_PERMISSION = "android.permission.BLUETOOTH_SCAN";
    private static final int PERMISSION_GRANTED = 0; // PackageManager.PERMISSION_GRANTED
    private static final int PERMISSION_REQUEST_CODE = 0x1101;

    private final Activity activity;
    private final long handle;

    public PBluetooth(Activity activity, long handle) {
        super("device not connected", "the device closed the link", false);
        this.activity = activity;
        this.handle = handle;
    }

    /**
     * The paired devices in the list form of {@link DeviceLists#bluetooth}; empty without
     * Bluetooth, with it off, or without the permission to see them.
     */
    public static String availibleDevices() {
        try {
            BluetoothAdapter adapter = BluetoothAdapter.getDefaultAdapter();
            Collection<BluetoothDevice> bonded = adapter == null ? null : adapter.getBondedDevices();
            List<DeviceLists.Peer> peers = new ArrayList<>();
            if (bonded != null) {
                for (BluetoothDevice device : bonded)
                    peers.add(new DeviceLists.Peer(device.getAddress(), device.getName()));
            }
            return DeviceLists.bluetooth(peers);
        } catch (RuntimeException e) {
            return "";
        }
    }

    /** Connects to the address of the parameters; true only with the link up. */
    public boolean open(String parameters) {
        stream.close();
        try {
            String address = new Parameters(parameters).text("address").trim().toUpperCase(Locale.ROOT);
            if (!BluetoothAdapter.checkBluetoothAddress(address))
                throw new IllegalArgumentException(address.isEmpty() ? "no Bluetooth address given"
                                                                     : "not a Bluetooth address: " + address);
            BluetoothAdapter adapter = readyAdapter();
            BluetoothDevice device = adapter.getRemoteDevice(address);
            return stream.open("PBluetooth " + address, () -> connect(adapter, device), true);
        } catch (RuntimeException e) {
            stream.setLastError(Parameters.reason(e));
            return false;
        }
    }

    /** Reads and writes a socket that is connected already; it is not made again after a drop. */
    public void setConnected(BluetoothSocket socket, long flags) {
        stream.adopt("PBluetooth socket",
                () -> StreamCompanion.streams(socket.getInputStream(), socket.getOutputStream(), socket::close));
    }

    @Override
    void deliver(byte[] block) {
        PBluetoothDataSend(handle, block);
    }

    private BluetoothAdapter readyAdapter() {
        BluetoothAdapter adapter = BluetoothAdapter.getDefaultAdapter();
        if (adapter == null)
            throw new IllegalStateException("this device has no Bluetooth");
        if (Build.VERSION.SDK_INT >= RUNTIME_PERMISSION_API && !granted(CONNECT_PERMISSION)) {
            askFor(CONNECT_PERMISSION);
            throw new IllegalStateException("no permission to connect to Bluetooth devices ("
                    + CONNECT_PERMISSION + "): the user was asked for it, open again once it is granted");
        }
        if (!adapter.isEnabled())
            throw new IllegalStateException("Bluetooth is off");
        return adapter;
    }

    private StreamCompanion.Connection connect(BluetoothAdapter adapter, BluetoothDevice device) throws IOException {
        // Only an app that may scan may stop a scan; one that may not has started none.
        if (Build.VERSION.SDK_INT < RUNTIME_PERMISSION_API || granted(SCAN_PERMISSION)) {
            try {
                adapter.cancelDiscovery();
            } catch (RuntimeException notAllowed) {
                // A scan of another app goes on; the connect may only take longer.
            }
        }
        BluetoothSocket socket;
        try {
            socket = connected(device.createRfcommSocketToServiceRecord(SERIAL_PORT));
        } catch (IOException secureRefused) {
            try {
                socket = connected(device.createInsecureRfcommSocketToServiceRecord(SERIAL_PORT));
            } catch (IOException e) {
                throw new IOException("cannot connect to " + device.getAddress() + ": " + Parameters.reason(e), e);
            }
        }
        try {
            return StreamCompanion.streams(socket.getInputStream(), socket.getOutputStream(), socket::close);
        } catch (IOException | RuntimeException e) {
            closeQuietly(socket);
            throw e;
        }
    }

    /** The socket, connected; closed when that fails. */
    private static BluetoothSocket connected(BluetoothSocket socket) throws IOException {
        try {
            socket.connect();
            return socket;
        } catch (IOException | RuntimeException e) {
            closeQuietly(socket);
            throw e;
        }
    }

    private static void closeQuietly(BluetoothSocket socket) {
        try {
            socket.close();
        } catch (IOException ignored) {
            // The failure that made us close it is the one to tell.
        }
    }

    /** Whether the app holds the permission; without an activity to ask, the system will tell. */
    private boolean granted(String permission) {
        return activity == null || activity.checkSelfPermission(permission) == PERMISSION_GRANTED;
    }

    private void askFor(String permission) {
        try {
            activity.runOnUiThread(() -> activity.requestPermissions(new String[] {permission}, PERMISSION_REQUEST_CODE));
        } catch (RuntimeException e) {
            // The reason of the failed open says what is missing all the same.
        }
    }

    static native void PBluetoothDataSend(long handle, byte[] data);
}
