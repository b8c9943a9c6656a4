// Compile-only declaration of the Bluetooth adapter members that the companions use.
package android.bluetooth;

import java.util.Set;

public final class BluetoothAdapter {
    BluetoothAdapter() {
        throw new RuntimeException("Stub!");
    }

    // API 5; deprecated in API 31 for BluetoothManager.getAdapter, still served
    public static BluetoothAdapter getDefaultAdapter() {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public static boolean checkBluetoothAddress(String address) {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public boolean isEnabled() {
        throw new RuntimeException("Stub!");
    }

    // API 5; needs BLUETOOTH_CONNECT from API 31
    public Set<BluetoothDevice> getBondedDevices() {
        throw new RuntimeException("Stub!");
    }

    // API 5; needs BLUETOOTH_SCAN from API 31
    public boolean cancelDiscovery() {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public BluetoothDevice getRemoteDevice(String address) {
        throw new RuntimeException("Stub!");
    }
}
