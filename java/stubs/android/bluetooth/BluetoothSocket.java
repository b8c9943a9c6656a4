// Desktop stand-in for the Android Bluetooth socket, so that native signatures naming it resolve.
package android.bluetooth;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;

public class BluetoothSocket {
    private final InputStream input;
    private final OutputStream output;
    private volatile boolean connected;

    public BluetoothSocket() {
        this(new ByteArrayInputStream(new byte[0]), new ByteArrayOutputStream());
    }

    /** Desktop only: a socket over the given streams, as a test or the emulator makes one. */
    public BluetoothSocket(InputStream input, OutputStream output) {
        this.input = input;
        this.output = output;
    }

    public void connect() throws IOException {
        connected = true;
    }

    public boolean isConnected() {
        return connected;
    }

    public InputStream getInputStream() throws IOException {
        return input;
    }

    public OutputStream getOutputStream() throws IOException {
        return output;
    }

    public void close() throws IOException {
        connected = false;
        input.close();
        output.close();
    }
}
