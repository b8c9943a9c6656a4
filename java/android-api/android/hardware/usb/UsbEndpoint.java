// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

public class UsbEndpoint {
    public int getDirection() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getType() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getMaxPacketSize() { // API 12
        throw new RuntimeException("Stub!");
    }
}
