// Test fake of the Bluetooth adapter: the default adapter, its state and its known devices are
// set by the test.
package android.bluetooth;

import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.atomic.AtomicInteger;

public final class BluetoothAdapter {
    private static volatile BluetoothAdapter defaultAdapter;

    public volatile boolean enabled = true;
    public volatile boolean withoutPermission; // every guarded call throws SecurityException
    public final AtomicInteger discoveryCancels = new AtomicInteger();
    private final Map<String, BluetoothDevice> devices = new LinkedHashMap<>(); // guarded by itself

    /** Null: a device without Bluetooth. */
    public static void setDefaultAdapter(BluetoothAdapter adapter) {
        defaultAdapter = adapter;
    }

    public static BluetoothAdapter getDefaultAdapter() {
        return defaultAdapter;
    }

    public static boolean checkBluetoothAddress(String address) {
        return address != null && address.matches("([0-9A-F]{2}:){5}[0-9A-F]{2}");
    }

    /** A device the adapter knows, bonded or not. */
    public BluetoothDevice addDevice(String address, String name, boolean bonded) {
        BluetoothDevice device = new BluetoothDevice(this, address, name, bonded);
        synchronized (devices) {
            devices.put(address, device);
        }
        return device;
    }

    public boolean isEnabled() {
        return enabled;
    }

    public Set<BluetoothDevice> getBondedDevices() {
        guard();
        Set<BluetoothDevice> bonded = new LinkedHashSet<>();
        synchronized (devices) {
            for (BluetoothDevice device : devices.values())
                if (device.bonded)
                    bonded.add(device);
        }
        return bonded;
    }

    public boolean cancelDiscovery() {
        guard();
        discoveryCancels.incrementAndGet();
        return true;
    }

    public BluetoothDevice getRemoteDevice(String address) {
        if (!checkBluetoothAddress(address))
            throw new IllegalArgumentException(address + " is not a valid Bluetooth address");
        synchronized (devices) {
            BluetoothDevice device = devices.get(address);
            return device != null ? device : new BluetoothDevice(this, address, null, false);
        }
    }

    void guard() {
        if (withoutPermission)
            throw new SecurityException("Need android.permission.BLUETOOTH_CONNECT permission");
    }
}
