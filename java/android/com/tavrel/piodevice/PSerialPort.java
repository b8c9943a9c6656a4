// The Java side of the serial port device on Android: a USB serial adapter or CDC-ACM device
// in USB host mode.
package com.tavrel.piodevice;

import android.app.Activity;
import android.app.PendingIntent;
import android.content.BroadcastReceiver;
import android.content.Context;
import android.content.Intent;
import android.content.IntentFilter;
import android.hardware.usb.UsbDevice;
import android.hardware.usb.UsbDeviceConnection;
import android.hardware.usb.UsbManager;
import android.os.Build;
import android.os.Handler;
import android.os.HandlerThread;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.TreeMap;

/**
 * "portid" names the device: the name the USB service lists it under (what availibleDevices
 * gives), or "vendor:product" in hex for the first such device attached; "#2" behind either
 * picks the second port of a chip with several. The line comes from "speed", "data_bits",
 * "stop_bits" and "parity"; no speed means 9600. A device whose use the user has not allowed
 * yet is asked for once per open, and open waits up to 5 s for the answer.
 * Members are safe from any thread and throw nothing.
 */
public class PSerialPort extends StreamDevice {
    /** The broadcast the answer of a permission request comes as; the device's name follows it. */
    static final String PERMISSION_ACTION = "com.tavrel.piodevice.USB_PERMISSION:";
    /** How long open waits for the user's answer; a test shortens it. */
    static volatile long permissionWaitMillis = 5000;
    private static final int RECEIVER_NOT_EXPORTED = 4; // Context's flag of API 33

    private final Context context; // the application's: an activity that goes is not held
    private final long handle;
    private volatile String unplugged; // why the last opening ended by itself; null while open

    public PSerialPort(Activity activity, long handle) {
        super("port not open", "the USB port's stream ended", true);
        this.context = applicationContext(activity);
        this.handle = handle;
    }

    public boolean open(String parameters) {
        try {
            unplugged = null;
            Parameters p = new Parameters(parameters);
            return stream.open("PSerialPort " + p.text("portid"), () -> connect(p), false);
        } catch (RuntimeException e) {
            stream.setLastError(Parameters.reason(e));
            return false;
        }
    }

    /** False when not all bytes went out; after an unplug the reason says so. */
    @Override
    public boolean write(byte[] data) {
        if (stream.write(data))
            return true;
        String reason = unplugged;
        if (reason != null)
            stream.setLastError(reason);
        return false;
    }

    @Override
    void deliver(byte[] block) {
        PSerialPortStoreData(handle, block);
    }

    /** The device went away (or stopped answering) while open: the next write tells why. */
    @Override
    void deliverError(String reason) {
        unplugged = reason;
    }

    private StreamCompanion.Connection connect(Parameters p) throws IOException, InterruptedException {
        String portId = p.text("portid").trim();
        if (portId.isEmpty())
            throw new IllegalArgumentException("no port given");
        LineSettings line = LineSettings.of(p);
        if (line.speed == 0)
            line = new LineSettings(9600, line.dataBits, line.stopBits, line.parity);
        if (context == null)
            throw new IllegalStateException("no activity");
        UsbManager manager = manager(context);
        int hash = portId.lastIndexOf('#');
        int port = hash < 0 ? 0 : portNumber(portId.substring(hash + 1)) - 1;
        UsbDevice device = find(manager, hash < 0 ? portId : portId.substring(0, hash));
        if (device == null)
            throw new IOException("USB device " + portId + " is not attached");
        if (UsbSerialConnection.layout(device, port, false) == null)
            throw new IOException("USB device " + UsbSerialConnection.ids(device)
                                  + (port == 0 ? " is no serial port" : " has no port " + (port + 1)));
        if (!manager.hasPermission(device) && !askPermission(context, manager, device))
            throw new IOException("no permission for USB device " + UsbSerialConnection.ids(device));
        UsbDeviceConnection connection = manager.openDevice(device);
        if (connection == null)
            throw new IOException("USB device " + UsbSerialConnection.ids(device) + " cannot be opened");
        return UsbSerialConnection.open(manager, device, port, connection, line);
    }

    private static int portNumber(String text) {
        try {
            return Integer.parseInt(text);
        } catch (NumberFormatException e) {
            throw new IllegalArgumentException("bad port number: " + text);
        }
    }

    /** The application's context behind the activity; null without an activity. */
    private static Context applicationContext(Activity activity) {
        try {
            Context application = activity == null ? null : activity.getApplicationContext();
            return application != null ? application : activity;
        } catch (RuntimeException e) {
            return activity;
        }
    }

    private static UsbManager manager(Context context) {
        Object service = context.getSystemService(Context.USB_SERVICE);
        if (!(service instanceof UsbManager))
            throw new IllegalStateException("this device has no USB host");
        return (UsbManager) service;
    }

