// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

public class UsbInterface {
    public int getId() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getInterfaceClass() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getEndpointCount() { // API 12
        throw new RuntimeException("Stub!");
    }

    public UsbEndpoint getEndpoint(int index) { // API 12
        throw new RuntimeException("Stub!");
    }
}
