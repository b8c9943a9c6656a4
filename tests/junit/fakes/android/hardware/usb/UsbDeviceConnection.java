// Test fake of a device connection: control transfers and bulk OUT recorded, bulk IN blocks given
// by the test, every transfer failing once the device is unplugged.
package android.hardware.usb;

import java.io.ByteArrayOutputStream;
import java.util.List;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.LinkedBlockingQueue;

public class UsbDeviceConnection {
    static final byte[] CANCELLED = {};
    private static final byte[] UNPLUGGED = {};
    public final List<String> control = new CopyOnWriteArrayList<>(); // "type/request/value/index:data" in hex
    private final int refuseControlAt;
    public final Set<Integer> claimed = ConcurrentHashMap.newKeySet();
    public final ByteArrayOutputStream written = new ByteArrayOutputStream();
    public volatile boolean closed;
    volatile boolean unplugged;
    final LinkedBlockingQueue<byte[]> events = new LinkedBlockingQueue<>();
    volatile UsbRequest queued;

    UsbDeviceConnection(int refuseControlAt) { this.refuseControlAt = refuseControlAt; }

    public void receive(byte[] block) { events.add(block); }

    void unplug() {
        unplugged = true;
        events.add(UNPLUGGED);
    }

    public void close() { closed = true; }

    public byte[] getRawDescriptors() { return null; }

    public boolean claimInterface(UsbInterface intf, boolean force) { return claimed.add(intf.getId()); }

    public boolean releaseInterface(UsbInterface intf) { return claimed.remove(intf.getId()); }

    public int controlTransfer(int requestType, int request, int value, int index, byte[] buffer, int length,
                               int timeout) {
        StringBuilder line = new StringBuilder(String.format("%02X/%02X/%04X/%04X", requestType, request, value, index));
        for (int i = 0; (requestType & 0x80) == 0 && i < length; ++i)
            line.append(i == 0 ? ":" : "").append(String.format("%02X", buffer[i]));
        control.add(line.toString());
        return unplugged || control.size() - 1 == refuseControlAt ? -1 : length;
    }

    public int bulkTransfer(UsbEndpoint endpoint, byte[] buffer, int offset, int length, int timeout) {
        if (unplugged || closed)
            return -1;
        written.write(buffer, offset, length);
        return length;
    }

    public UsbRequest requestWait() {
        try {
            byte[] event = events.take();
            if (event == UNPLUGGED)
                events.add(UNPLUGGED);
            else if (event != CANCELLED)
                queued.buffer.put(event);
            return event == UNPLUGGED ? null : queued;
        } catch (InterruptedException e) {
            return null;
        }
    }
}
