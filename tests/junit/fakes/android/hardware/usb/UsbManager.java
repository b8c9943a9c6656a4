// Test fake of the USB service: attached devices, permissions, and the user's answer to a
// permission request, which comes as the request's broadcast.
package android.hardware.usb;

import android.app.PendingIntent;
import android.content.Context;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CopyOnWriteArrayList;

public class UsbManager {
    public final Map<String, UsbDevice> attached = new ConcurrentHashMap<>();
    public final Set<String> permitted = ConcurrentHashMap.newKeySet();
    /** What the user answers: true allows, false denies, null leaves the dialog open. */
    public volatile Boolean answer;
    public final CopyOnWriteArrayList<PendingIntent> requests = new CopyOnWriteArrayList<>();
    /** The receivers registered with the requesting context when the last request came. */
    public volatile List<Context.Registration> receiversWhenAsked;
    public final CopyOnWriteArrayList<UsbDeviceConnection> opened = new CopyOnWriteArrayList<>();
    /** Given to each connection opened: the number of the control transfer it refuses. */
    public volatile int refuseControlAt = -1;

    public void attach(UsbDevice device) {
        attached.put(device.getDeviceName(), device);
    }

    /** Pulls the device out: gone from the list, and its open connections fail. */
    public void unplug(UsbDevice device) {
        attached.remove(device.getDeviceName());
        for (UsbDeviceConnection connection : opened)
            connection.unplug();
    }

    public HashMap<String, UsbDevice> getDeviceList() {
        return new HashMap<>(attached);
    }

    public UsbDeviceConnection openDevice(UsbDevice device) {
        if (!permitted.contains(device.getDeviceName()))
            throw new SecurityException("no permission");
        UsbDeviceConnection connection = new UsbDeviceConnection();
        connection.refuseControlAt = refuseControlAt;
        opened.add(connection);
        return connection;
    }

    public boolean hasPermission(UsbDevice device) {
        return permitted.contains(device.getDeviceName());
    }

    public void requestPermission(UsbDevice device, PendingIntent pi) {
        requests.add(pi);
        receiversWhenAsked = new ArrayList<>(pi.context.registrations);
        Boolean given = answer;
        if (given == null)
            return;
        if (given)
            permitted.add(device.getDeviceName());
        pi.send();
    }
}
