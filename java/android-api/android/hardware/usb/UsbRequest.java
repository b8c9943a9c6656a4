// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

import java.nio.ByteBuffer;

public class UsbRequest {
    public UsbRequest() { // API 12
        throw new RuntimeException("Stub!");
    }

    public boolean initialize(UsbDeviceConnection connection, UsbEndpoint endpoint) { // API 12
        throw new RuntimeException("Stub!");
    }

    public void close() { // API 12
        throw new RuntimeException("Stub!");
    }

    @Deprecated
    public boolean queue(ByteBuffer buffer, int length) { // API 12, deprecated in 26
        throw new RuntimeException("Stub!");
    }

    public boolean cancel() { // API 12
        throw new RuntimeException("Stub!");
    }
}
