// Compile-only declaration of the Bluetooth device members that the companions use.
package android.bluetooth;

import java.io.IOException;
import java.util.UUID;

public final class BluetoothDevice {
    BluetoothDevice() {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public String getAddress() {
        throw new RuntimeException("Stub!");
    }

    // API 5; needs BLUETOOTH_CONNECT from API 31
    public String getName() {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public BluetoothSocket createRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        throw new RuntimeException("Stub!");
    }

    // API 10
    public BluetoothSocket createInsecureRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        throw new RuntimeException("Stub!");
    }
}
