// Prolific PL2303 bridges: a vendor start-up, then the line as the standard class sets it.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;
import java.util.Arrays;

/** A PL2303 of any type; legacy marks the oldest ones, which know fewer rates. */
public final class Pl2303Chip extends CdcAcmChip {
    static final int VENDOR_REQUEST = 0x01;
    static final int LEGACY_HIGHEST_SPEED = 1_228_800;
    /** The rates the chip takes as they are, ascending; others would need its divisor form. */
    static final int[] STANDARD_RATES = {75, 150, 300, 600, 1200, 1800, 2400, 3600, 4800, 7200, 9600, 14400, 19200,
        28800, 38400, 57600, 115200, 230400, 460800, 614400, 921600, 1228800, 2457600, 3000000, 6000000};

    private final boolean legacy;

    public Pl2303Chip(boolean legacy) {
        super("PL2303", 0);
        this.legacy = legacy;
    }

    @Override
    public void configure(UsbControl control, LineSettings line) throws IOException {
        if (Arrays.binarySearch(STANDARD_RATES, line.speed) < 0)
            refuse(line, "the speed is not one of the chip's standard rates");
        if (legacy && line.speed > LEGACY_HIGHEST_SPEED)
            refuse(line, "this older type goes up to " + LEGACY_HIGHEST_SPEED);
        read(control, 0x8484);
        write(control, 0x0404, 0);
        read(control, 0x8484);
        read(control, 0x8383);
        read(control, 0x8484);
        write(control, 0x0404, 1);
        read(control, 0x8484);
        read(control, 0x8383);
        write(control, 0, 1);
        write(control, 1, 0);
        write(control, 2, legacy ? 0x24 : 0x44);
        super.configure(control, line);
    }

    private void read(UsbControl control, int value) throws IOException {
        receive(control, "the start-up", VENDOR_REQUEST, value, 0, 1);
    }

    private void write(UsbControl control, int value, int index) throws IOException {
        send(control, "the start-up", VENDOR_OUT, VENDOR_REQUEST, value, index, null);
    }
}
