// The control requests each USB serial chip driver sends for a line, against the values of
// each chip's protocol.
package com.tavrel.piodevice.usb;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;
import static org.junit.Assert.fail;

import com.tavrel.piodevice.LineSettings;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.Test;

public class UsbSerialChipTest {
    /** Writes each request as "type/request/value/index data" in hex; refuses the one numbered failAt. */
    static final class Recorder implements UsbControl {
        final List<String> sent = new ArrayList<>();
        int failAt = -1;

        @Override
        public int transfer(int requestType, int request, int value, int index, byte[] data, int length) {
            StringBuilder line = new StringBuilder(String.format("%02X/%02X/%04X/%04X", requestType, request, value, index));
            if ((requestType & 0x80) == 0) {
                for (int i = 0; i < length; ++i)
                    line.append(i == 0 ? " " : "").append(String.format("%02X", data[i]));
            }
            sent.add(line.toString());
            return sent.size() - 1 == failAt ? -1 : length;
        }
    }

    static final LineSettings LINE_9600_8N1 = new LineSettings(9600, 8, 0, 0);
    static final LineSettings LINE_115200_8E1 = new LineSettings(115200, 8, 0, 2);

    static List<String> configure(UsbSerialChip chip, LineSettings line) throws IOException {
        Recorder recorder = new Recorder();
        chip.configure(recorder, line);
        return recorder.sent;
    }

    @Test
    public void cdcAcmSetsLineCodingThenDtrAndRtsOnTheCommunicationsInterface() throws IOException {
        assertEquals(Arrays.asList("21/20/0000/0001 80250000000008", "21/22/0003/0001"),
                     configure(new CdcAcmChip(1), LINE_9600_8N1));
        assertEquals(Arrays.asList("21/20/0000/0001 00C20100000208", "21/22/0003/0001"),
                     configure(new CdcAcmChip(1), LINE_115200_8E1));
        assertEquals(Arrays.asList(), configure(new CdcAcmChip(-1), LINE_9600_8N1));
    }

    @Test
    public void cp210xEnablesTheInterfaceAndSetsRateLineAndModemLines() throws IOException {
        assertEquals(Arrays.asList("41/00/0001/0000", "41/1E/0000/0000 80250000", "41/03/0800/0000", "41/07/0303/0000"),
                     configure(new Cp210xChip(0), LINE_9600_8N1));
        assertEquals(Arrays.asList("41/00/0001/0001", "41/1E/0000/0001 00C20100", "41/03/0820/0001", "41/07/0303/0001"),
                     configure(new Cp210xChip(1), LINE_115200_8E1));
        Recorder recorder = new Recorder();
        new Cp210xChip(0).release(recorder);
        assertEquals(Arrays.asList("41/00/0000/0000"), recorder.sent);
    }

    @Test
    public void ftdiSendsResetDivisorDataFlowAndModemLines() throws IOException {
        assertEquals(Arrays.asList("40/00/0000/0000", "40/03/4138/0000", "40/04/0008/0000", "40/02/0000/0000",
                                   "40/01/0303/0000"),
                     configure(new FtdiChip(false, 0), LINE_9600_8N1));
        // The second port of a two-port chip is named 2 in every request.
        assertEquals(Arrays.asList("40/00/0000/0002", "40/03/001A/0002", "40/04/0208/0002", "40/02/0000/0002",
                                   "40/01/0303/0002"),
                     configure(new FtdiChip(true, 1), LINE_115200_8E1));
    }

    @Test
    public void ftdiDivisorCodesTheEighthsAndTheTwoFastestRates() {
        assertEquals(0x4138, FtdiChip.divisor(9600));
        assertEquals(0x001A, FtdiChip.divisor(115200));
        assertEquals(0, FtdiChip.divisor(3_000_000));
        assertEquals(1, FtdiChip.divisor(2_000_000));
        assertEquals(0xC000 | 13, FtdiChip.divisor(228_571)); // 13 1/8: bits 14 and 15 both set
        assertEquals(0x10000 | 26, FtdiChip.divisor(113_744)); // 26 3/8: the eighths need bit 16
        assertEquals(-1, FtdiChip.divisor(110)); // below what 14 bits of whole part reach
        assertEquals(-1, FtdiChip.divisor(2_500_000)); // between 2 and 3 MBd there is nothing
    }

    @Test
    public void ftdiStatusBytesAreDroppedFromEveryPacketOfABlock() {
        byte[] block = {0x01, 0x60, 'a', 'b', 0x01, 0x60, 'c'};
        int length = new FtdiChip(false, 0).payload(block, block.length, 4);
        assertEquals("abc", new String(block, 0, length));
        assertEquals(0, new FtdiChip(false, 0).payload(new byte[] {0x01, 0x60}, 2, 64));
    }

