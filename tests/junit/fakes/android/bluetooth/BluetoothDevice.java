// Test fake of a Bluetooth device: whether it answers, and the sockets it connected.
package android.bluetooth;

import java.io.IOException;
import java.util.UUID;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;

public final class BluetoothDevice {
    private final String address;
    private final String name;
    public volatile boolean reachable = true;
    public volatile boolean refusesSecure;
    public final BlockingQueue<String> attempts = new LinkedBlockingQueue<>(); // "secure <uuid>" or "insecure <uuid>"
    public final BlockingQueue<BluetoothSocket> connected = new LinkedBlockingQueue<>();

    public BluetoothDevice(String address, String name) {
        this.address = address;
        this.name = name;
    }

    public String getAddress() { return address; }

    public String getName() { return name; }

    public BluetoothSocket createRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        return new BluetoothSocket(this, "secure " + uuid);
    }

    public BluetoothSocket createInsecureRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        return new BluetoothSocket(this, "insecure " + uuid);
    }
}
