// Test fake of the USB constants, with the platform's values.
package android.hardware.usb;

public final class UsbConstants {
    public static final int USB_DIR_IN = 128;
    public static final int USB_ENDPOINT_XFER_BULK = 2;
    public static final int USB_CLASS_COMM = 2;
    public static final int USB_CLASS_CDC_DATA = 10;
}
