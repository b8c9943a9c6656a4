// Test fake of an endpoint: a direction, a type and a packet size.
package android.hardware.usb;

public class UsbEndpoint {
    private final int direction;
    private final int type;
    private final int maxPacketSize;

    public UsbEndpoint(int direction, int type, int maxPacketSize) {
        this.direction = direction;
        this.type = type;
        this.maxPacketSize = maxPacketSize;
    }

    public int getDirection() { return direction; }

    public int getType() { return type; }

    public int getMaxPacketSize() { return maxPacketSize; }
}
