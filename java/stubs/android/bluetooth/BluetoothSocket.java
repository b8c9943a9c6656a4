// Desktop stand-in for the Android Bluetooth socket, so that native signatures naming it resolve.
package android.bluetooth;

import java.io.IOException;

public class BluetoothSocket {
    private volatile boolean connected;

    public BluetoothSocket() {}

    public void connect() throws IOException {
        connected = true;
    }

    public boolean isConnected() {
        return connected;
    }

    public void close() throws IOException {
        connected = false;
    }
}
