// The line settings of a serial port, read from its parameter string.
package com.tavrel.piodevice;

/**
 * "speed" (0: leave the port's own), "data_bits" (5 to 8; 0 means 8), "stop_bits" (0 one,
 * 1 one and a half, 2 two) and "parity" (0 none, 1 odd, 2 even, 3 mark, 4 space), the numbers
 * of the settings catalogue. A value outside these gives IllegalArgumentException with the
 * reason, so that no port opens with a line other than the one asked for.
 */
public final class LineSettings {
    public static final int STOP_ONE = 0;
    public static final int STOP_ONE_AND_HALF = 1;
    public static final int STOP_TWO = 2;
    public static final int PARITY_NONE = 0;
    public static final int PARITY_ODD = 1;
    public static final int PARITY_EVEN = 2;
    public static final int PARITY_MARK = 3;
    public static final int PARITY_SPACE = 4;

    public final int speed;
    public final int dataBits;
    public final int stopBits;
    public final int parity;

    public LineSettings(int speed, int dataBits, int stopBits, int parity) {
        if (speed < 0)
            throw new IllegalArgumentException("unsupported speed: " + speed);
        if (dataBits < 5 || dataBits > 8)
            throw new IllegalArgumentException("unsupported data bits: " + dataBits);
        if (stopBits < STOP_ONE || stopBits > STOP_TWO)
            throw new IllegalArgumentException("unsupported stop bits: " + stopBits);
        if (parity < PARITY_NONE || parity > PARITY_SPACE)
            throw new IllegalArgumentException("unsupported parity: " + parity);
        this.speed = speed;
        this.dataBits = dataBits;
        this.stopBits = stopBits;
        this.parity = parity;
    }

    public static LineSettings of(Parameters p) {
        long speed = p.number("speed", 0);
        long dataBits = p.number("data_bits", 0);
        return new LineSettings((int) Math.max(-1, Math.min(Integer.MAX_VALUE, speed)),
                                dataBits == 0 ? 8 : (int) Math.max(-1, Math.min(99, dataBits)),
                                (int) Math.max(-1, Math.min(99, p.number("stop_bits", 0))),
                                (int) Math.max(-1, Math.min(99, p.number("parity", 0))));
    }

    @Override
    public String toString() {
        return speed + " " + dataBits + "NOEMS".charAt(parity) + (stopBits == STOP_ONE ? "1" : stopBits == STOP_TWO ? "2" : "1.5");
    }
}
