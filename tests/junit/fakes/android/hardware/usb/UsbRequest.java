// Test fake of a bulk IN request: queued on its connection, ended by a block, a cancel or an unplug.
package android.hardware.usb;

import java.nio.ByteBuffer;

public class UsbRequest {
    private UsbDeviceConnection connection;
    ByteBuffer buffer;

    public boolean initialize(UsbDeviceConnection connection, UsbEndpoint endpoint) {
        this.connection = connection;
        return true;
    }

    public void close() {}

    public boolean queue(ByteBuffer buffer, int length) {
        this.buffer = buffer;
        connection.queued = this;
        return !connection.unplugged;
    }

    public boolean cancel() { return connection.events.add(UsbDeviceConnection.CANCELLED); }
}
