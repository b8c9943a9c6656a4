// Test fake of the USB service: attached devices, permissions and the user's answer to a request.
package android.hardware.usb;

import android.app.PendingIntent;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;

public class UsbManager {
    public final Map<String, UsbDevice> attached = new ConcurrentHashMap<>();
    public final Set<String> permitted = ConcurrentHashMap.newKeySet();
    public volatile Boolean answer; // true allows, false denies, null leaves the dialog open
    public volatile PendingIntent asked;
    public final List<UsbDeviceConnection> opened = new CopyOnWriteArrayList<>();
    public volatile int refuseControlAt = -1; // given to each connection opened

    public void attach(UsbDevice... devices) {
        for (UsbDevice device : devices)
            attached.put(device.getDeviceName(), device);
    }

    public void unplug(UsbDevice device) {
        attached.remove(device.getDeviceName());
        opened.forEach(UsbDeviceConnection::unplug);
    }

    public HashMap<String, UsbDevice> getDeviceList() { return new HashMap<>(attached); }

    public boolean hasPermission(UsbDevice device) { return permitted.contains(device.getDeviceName()); }

    public UsbDeviceConnection openDevice(UsbDevice device) {
        if (!hasPermission(device))
            throw new SecurityException("no permission");
        UsbDeviceConnection connection = new UsbDeviceConnection(refuseControlAt);
        opened.add(connection);
        return connection;
    }

    public void requestPermission(UsbDevice device, PendingIntent pi) {
        asked = pi;
        Boolean given = answer;
        if (Boolean.TRUE.equals(given))
            permitted.add(device.getDeviceName());
        if (given != null)
            pi.context.sendBroadcast(pi.intent);
    }
}
