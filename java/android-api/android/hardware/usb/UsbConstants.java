// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

public final class UsbConstants {
    public static final int USB_DIR_IN = 128; // API 12
    public static final int USB_ENDPOINT_XFER_BULK = 2; // API 12
    public static final int USB_CLASS_COMM = 2; // API 12
    public static final int USB_CLASS_CDC_DATA = 10; // API 12
}
