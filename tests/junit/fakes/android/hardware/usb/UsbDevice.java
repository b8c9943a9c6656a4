// Test fake of a USB device without names of its own: ids and interfaces as the test makes them.
package android.hardware.usb;

public class UsbDevice {
    private final String name;
    private final int vendorId;
    private final int productId;
    private final UsbInterface[] interfaces;

    public UsbDevice(String name, int vendorId, int productId, UsbInterface... interfaces) {
        this.name = name;
        this.vendorId = vendorId;
        this.productId = productId;
        this.interfaces = interfaces;
    }

    public String getDeviceName() { return name; }

    public int getVendorId() { return vendorId; }

    public int getProductId() { return productId; }

    public String getManufacturerName() { return null; }

    public String getProductName() { return null; }

    public String getSerialNumber() { // kept from an app without permission, as from API 29 on
        throw new SecurityException("User has not given permission to device " + name);
    }

    public int getInterfaceCount() { return interfaces.length; }

    public UsbInterface getInterface(int index) { return interfaces[index]; }
}
