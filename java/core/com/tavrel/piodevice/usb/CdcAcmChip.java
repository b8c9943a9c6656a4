// The standard USB serial class: line coding and control lines as the class defines them.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;

/** A communications-class port; its requests go to the communications interface. */
public class CdcAcmChip extends UsbSerialChip {
    static final int SET_LINE_CODING = 0x20, SET_CONTROL_LINE_STATE = 0x22, DTR_AND_RTS = 0x0003;

    private final int commInterface;

    /**
     * commInterface is the number of the communications interface, or negative for a device
     * with only a data interface: such a device has no line to set, and configure sends nothing.
     */
    public CdcAcmChip(int commInterface) {
        this("CDC-ACM", commInterface);
    }

    CdcAcmChip(String family, int commInterface) {
        super(family);
        this.commInterface = commInterface;
    }

    @Override
    public void configure(UsbControl control, LineSettings line) throws IOException {
        if (commInterface < 0)
            return;
        send(control, "the line coding", CLASS_INTERFACE_OUT, SET_LINE_CODING, 0, commInterface, lineCoding(line));
        send(control, "DTR and RTS", CLASS_INTERFACE_OUT, SET_CONTROL_LINE_STATE, DTR_AND_RTS, commInterface, null);
    }

    /** The seven bytes of a line coding: rate, stop bits, parity and data bits. */
    static byte[] lineCoding(LineSettings line) {
        int rate = line.speed;
        return new byte[] {(byte) rate, (byte) (rate >> 8), (byte) (rate >> 16), (byte) (rate >> 24),
                           (byte) line.stopBits, (byte) line.parity, (byte) line.dataBits};
    }
}
