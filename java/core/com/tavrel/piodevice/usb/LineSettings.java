// The line a serial port is asked for: speed, data bits, stop bits and parity.
package com.tavrel.piodevice.usb;

import java.util.Locale;

/**
 * One checked set of line settings. Stop bits and parity carry the numbers the native side
 * sends (stop bits 0 = 1, 1 = 1.5, 2 = 2; parity 0 none, 1 odd, 2 even, 3 mark, 4 space),
 * which are also the codes of the USB serial requests. A value no UART knows is refused here;
 * what a particular chip cannot do, its driver refuses.
 */
public final class LineSettings {
    public static final int ONE_STOP = 0, ONE_AND_HALF_STOP = 1, TWO_STOP = 2;
    public static final int NO_PARITY = 0, ODD = 1, EVEN = 2, MARK = 3, SPACE = 4;

    /** The speed when none is given: the default of the settings. */
    public static final int DEFAULT_SPEED = 9600;

    public final int speed;
    public final int dataBits;
    public final int stopBits;
    public final int parity;

    /**
     * Speed 0 means the default speed and data bits 0 mean 8, as an unset setting does.
     * Throws IllegalArgumentException with the reason for anything else out of range.
     */
    public LineSettings(long speed, long dataBits, long stopBits, long parity) {
        if (speed == 0)
            speed = DEFAULT_SPEED;
        if (dataBits == 0)
            dataBits = 8;
        if (speed < 0 || speed > Integer.MAX_VALUE)
            throw new IllegalArgumentException("unsupported speed: " + speed);
        if (dataBits < 5 || dataBits > 8)
            throw new IllegalArgumentException("unsupported data bits: " + dataBits + " (5 to 8 are possible)");
        if (stopBits < ONE_STOP || stopBits > TWO_STOP)
            throw new IllegalArgumentException("unsupported stop bits: " + stopBits);
        if (parity < NO_PARITY || parity > SPACE)
            throw new IllegalArgumentException("unsupported parity: " + parity);
        this.speed = (int) speed;
        this.dataBits = (int) dataBits;
        this.stopBits = (int) stopBits;
        this.parity = (int) parity;
    }

    /** The line as people write it, such as "9600 8N1" or "300 7E1.5". */
    @Override
    public String toString() {
        String stop = stopBits == ONE_STOP ? "1" : stopBits == ONE_AND_HALF_STOP ? "1.5" : "2";
        return String.format(Locale.ROOT, "%d %d%c%s", speed, dataBits, "NOEMS".charAt(parity), stop);
    }
}
