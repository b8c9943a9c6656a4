// Test fake of a bulk IN request: queued on its connection, finished by the block a test
// sends, by cancel, or by an unplug.
package android.hardware.usb;

import java.nio.ByteBuffer;

public class UsbRequest {
    UsbDeviceConnection connection;
    ByteBuffer buffer;
    int length;
    public volatile boolean closed;

    public UsbRequest() {}

    public boolean initialize(UsbDeviceConnection connection, UsbEndpoint endpoint) {
        this.connection = connection;
        return true;
    }

    public void close() {
        closed = true;
    }

    public boolean queue(ByteBuffer buffer, int length) {
        if (connection == null || connection.unplugged)
            return false;
        this.buffer = buffer;
        this.length = length;
        connection.queued = this;
        return true;
    }

    public boolean cancel() {
        connection.events.offer(UsbDeviceConnection.CANCELLED);
        return true;
    }
}
