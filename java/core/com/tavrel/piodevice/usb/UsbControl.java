// The one USB operation the chip drivers need: a control transfer on endpoint 0.
package com.tavrel.piodevice.usb;

/** Control transfers to one opened device; the platform layer wraps its connection in this. */
public interface UsbControl {
    /**
     * Sends one request with its data stage (to the device or from it, as the request type's
     * bit 7 says). Returns the count of bytes moved, or a negative number when the device
     * refused the request or did not answer in time.
     */
    int transfer(int requestType, int request, int value, int index, byte[] data, int length);
}
