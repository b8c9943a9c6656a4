// One opened USB serial port: its interfaces claimed, its line set, its bulk endpoints read
// and written.
package com.tavrel.piodevice;

import android.hardware.usb.UsbConstants;
import android.hardware.usb.UsbDevice;
import android.hardware.usb.UsbDeviceConnection;
import android.hardware.usb.UsbEndpoint;
import android.hardware.usb.UsbInterface;
import android.hardware.usb.UsbManager;
import android.hardware.usb.UsbRequest;
import com.tavrel.piodevice.usb.CdcAcmChip;
import com.tavrel.piodevice.usb.UsbControl;
import com.tavrel.piodevice.usb.UsbSerialChip;
import com.tavrel.piodevice.usb.UsbSerialChips;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.util.Locale;

/**
 * Reads wait on a queued request of bulk IN, so an idle port costs no wake-up. close may come
 * from any thread while a read or a write is under way: it cancels the queued request, and
 * the last operation to leave lets the device go, so the platform's connection is never
 * closed under a thread still inside it.
 */
final class UsbSerialConnection implements StreamCompanion.Connection, UsbControl {
    static final int CONTROL_TIMEOUT_MILLIS = 1000;
    static final int WRITE_TIMEOUT_MILLIS = 2000;
    /** The most one transfer may carry on every API level. */
    static final int MAX_TRANSFER = 16384;

    /** The chip driver of a device's first port and the interfaces that port uses. */
    static final class Layout {
        final UsbSerialChip chip;
        final UsbInterface control; // null when the data interface takes the requests too
        final UsbInterface data;

        Layout(UsbSerialChip chip, UsbInterface control, UsbInterface data) {
            this.chip = chip;
            this.control = control;
            this.data = data;
        }
    }

    private final UsbManager manager;
    private final UsbDevice device;
    private final UsbDeviceConnection connection;
    private final Layout layout;
    private final UsbEndpoint in;
    private final UsbEndpoint out;
    private final UsbRequest request = new UsbRequest();
    // The monitor guards the four fields below; it is held for no transfer.
    private int users;
    private boolean closed;
    private boolean queued;
    private boolean released;

    private UsbSerialConnection(UsbManager manager, UsbDevice device, UsbDeviceConnection connection, Layout layout,
                                UsbEndpoint in, UsbEndpoint out) {
        this.manager = manager;
        this.device = device;
        this.connection = connection;
        this.layout = layout;
        this.in = in;
        this.out = out;
    }

    /** "1a86:7523": the vendor and product ids, as the device's messages name it. */
    static String ids(UsbDevice device) {
        return String.format(Locale.ROOT, "%04x:%04x", device.getVendorId(), device.getProductId());
    }

    /**
     * How to drive one port of a device, counted from 0: a known bridge chip has a port on each
     * interface with bulk endpoints both ways; any other device with a communications or data
     * interface is one CDC-ACM port. Null when there is no such port.
     */
    static Layout layout(UsbDevice device, int port, boolean oldPl2303) {
        int vendor = device.getVendorId(), product = device.getProductId();
        if (UsbSerialChips.bridge(vendor, product, 0, oldPl2303) != null) {
            for (int i = 0, found = 0; i < device.getInterfaceCount(); ++i) {
                UsbInterface candidate = device.getInterface(i);
                boolean data = endpoint(candidate, UsbConstants.USB_DIR_IN) != null && endpoint(candidate, 0) != null;
                if (data && found++ == port)
                    return new Layout(UsbSerialChips.bridge(vendor, product, candidate.getId(), oldPl2303), null, candidate);
            }
            return null;
        }
        UsbInterface comm = null, data = null;
        for (int i = 0; port == 0 && i < device.getInterfaceCount(); ++i) {
            UsbInterface candidate = device.getInterface(i);
            if (candidate.getInterfaceClass() == UsbConstants.USB_CLASS_COMM && comm == null)
                comm = candidate;
            else if (candidate.getInterfaceClass() == UsbConstants.USB_CLASS_CDC_DATA && data == null)
                data = candidate;
        }
        if (comm == null && data == null)
            return null;
        return new Layout(new CdcAcmChip(comm == null ? -1 : comm.getId()), comm, data == null ? comm : data);
    }

