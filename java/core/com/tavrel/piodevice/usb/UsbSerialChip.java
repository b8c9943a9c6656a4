// What every USB serial chip driver does: set the line, let it go, and find the data in what
// bulk IN delivers.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;

/**
 * The line protocol of one chip family on one port. The platform layer claims the interfaces
 * and runs the bulk endpoints; a driver only speaks control requests through UsbControl.
 * Drivers hold no state that changes, so one may serve any thread.
 */
public abstract class UsbSerialChip {
    /** Requests to the device, to an interface, of the class and of the vendor, by direction. */
    static final int VENDOR_OUT = 0x40, VENDOR_IN = 0xC0, VENDOR_INTERFACE_OUT = 0x41, CLASS_INTERFACE_OUT = 0x21;

    private final String family;

    UsbSerialChip(String family) {
        this.family = family;
    }

    /** The chip family's name for messages, such as "CP210x". */
    public final String family() {
        return family;
    }

    /**
     * Sets speed, data bits, stop bits and parity and raises DTR and RTS. Throws with the
     * reason when the chip cannot make this line (nothing is sent then) or refuses a request.
     */
    public abstract void configure(UsbControl control, LineSettings line) throws IOException;

    /** Tells the chip the port is let go; a failure then is of no use to anyone. */
    public void release(UsbControl control) {}

    /**
     * Moves the data of a block read on bulk IN to the block's start and returns its length;
     * packetSize is the endpoint's packet size. Most chips send nothing but data.
     */
    public int payload(byte[] block, int length, int packetSize) {
        return length;
    }

    /** Refuses a line this chip cannot make. */
    final void refuse(LineSettings line, String reason) throws IOException {
        throw new IOException(family + " cannot set " + line + ": " + reason);
    }

    /** Sends one request, its data going the way the request type says; a refusal ends configure. */
    final void send(UsbControl control, String what, int requestType, int request, int value, int index,
                    byte[] data) throws IOException {
        int length = data == null ? 0 : data.length;
        if (control.transfer(requestType, request, value, index, data, length) < 0)
            throw new IOException(family + " refused " + what + " (control transfer failed)");
    }

    /** A request that reads from the device; returns what came. */
    final byte[] receive(UsbControl control, String what, int request, int value, int index, int length)
            throws IOException {
        byte[] answer = new byte[length];
        send(control, what, VENDOR_IN, request, value, index, answer);
        return answer;
    }

    /** Whether a rate the chip can make is close enough (2 %) to the one asked for. */
    static boolean closeEnough(double made, int asked) {
        return Math.abs(made - asked) <= asked * 0.02;
    }
}
