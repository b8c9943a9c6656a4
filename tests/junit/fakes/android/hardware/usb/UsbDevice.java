// Test fake of a USB device: ids, names and interfaces as the test makes them.
package android.hardware.usb;

public class UsbDevice {
    private final String name;
    private final int vendorId;
    private final int productId;
    private final UsbInterface[] interfaces;
    public String manufacturerName;
    public String productName;
    public String serialNumber; // null: kept from an app without permission, as from API 29 on

    public UsbDevice(String name, int vendorId, int productId, UsbInterface... interfaces) {
        this.name = name;
        this.vendorId = vendorId;
        this.productId = productId;
        this.interfaces = interfaces;
    }

    public String getDeviceName() { return name; }

    public int getVendorId() { return vendorId; }

    public int getProductId() { return productId; }

    public String getManufacturerName() { return manufacturerName; }

    public String getProductName() { return productName; }

    public String getSerialNumber() {
        if (serialNumber == null)
            throw new SecurityException("User has not given permission to device " + name);
        return serialNumber;
    }

    public int getInterfaceCount() { return interfaces.length; }

    public UsbInterface getInterface(int index) { return interfaces[index]; }
}
