// Test fake of a Bluetooth device: whether it can be reached, and the sockets it connected, are
// in the test's hands.
package android.bluetooth;

import java.io.IOException;
import java.util.UUID;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;

public final class BluetoothDevice {
    private final BluetoothAdapter adapter;
    private final String address;
    private final String name;
    final boolean bonded;

    public volatile boolean reachable = true;
    public volatile boolean refusesSecure; // only the insecure socket connects
    public volatile UUID lastUuid;
    /** "secure" or "insecure" per connect attempt, in order. */
    public final BlockingQueue<String> attempts = new LinkedBlockingQueue<>();
    /** Every socket that connected, its far end for the test to drive. */
    public final BlockingQueue<BluetoothSocket> connected = new LinkedBlockingQueue<>();

    BluetoothDevice(BluetoothAdapter adapter, String address, String name, boolean bonded) {
        this.adapter = adapter;
        this.address = address;
        this.name = name;
        this.bonded = bonded;
    }

    public String getAddress() {
        return address;
    }

    public String getName() {
        adapter.guard();
        return name;
    }

    public BluetoothSocket createRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        lastUuid = uuid;
        return new BluetoothSocket(this, true);
    }

    public BluetoothSocket createInsecureRfcommSocketToServiceRecord(UUID uuid) throws IOException {
        lastUuid = uuid;
        return new BluetoothSocket(this, false);
    }

    void connecting(BluetoothSocket socket, boolean secure) throws IOException {
        adapter.guard();
        attempts.add(secure ? "secure" : "insecure");
        if (!reachable || (secure && refusesSecure))
            throw new IOException("read failed, socket might closed or timeout, read ret: -1");
        connected.add(socket);
    }
}
