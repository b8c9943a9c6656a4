// WCH CH34x bridges: registers written in pairs, a prescaled 48 MHz clock for the speed.
package com.tavrel.piodevice.usb;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;

/** A CH340/CH341; the chip has one port and takes its requests to the device. */
public final class Ch34xChip extends UsbSerialChip {
    static final int READ_VERSION = 0x5F, WRITE_REG = 0x9A, SERIAL_INIT = 0xA1, MODEM_CTRL = 0xA4;
    static final int RATE_REGISTERS = 0x1312, LINE_REGISTERS = 0x2518; // prescaler/divisor, LCR/LCR2
    static final int DTR_AND_RTS = ~(0x20 | 0x40) & 0xFFFF; // the lines are active low
    static final int CLOCK = 48_000_000;

    static final int LCR_ENABLE_RX = 0x80, LCR_ENABLE_TX = 0x40, LCR_PARITY = 0x08, LCR_EVEN = 0x10,
                     LCR_MARK_SPACE = 0x20, LCR_TWO_STOP = 0x04;

    public Ch34xChip() {
        super("CH34x");
    }

    @Override
    public void configure(UsbControl control, LineSettings line) throws IOException {
        int rate = rateRegister(line.speed);
        if (rate < 0)
            refuse(line, "no divider of the 48 MHz clock comes within 2 % of the speed");
        if (line.stopBits == LineSettings.STOP_ONE_AND_HALF)
            refuse(line, "the chip has 1 or 2 stop bits");
        receive(control, "reading its version", READ_VERSION, 0, 0, 2);
        send(control, "the start", VENDOR_OUT, SERIAL_INIT, 0, 0, null);
        send(control, "the speed", VENDOR_OUT, WRITE_REG, RATE_REGISTERS, rate, null);
        send(control, "data bits, parity and stop bits", VENDOR_OUT, WRITE_REG, LINE_REGISTERS, lineControl(line), null);
        send(control, "DTR and RTS", VENDOR_OUT, MODEM_CTRL, DTR_AND_RTS, 0, null);
    }

    /** The line control register; the second register of the pair stays 0. */
    static int lineControl(LineSettings line) {
        int lcr = LCR_ENABLE_RX | LCR_ENABLE_TX | (line.dataBits - 5);
        switch (line.parity) {
        case LineSettings.PARITY_ODD: lcr |= LCR_PARITY; break;
        case LineSettings.PARITY_EVEN: lcr |= LCR_PARITY | LCR_EVEN; break;
        case LineSettings.PARITY_MARK: lcr |= LCR_PARITY | LCR_MARK_SPACE; break;
        case LineSettings.PARITY_SPACE: lcr |= LCR_PARITY | LCR_EVEN | LCR_MARK_SPACE; break;
        default: break;
        }
        if (line.stopBits == LineSettings.STOP_TWO)
            lcr |= LCR_TWO_STOP;
        return lcr;
    }

    /**
     * The value of the prescaler/divisor pair for a speed, or -1 when none is close enough.
     * Of the settings that make the nearest rate, the one with the slower clock and the larger
     * divisor wins: scanning goes from the fastest prescaler down and the halving factor
     * is tried after the plain clock, replacing only on a strictly better rate.
     */
    static int rateRegister(int speed) {
        if (speed <= 0)
            return -1;
        int best = -1;
        double bestError = Double.MAX_VALUE;
        for (int prescaler = 3; prescaler >= 0; --prescaler) {
            for (int fact = 0; fact <= 1; ++fact) {
                long clockDivider = 1L << (12 - 3 * prescaler - fact);
                long divisor = Math.round((double) CLOCK / (clockDivider * speed));
                if (divisor < 2 || divisor > 256)
                    continue;
                double error = Math.abs((double) CLOCK / (clockDivider * divisor) - speed);
                if (error < bestError) {
                    bestError = error;
                    best = (int) (0x100 - divisor) << 8 | fact << 2 | prescaler | 0x80;
                }
            }
        }
        return best >= 0 && bestError <= speed * 0.02 ? best : -1;
    }
}
