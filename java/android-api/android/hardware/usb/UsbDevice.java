// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

public class UsbDevice {
    public String getDeviceName() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getVendorId() { // API 12
        throw new RuntimeException("Stub!");
    }

    public int getProductId() { // API 12
        throw new RuntimeException("Stub!");
    }

    public String getManufacturerName() { // API 21
        throw new RuntimeException("Stub!");
    }

    public String getProductName() { // API 21
        throw new RuntimeException("Stub!");
    }

    public String getSerialNumber() { // API 21; API 29 on: SecurityException without permission
        throw new RuntimeException("Stub!");
    }

    public int getInterfaceCount() { // API 12
        throw new RuntimeException("Stub!");
    }

    public UsbInterface getInterface(int index) { // API 12
        throw new RuntimeException("Stub!");
    }
}
