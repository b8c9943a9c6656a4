// Test fake of the Bluetooth adapter: the default one, whether it is on and its paired devices.
package android.bluetooth;

import java.util.LinkedHashSet;
import java.util.Set;

public final class BluetoothAdapter {
    public static volatile BluetoothAdapter defaultAdapter;
    public volatile boolean enabled = true;
    public volatile boolean withoutPermission; // the paired list is refused, as from API 31 on
    public final Set<BluetoothDevice> bonded = new LinkedHashSet<>();

    public static BluetoothAdapter getDefaultAdapter() { return defaultAdapter; }

    public static boolean checkBluetoothAddress(String address) {
        return address.matches("([0-9A-F]{2}:){5}[0-9A-F]{2}");
    }

    public boolean isEnabled() { return enabled; }

    public boolean cancelDiscovery() { return true; }

    public Set<BluetoothDevice> getBondedDevices() {
        if (withoutPermission)
            throw new SecurityException("Need android.permission.BLUETOOTH_CONNECT permission");
        return bonded;
    }

    public BluetoothDevice getRemoteDevice(String address) {
        return bonded.stream().filter(d -> d.getAddress().equals(address)).findFirst().orElseThrow();
    }
}
