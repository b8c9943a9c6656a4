// Test fake of an interface: a number, a class and endpoints.
package android.hardware.usb;

public class UsbInterface {
    private final int id;
    private final int interfaceClass;
    private final UsbEndpoint[] endpoints;

    public UsbInterface(int id, int interfaceClass, UsbEndpoint... endpoints) {
        this.id = id;
        this.interfaceClass = interfaceClass;
        this.endpoints = endpoints;
    }

    /** An interface with one bulk IN and one bulk OUT endpoint of the given packet size. */
    public static UsbInterface bulk(int id, int interfaceClass, int packetSize) {
        return new UsbInterface(id, interfaceClass, new UsbEndpoint(UsbConstants.USB_DIR_IN, 2, packetSize),
                                new UsbEndpoint(0, 2, packetSize));
    }

    public int getId() {
        return id;
    }

    public int getInterfaceClass() {
        return interfaceClass;
    }

    public int getEndpointCount() {
        return endpoints.length;
    }

    public UsbEndpoint getEndpoint(int index) {
        return endpoints[index];
    }
}
