// Compile-only declaration of the platform class; the device provides the real one.
package android.hardware.usb;

import android.app.PendingIntent;
import java.util.HashMap;

public class UsbManager {
    public HashMap<String, UsbDevice> getDeviceList() { // API 12
        throw new RuntimeException("Stub!");
    }

    public UsbDeviceConnection openDevice(UsbDevice device) { // API 12
        throw new RuntimeException("Stub!");
    }

    public boolean hasPermission(UsbDevice device) { // API 12
        throw new RuntimeException("Stub!");
    }

    public void requestPermission(UsbDevice device, PendingIntent pi) { // API 12
        throw new RuntimeException("Stub!");
    }
}
