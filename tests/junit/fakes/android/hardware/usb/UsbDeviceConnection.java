// Test fake of an opened device: control transfers written down as "type/request/value/index
// data" in hex, bulk OUT gathered, bulk IN blocks given by the test.
package android.hardware.usb;

import java.io.ByteArrayOutputStream;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.LinkedBlockingQueue;

public class UsbDeviceConnection {
    static final byte[] CANCELLED = new byte[0];
    static final byte[] UNPLUGGED = new byte[0];

    public final CopyOnWriteArrayList<String> control = new CopyOnWriteArrayList<>();
    /** The number of the control transfer the device refuses; -1 for none. */
    public volatile int refuseControlAt = -1;
    public byte[] rawDescriptors = {18, 1, 0, 2, 0, 0, 0, 64};
    public final Set<Integer> claimed = ConcurrentHashMap.newKeySet();
    public final ByteArrayOutputStream written = new ByteArrayOutputStream();
    public volatile boolean closed;
    volatile boolean unplugged;
    final LinkedBlockingQueue<byte[]> events = new LinkedBlockingQueue<>();
    volatile UsbRequest queued;

    /** One block arriving on bulk IN. */
    public void receive(byte[] block) {
        events.offer(block);
    }

    void unplug() {
        unplugged = true;
        events.offer(UNPLUGGED);
    }

    public void close() {
        closed = true;
    }

    public byte[] getRawDescriptors() {
        return rawDescriptors;
    }

    public boolean claimInterface(UsbInterface intf, boolean force) {
        claimed.add(intf.getId());
        return true;
    }

    public boolean releaseInterface(UsbInterface intf) {
        return claimed.remove(intf.getId());
    }

    public int controlTransfer(int requestType, int request, int value, int index, byte[] buffer, int length,
                               int timeout) {
        StringBuilder line = new StringBuilder(String.format("%02X/%02X/%04X/%04X", requestType, request, value, index));
        for (int i = 0; (requestType & 0x80) == 0 && i < length; ++i)
            line.append(i == 0 ? " " : "").append(String.format("%02X", buffer[i]));
        control.add(line.toString());
        return unplugged || control.size() - 1 == refuseControlAt ? -1 : length;
    }

    public int bulkTransfer(UsbEndpoint endpoint, byte[] buffer, int offset, int length, int timeout) {
        if (unplugged || closed)
            return -1;
        synchronized (written) {
            written.write(buffer, offset, length);
        }
        return length;
    }

    /** Blocks until the queued request ends: with a block, cancelled, or failed by an unplug. */
    public UsbRequest requestWait() {
        try {
            byte[] event = events.take();
            UsbRequest request = queued;
            if (event == UNPLUGGED) {
                events.offer(UNPLUGGED);
                return null;
            }
            if (event != CANCELLED)
                request.buffer.put(event, 0, Math.min(event.length, request.length));
            return request;
        } catch (InterruptedException e) {
            return null;
        }
    }
}
