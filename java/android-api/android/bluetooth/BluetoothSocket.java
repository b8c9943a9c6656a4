// Compile-only declaration of the Bluetooth socket members that the companions use.
package android.bluetooth;

import java.io.Closeable;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;

public final class BluetoothSocket implements Closeable {
    BluetoothSocket() {
        throw new RuntimeException("Stub!");
    }

    // API 5; needs BLUETOOTH_CONNECT from API 31
    public void connect() throws IOException {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public InputStream getInputStream() throws IOException {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public OutputStream getOutputStream() throws IOException {
        throw new RuntimeException("Stub!");
    }

    // API 5
    public void close() throws IOException {
        throw new RuntimeException("Stub!");
    }
}
