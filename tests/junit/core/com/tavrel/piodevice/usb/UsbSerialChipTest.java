// The control requests each USB serial chip driver sends for a line, against the values of each
// chip's protocol, and the lines and answers it refuses.
package com.tavrel.piodevice.usb;

import static org.junit.Assert.*;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;
import org.junit.Test;

public class UsbSerialChipTest {
    static final LineSettings LINE_9600_8N1 = new LineSettings(9600, 8, 0, 0);
    static final LineSettings LINE_115200_8E1 = new LineSettings(115200, 8, 0, 2);
    static final String PL2303_START = "C0/01/8484/0000 40/01/0404/0000 C0/01/8484/0000 C0/01/8383/0000 C0/01/8484/0000"
                                       + " 40/01/0404/0001 C0/01/8484/0000 C0/01/8383/0000 40/01/0000/0001 40/01/0001/0000";

    /** The requests sent, each "type/request/value/index:data" in hex, then the reason of a failure. */
    static String configure(UsbSerialChip chip, LineSettings line, int refusedRequest) {
        List<String> sent = new ArrayList<>();
        try {
            chip.configure((type, request, value, index, data, length) -> {
                StringBuilder s = new StringBuilder(String.format("%02X/%02X/%04X/%04X", type, request, value, index));
                for (int i = 0; (type & 0x80) == 0 && i < length; ++i)
                    s.append(i == 0 ? ":" : "").append(String.format("%02X", data[i]));
                sent.add(s.toString());
                return sent.size() - 1 == refusedRequest ? -1 : length;
            }, line);
        } catch (IOException e) {
            sent.add(e.getMessage());
        }
        return String.join(" ", sent);
    }

