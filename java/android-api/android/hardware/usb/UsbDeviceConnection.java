// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

public class UsbDeviceConnection {
    public void close() { // API 12
        throw new RuntimeException("Stub!");
    }

    public byte[] getRawDescriptors() { // API 13
        throw new RuntimeException("Stub!");
    }

    public boolean claimInterface(UsbInterface intf, boolean force) { // API 12
        throw new RuntimeException("Stub!");
    }

    public boolean releaseInterface(UsbInterface intf) { // API 12
        throw new RuntimeException("Stub!");
    }

    public int controlTransfer(int requestType, int request, int value, int index, byte[] buffer, int length,
                               int timeout) { // API 12
        throw new RuntimeException("Stub!");
    }

    public int bulkTransfer(UsbEndpoint endpoint, byte[] buffer, int offset, int length, int timeout) { // API 18
        throw new RuntimeException("Stub!");
    }

    public UsbRequest requestWait() { // API 12
        throw new RuntimeException("Stub!");
    }
}
