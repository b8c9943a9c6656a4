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

    public int getId() { return id; }

    public int getInterfaceClass() { return interfaceClass; }

    public int getEndpointCount() { return endpoints.length; }

    public UsbEndpoint getEndpoint(int index) { return endpoints[index]; }
}