    @Test
    public void eachFamilySetsTheLineWithItsOwnRequestsRefusesALineItCannotMakeAndFtdiDropsItsStatusBytes() {
        Object[][] cases = {
            {new CdcAcmChip(1), LINE_9600_8N1, "21/20/0000/0001:80250000000008 21/22/0003/0001"},
            {new CdcAcmChip(1), LINE_115200_8E1, "21/20/0000/0001:00C20100000208 21/22/0003/0001"},
            {UsbSerialChips.bridge(0x10C4, 0xEA60, 0, false), LINE_9600_8N1,
             "41/00/0001/0000 41/1E/0000/0000:80250000 41/03/0800/0000 41/07/0303/0000"},
            {UsbSerialChips.bridge(0x10C4, 0xEA70, 1, false), LINE_115200_8E1,
             "41/00/0001/0001 41/1E/0000/0001:00C20100 41/03/0820/0001 41/07/0303/0001"},
            {UsbSerialChips.bridge(0x0403, 0x6001, 0, false), LINE_9600_8N1,
             "40/00/0000/0000 40/03/4138/0000 40/04/0008/0000 40/02/0000/0000 40/01/0303/0000"},
            // The second port of a two-port chip is named 2 in every request.
            {UsbSerialChips.bridge(0x0403, 0x6010, 1, false), LINE_115200_8E1,
             "40/00/0000/0002 40/03/001A/0002 40/04/0208/0002 40/02/0000/0002 40/01/0303/0002"},
            {UsbSerialChips.bridge(0x1A86, 0x7523, 0, false), LINE_9600_8N1,
             "C0/5F/0000/0000 40/A1/0000/0000 40/9A/1312/B282 40/9A/2518/00C3 40/A4/FF9F/0000"},
            {UsbSerialChips.bridge(0x4348, 0x5523, 0, false), LINE_115200_8E1,
             "C0/5F/0000/0000 40/A1/0000/0000 40/9A/1312/CC83 40/9A/2518/00DB 40/A4/FF9F/0000"},
            {UsbSerialChips.bridge(0x067B, 0x23C3, 0, false), LINE_9600_8N1,
             PL2303_START + " 40/01/0002/0044 21/20/0000/0000:80250000000008 21/22/0003/0000"},
            {UsbSerialChips.bridge(0x067B, 0x2303, 0, true), LINE_115200_8E1,
             PL2303_START + " 40/01/0002/0024 21/20/0000/0000:00C20100000208 21/22/0003/0000"},
            {new CdcAcmChip(-1), LINE_9600_8N1, ""}, // no communications interface to set a line on
            {new Cp210xChip(0), new LineSettings(110, 8, 0, 0), "CP210x cannot set 110 8N1: the speed must lie between 300 and 2000000"},
            {new FtdiChip(false, 0), new LineSettings(9600, 5, 0, 0), "FTDI cannot set 9600 5N1: the chip takes 7 or 8 data bits"},
            {new FtdiChip(false, 0), new LineSettings(110, 8, 0, 0),
             "FTDI cannot set 110 8N1: no divisor of 3000000 Bd comes within 2 % of the speed"},
            {new Ch34xChip(), new LineSettings(9600, 5, 1, 0), "CH34x cannot set 9600 5N1.5: the chip has 1 or 2 stop bits"},
            {new Pl2303Chip(false), new LineSettings(56000, 8, 0, 0),
             "PL2303 cannot set 56000 8N1: the speed is not one of the chip's standard rates"},
            {new Pl2303Chip(true), new LineSettings(3_000_000, 8, 0, 0), "PL2303 cannot set 3000000 8N1: this older type goes up to 1228800"},
        };
        for (Object[] c : cases)
            assertEquals(c[2], configure((UsbSerialChip) c[0], (LineSettings) c[1], -1));
        assertEquals(null, UsbSerialChips.bridge(0x10C4, 0x8A2A, 0, false)); // another Silicon Labs product
        // A request the device refuses ends the configuration with what was refused.
        assertEquals("C0/5F/0000/0000 40/A1/0000/0000 40/9A/1312/B282 CH34x refused the speed (control transfer failed)",
                     configure(new Ch34xChip(), LINE_9600_8N1, 2));
        // FTDI status bytes are dropped from every packet of a block.
        byte[] block = {0x01, 0x60, 'a', 'b', 0x01, 0x60, 'c'};
        assertEquals("abc", new String(block, 0, new FtdiChip(false, 0).payload(block, block.length, 4)));
        assertEquals(0, new FtdiChip(false, 0).payload(new byte[] {0x01, 0x60}, 2, 64));
    }

    @Test
    public void ratesAndLineRegistersAreCodedForEveryRateAndSetting() {
        assertEquals(0, FtdiChip.divisor(3_000_000));
        assertEquals(1, FtdiChip.divisor(2_000_000));
        assertEquals(0xC000 | 13, FtdiChip.divisor(228_571)); // 13 1/8: bits 14 and 15 both set
        assertEquals(0x10000 | 26, FtdiChip.divisor(113_744)); // 26 3/8: the eighths need bit 16
        assertEquals(-1, FtdiChip.divisor(2_500_000)); // between 2 and 3 MBd there is nothing
        // CH34x: within 2 % across the catalogue.
        for (int speed : new int[] {110, 300, 1200, 14400, 56000, 128000, 256000, 921600, 2_000_000}) {
            int register = Ch34xChip.rateRegister(speed);
            int prescaler = register & 3, fact = register >> 2 & 1, divisor = 0x100 - (register >> 8);
            assertEquals("rate for " + speed, speed, 48e6 / ((1 << (12 - 3 * prescaler - fact)) * divisor), speed * 0.02);
        }
        assertEquals(-1, Ch34xChip.rateRegister(40)); // slower than the slowest clock allows
        assertEquals(0xC0 | 0x02 | 0x08 | 0x20 | 0x04, Ch34xChip.lineControl(new LineSettings(9600, 7, 2, 3)));
        assertEquals(0xC0 | 0x38, Ch34xChip.lineControl(new LineSettings(9600, 5, 0, 4)));
    }
}
