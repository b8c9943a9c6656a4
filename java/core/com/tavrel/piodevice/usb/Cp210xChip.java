// Silicon Labs CP210x bridges: vendor requests to the port's interface.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;

/** One port of a CP210x; the chip takes the rate as a number and picks its divider itself. */
public final class Cp210xChip extends UsbSerialChip {
    static final int IFC_ENABLE = 0x00, SET_LINE_CTL = 0x03, SET_MHS = 0x07, SET_BAUDRATE = 0x1E;
    static final int DTR_AND_RTS = 0x0303; // values in the low byte, the lines they set in the high one
    static final int LOWEST_SPEED = 300, HIGHEST_SPEED = 2_000_000;

    private final int port;

    /** port is the number of the port's interface. */
    public Cp210xChip(int port) {
        super("CP210x");
        this.port = port;
    }

    @Override
    public void configure(UsbControl control, LineSettings line) throws IOException {
        if (line.speed < LOWEST_SPEED || line.speed > HIGHEST_SPEED)
            refuse(line, "the speed must lie between " + LOWEST_SPEED + " and " + HIGHEST_SPEED);
        int rate = line.speed;
        byte[] rateBytes = {(byte) rate, (byte) (rate >> 8), (byte) (rate >> 16), (byte) (rate >> 24)};
        send(control, "enabling the port", VENDOR_INTERFACE_OUT, IFC_ENABLE, 1, port, null);
        send(control, "the speed", VENDOR_INTERFACE_OUT, SET_BAUDRATE, 0, port, rateBytes);
        int lineControl = line.dataBits << 8 | line.parity << 4 | line.stopBits;
        send(control, "data bits, parity and stop bits", VENDOR_INTERFACE_OUT, SET_LINE_CTL, lineControl, port, null);
        send(control, "DTR and RTS", VENDOR_INTERFACE_OUT, SET_MHS, DTR_AND_RTS, port, null);
    }

    @Override
    public void release(UsbControl control) {
        control.transfer(VENDOR_INTERFACE_OUT, IFC_ENABLE, 0, port, null, 0);
    }
}