    /**
     * Claims the port's interfaces, sets the line and queues nothing yet. Takes the connection
     * over: on failure it is closed before the reason is thrown.
     */
    static UsbSerialConnection open(UsbManager manager, UsbDevice device, int port, UsbDeviceConnection connection,
                                    LineSettings line) throws IOException {
        UsbSerialConnection opened;
        try {
            Layout layout = layout(device, port, oldPl2303(connection));
            if (layout == null)
                throw new IOException("USB device " + ids(device) + " is no serial port");
            UsbEndpoint in = endpoint(layout.data, UsbConstants.USB_DIR_IN);
            UsbEndpoint out = endpoint(layout.data, 0);
            if (in == null || out == null)
                throw new IOException("USB device " + ids(device) + " has no bulk endpoints for data");
            if (layout.control != null && !connection.claimInterface(layout.control, true)
                || !connection.claimInterface(layout.data, true))
                throw new IOException("USB device " + ids(device) + " is in use: its interface cannot be claimed");
            opened = new UsbSerialConnection(manager, device, connection, layout, in, out);
        } catch (IOException | RuntimeException e) {
            connection.close();
            throw e;
        }
        try {
            opened.layout.chip.configure(opened, line);
            if (!opened.request.initialize(connection, opened.in))
                throw new IOException("it cannot be read");
            return opened;
        } catch (IOException | RuntimeException e) {
            opened.close();
            throw new IOException("USB device " + ids(device) + ": " + Parameters.reason(e), e);
        }
    }

    /**
     * Whether a PL2303 is of the oldest type, which its device descriptor tells: device class
     * 2, or a control endpoint of another size than 64.
     */
    private static boolean oldPl2303(UsbDeviceConnection connection) {
        byte[] descriptor = connection.getRawDescriptors();
        return descriptor != null && descriptor.length >= 8 && (descriptor[4] == 2 || (descriptor[7] & 0xFF) != 64);
    }

    private static UsbEndpoint endpoint(UsbInterface data, int direction) {
        for (int i = 0; i < data.getEndpointCount(); ++i) {
            UsbEndpoint endpoint = data.getEndpoint(i);
            if (endpoint.getType() == UsbConstants.USB_ENDPOINT_XFER_BULK && endpoint.getDirection() == direction)
                return endpoint;
        }
        return null;
    }

    @Override
    public int transfer(int requestType, int request, int value, int index, byte[] data, int length) {
        return connection.controlTransfer(requestType, request, value, index, data, length, CONTROL_TIMEOUT_MILLIS);
    }

    @Override
    public int blockSize() {
        return MAX_TRANSFER;
    }

    /** Waits for one block; -1 once closed, IOException when the device went away. */
    @Override
    public int read(byte[] buffer) throws IOException {
        if (!enter())
            return -1;
        try {
            ByteBuffer block = ByteBuffer.wrap(buffer);
            if (!request.queue(block, Math.min(buffer.length, MAX_TRANSFER)))
                throw gone();
            synchronized (this) {
                queued = true;
                if (closed)
                    request.cancel();
            }
            UsbRequest done = connection.requestWait();
            synchronized (this) {
                queued = false;
                if (closed)
                    return -1;
            }
            if (done == null)
                throw gone();
            return layout.chip.payload(buffer, block.position(), in.getMaxPacketSize());
        } finally {
            leave();
        }
    }

    @Override
    public void write(byte[] data) throws IOException {
        if (!enter())
            throw new IOException("port not open");
        try {
            for (int offset = 0; offset < data.length;) {
                int sent = connection.bulkTransfer(out, data, offset, Math.min(data.length - offset, MAX_TRANSFER),
                                                   WRITE_TIMEOUT_MILLIS);
                if (sent < 0)
                    throw manager.getDeviceList().containsKey(device.getDeviceName()) ? new IOException(
                        "USB device " + ids(device) + " did not take the data in time") : gone();
                offset += sent;
            }
        } finally {
            leave();
        }
    }

    @Override
    public void close() {
        synchronized (this) {
            if (closed)
                return;
            closed = true;
            if (queued)
                request.cancel();
            if (users > 0)
                return;
            released = true;
        }
        release();
    }

    /** The reason when the device stopped answering: unplugged, or still there but mute. */
    private IOException gone() {
        boolean attached;
        try {
            attached = manager.getDeviceList().containsKey(device.getDeviceName());
        } catch (RuntimeException e) {
            attached = false;
        }
        return new IOException("USB device " + ids(device) + (attached ? " stopped answering" : " was unplugged"));
    }

    private synchronized boolean enter() {
        if (closed)
            return false;
        ++users;
        return true;
    }

    private void leave() {
        synchronized (this) {
            --users;
            if (!closed || users > 0 || released)
                return;
            released = true;
        }
        release();
    }

    /** Lets the device go; runs once, on the thread that ends the last use. */
    private void release() {
        try {
            layout.chip.release(this);
            request.close();
            if (layout.control != null)
                connection.releaseInterface(layout.control);
            connection.releaseInterface(layout.data);
        } catch (RuntimeException ignored) {
            // An unplugged device refuses all of this; the connection still has to go.
        } finally {
            connection.close();
        }
    }
}
