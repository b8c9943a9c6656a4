// Which driver a USB device needs, told by its vendor and product ids.
package com.tavrel.piodevice.usb;

/** The bridge chips known by id; a device that is none of them may still be a CDC-ACM port. */
public final class UsbSerialChips {
    static final int SILABS = 0x10C4, FTDI = 0x0403, WCH = 0x1A86, WCH_OLD = 0x4348, PROLIFIC = 0x067B;

    private UsbSerialChips() {}

    /**
     * The driver for one port of a bridge chip, or null when the ids are no bridge chip known
     * here. port is the number of the port's interface; oldPl2303 marks the oldest PL2303 type.
     */
    public static UsbSerialChip bridge(int vendorId, int productId, int port, boolean oldPl2303) {
        switch (vendorId) {
        case SILABS:
            return productId == 0xEA60 || productId == 0xEA70 || productId == 0xEA71 ? new Cp210xChip(port) : null;
        case FTDI:
            switch (productId) {
            case 0x6001: case 0x6014: case 0x6015: return new FtdiChip(false, port);
            case 0x6010: case 0x6011: return new FtdiChip(true, port);
            default: return null;
            }
        case WCH:
            return productId == 0x7523 || productId == 0x5523 || productId == 0x7522 ? new Ch34xChip() : null;
        case WCH_OLD:
            return productId == 0x5523 ? new Ch34xChip() : null;
        case PROLIFIC:
            return productId == 0x2303 || productId == 0x23A3 || productId == 0x23C3 || productId == 0x23D3
                ? new Pl2303Chip(oldPl2303) : null;
        default:
            return null;
        }
    }
}