    /** The attached devices by name, so that lists and "vendor:product" ids keep one order. */
    private static Map<String, UsbDevice> devices(UsbManager manager) {
        Map<String, UsbDevice> devices = manager.getDeviceList();
        return devices == null ? new TreeMap<>() : new TreeMap<>(devices);
    }

    private static UsbDevice find(UsbManager manager, String portId) {
        for (UsbDevice device : devices(manager).values()) {
            if (portId.equals(device.getDeviceName()) || portId.equalsIgnoreCase(UsbSerialConnection.ids(device)))
                return device;
        }
        return null;
    }

    /**
     * Asks the user and waits for the answer, at most permissionWaitMillis. The answer comes
     * on a thread of its own, so an open on the UI thread waits for nothing the UI thread must
     * do. The permission itself is asked of the USB service afterwards: on API 31 on the
     * request is immutable and the system cannot add the answer to it.
     */
    private static boolean askPermission(Context context, UsbManager manager, UsbDevice device)
            throws InterruptedException {
        String action = PERMISSION_ACTION + device.getDeviceName();
        Answer answer = new Answer(action);
        HandlerThread thread = new HandlerThread("PSerialPort permission");
        thread.start();
        try {
            Handler handler = new Handler(thread.getLooper());
            IntentFilter filter = new IntentFilter(action);
            if (Build.VERSION.SDK_INT >= 33)
                context.registerReceiver(answer, filter, null, handler, RECEIVER_NOT_EXPORTED);
            else
                context.registerReceiver(answer, filter, null, handler);
            try {
                Intent intent = new Intent(action);
                intent.setPackage(context.getPackageName());
                int flags = Build.VERSION.SDK_INT >= 31 ? PendingIntent.FLAG_IMMUTABLE : 0;
                manager.requestPermission(device, PendingIntent.getBroadcast(context, 0, intent, flags));
                answer.await(permissionWaitMillis);
            } finally {
                context.unregisterReceiver(answer);
            }
        } finally {
            thread.quitSafely();
        }
        return manager.hasPermission(device);
    }

    /** Wakes the waiting open when the answer of its permission request comes. */
    private static final class Answer extends BroadcastReceiver {
        private final String action;
        private boolean came; // guarded by this

        Answer(String action) {
            this.action = action;
        }

        @Override
        public void onReceive(Context context, Intent intent) {
            if (intent != null && action.equals(intent.getAction())) {
                synchronized (this) {
                    came = true;
                    notifyAll();
                }
            }
        }

        synchronized void await(long millis) throws InterruptedException {
            long deadline = System.nanoTime() + millis * 1_000_000L;
            for (long left = millis; !came && left > 0; left = (deadline - System.nanoTime()) / 1_000_000L)
                wait(left);
        }
    }

    /** Each attached serial device's name in Base64, each closed by ";". */
    public static String availibleDevices(Activity activity) {
        try {
            return DeviceLists.portIds(ports(activity));
        } catch (RuntimeException e) {
            return "";
        }
    }

    /** A Devices element with one Device per attached serial device. */
    public static String availibleDevicesInfo(Activity activity) {
        try {
            return DeviceLists.devicesXml(ports(activity));
        } catch (RuntimeException e) {
            return "<Devices></Devices>";
        }
    }

    /**
     * The serial ports attached, the first of a device under the device's name and the others
     * with "#2", "#3"...; ids in hex as the USB descriptors give them, and as the product's
     * name the device's own or, without one, the chip family's.
     */
    static List<DeviceLists.Port> ports(Activity activity) {
        List<DeviceLists.Port> ports = new ArrayList<>();
        Context context = applicationContext(activity);
        if (context == null)
            return ports;
        for (UsbDevice device : devices(manager(context)).values()) {
            UsbSerialConnection.Layout layout;
            for (int port = 0; (layout = UsbSerialConnection.layout(device, port, false)) != null; ++port) {
                String product = device.getProductName();
                ports.add(new DeviceLists.Port(device.getDeviceName() + (port == 0 ? "" : "#" + (port + 1)),
                                               hex(device.getProductId()), hex(device.getVendorId()),
                                               device.getManufacturerName(),
                                               product == null || product.isEmpty() ? layout.chip.family() + " serial port" : product,
                                               serialNumber(device), device.getDeviceName()));
            }
        }
        return ports;
    }

    private static String hex(int id) {
        return String.format(Locale.ROOT, "%04x", id);
    }

    /** The serial number, which API 29 on keeps from an app not yet allowed to use the device. */
    private static String serialNumber(UsbDevice device) {
        try {
            return device.getSerialNumber();
        } catch (SecurityException e) {
            return null;
        }
    }

    static native void PSerialPortStoreData(long handle, byte[] data);
}