    @Test
    public void ch34xReadsVersionStartsAndWritesRateAndLineRegisterPairs() throws IOException {
        assertEquals(Arrays.asList("C0/5F/0000/0000", "40/A1/0000/0000", "40/9A/1312/B282", "40/9A/2518/00C3",
                                   "40/A4/FF9F/0000"),
                     configure(new Ch34xChip(), LINE_9600_8N1));
        assertEquals(Arrays.asList("C0/5F/0000/0000", "40/A1/0000/0000", "40/9A/1312/CC83", "40/9A/2518/00DB",
                                   "40/A4/FF9F/0000"),
                     configure(new Ch34xChip(), LINE_115200_8E1));
        assertEquals(0xC0 | 0x02 | 0x08 | 0x20 | 0x04, Ch34xChip.lineControl(new LineSettings(9600, 7, 2, 3)));
        assertEquals(0xC0 | 0x38, Ch34xChip.lineControl(new LineSettings(9600, 5, 0, 4)));
    }

    @Test
    public void ch34xRateStaysWithinTwoPercentAcrossTheCatalogue() {
        for (int speed : new int[] {110, 300, 1200, 9600, 14400, 56000, 128000, 256000, 921600, 2_000_000}) {
            int register = Ch34xChip.rateRegister(speed);
            assertTrue("no divisor for " + speed, register >= 0);
            int prescaler = register & 3, fact = register >> 2 & 1, divisor = 0x100 - (register >> 8);
            double made = 48e6 / ((1 << (12 - 3 * prescaler - fact)) * divisor);
            assertEquals("rate for " + speed, speed, made, speed * 0.02);
        }
        assertEquals(-1, Ch34xChip.rateRegister(40)); // slower than the slowest clock allows
    }

    @Test
    public void pl2303RunsItsStartUpThenTheStandardLineRequestsOnInterfaceZero() throws IOException {
        List<String> startUp = Arrays.asList("C0/01/8484/0000", "40/01/0404/0000", "C0/01/8484/0000", "C0/01/8383/0000",
                                             "C0/01/8484/0000", "40/01/0404/0001", "C0/01/8484/0000", "C0/01/8383/0000",
                                             "40/01/0000/0001", "40/01/0001/0000");
        List<String> expected = new ArrayList<>(startUp);
        expected.addAll(Arrays.asList("40/01/0002/0044", "21/20/0000/0000 80250000000008", "21/22/0003/0000"));
        assertEquals(expected, configure(new Pl2303Chip(false), LINE_9600_8N1));
        expected = new ArrayList<>(startUp);
        expected.addAll(Arrays.asList("40/01/0002/0024", "21/20/0000/0000 00C20100000208", "21/22/0003/0000"));
        assertEquals(expected, configure(new Pl2303Chip(true), LINE_115200_8E1));
    }

    @Test
    public void linesAChipCannotMakeAreRefusedWithTheReasonBeforeAnythingIsSent() {
        Object[][] cases = {
            {new Cp210xChip(0), new LineSettings(110, 8, 0, 0), "CP210x cannot set 110 8N1: the speed must lie between"},
            {new FtdiChip(false, 0), new LineSettings(9600, 5, 0, 0), "FTDI cannot set 9600 5N1: the chip takes 7 or 8"},
            {new FtdiChip(false, 0), new LineSettings(110, 8, 0, 0), "FTDI cannot set 110 8N1: no divisor"},
            {new Ch34xChip(), new LineSettings(9600, 5, 1, 0), "CH34x cannot set 9600 5N1.5: the chip has 1 or 2"},
            {new Pl2303Chip(false), new LineSettings(56000, 8, 0, 0), "PL2303 cannot set 56000 8N1: the speed is not"},
            {new Pl2303Chip(true), new LineSettings(3_000_000, 8, 0, 0), "PL2303 cannot set 3000000 8N1: this older"},
        };
        for (Object[] c : cases) {
            Recorder recorder = new Recorder();
            try {
                ((UsbSerialChip) c[0]).configure(recorder, (LineSettings) c[1]);
                fail("accepted " + c[1]);
            } catch (IOException e) {
                assertTrue(e.getMessage(), e.getMessage().startsWith((String) c[2]));
            }
            assertEquals(Arrays.asList(), recorder.sent);
        }
    }

    @Test
    public void aRefusedRequestEndsConfigurationAndNamesWhatWasRefused() {
        Recorder recorder = new Recorder();
        recorder.failAt = 2;
        try {
            new Ch34xChip().configure(recorder, LINE_9600_8N1);
            fail("configured in spite of the refusal");
        } catch (IOException e) {
            assertEquals("CH34x refused the speed (control transfer failed)", e.getMessage());
        }
        assertEquals(3, recorder.sent.size());
    }

    @Test
    public void bridgeChipsAreKnownByVendorAndProduct() {
        assertEquals("CP210x", UsbSerialChips.bridge(0x10C4, 0xEA60, 0, false).family());
        assertEquals("FTDI", UsbSerialChips.bridge(0x0403, 0x6015, 0, false).family());
        assertEquals("CH34x", UsbSerialChips.bridge(0x4348, 0x5523, 0, false).family());
        assertEquals("PL2303", UsbSerialChips.bridge(0x067B, 0x23C3, 0, false).family());
        assertEquals(null, UsbSerialChips.bridge(0x10C4, 0x8A2A, 0, false)); // another Silicon Labs product
    }
}
