// FTDI bridges: vendor requests to the device, a divisor of 3 MBd in eighths for the speed,
// and two status bytes before the data of every packet read.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;

/** One port of an FTDI chip. */
public final class FtdiChip extends UsbSerialChip {
    static final int SIO_RESET = 0x00, SIO_SET_MODEM_CTRL = 0x01, SIO_SET_FLOW_CTRL = 0x02,
                     SIO_SET_BAUD_RATE = 0x03, SIO_SET_DATA = 0x04;
    static final int DTR_AND_RTS = 0x0303;
    static final int BASE_RATE = 3_000_000;
    static final int STATUS_BYTES = 2;
    /** The code of each eighth of the divisor's fraction, to go into bits 14 to 16. */
    private static final int[] EIGHTHS = {0, 3, 2, 4, 1, 5, 6, 7};

    private final int port;
    private final boolean multiPort;

    /** interfaceNumber names the port on chips with several; single-port chips have port 0. */
    public FtdiChip(boolean multiPort, int interfaceNumber) {
        super("FTDI");
        this.multiPort = multiPort;
        this.port = multiPort ? interfaceNumber + 1 : 0;
    }

    @Override
    public void configure(UsbControl control, LineSettings line) throws IOException {
        int divisor = divisor(line.speed);
        if (divisor < 0)
            refuse(line, "no divisor of " + BASE_RATE + " Bd comes within 2 % of the speed");
        if (line.dataBits != 7 && line.dataBits != 8)
            refuse(line, "the chip takes 7 or 8 data bits");
        int divisorIndex = multiPort ? (divisor >> 16) << 8 | port : divisor >> 16;
        int data = line.dataBits | line.parity << 8 | line.stopBits << 11;
        send(control, "the reset", VENDOR_OUT, SIO_RESET, 0, port, null);
        send(control, "the speed", VENDOR_OUT, SIO_SET_BAUD_RATE, divisor & 0xFFFF, divisorIndex, null);
        send(control, "data bits, parity and stop bits", VENDOR_OUT, SIO_SET_DATA, data, port, null);
        send(control, "turning flow control off", VENDOR_OUT, SIO_SET_FLOW_CTRL, 0, port, null);
        send(control, "DTR and RTS", VENDOR_OUT, SIO_SET_MODEM_CTRL, DTR_AND_RTS, port, null);
    }

    /**
     * The 17-bit divisor code for a speed: whole part in bits 0 to 13, the eighths coded in
     * bits 14 to 16; -1 when no divisor comes close enough. Whole parts below 2 do not exist
     * except the two the chip gives a meaning of their own: 0 is 3 MBd and 1 is 2 MBd.
     */
    static int divisor(int speed) {
        if (speed <= 0)
            return -1;
        long eighths = (8L * BASE_RATE + speed / 2) / speed;
        if (eighths == 8 || eighths == 12)
            return eighths == 8 ? 0 : 1;
        long whole = eighths >> 3;
        if (whole < 2 || whole > 0x3FFF || !closeEnough(8.0 * BASE_RATE / eighths, speed))
            return -1;
        return (int) whole | EIGHTHS[(int) (eighths & 7)] << 14;
    }

    /** Drops the status bytes at the start of each packet and closes the gaps they leave. */
    @Override
    public int payload(byte[] block, int length, int packetSize) {
        int kept = 0;
        for (int packet = 0; packet < length; packet += packetSize) {
            int end = Math.min(packet + packetSize, length);
            for (int i = packet + STATUS_BYTES; i < end; ++i)
                block[kept++] = block[i];
        }
        return kept;
    }
}
