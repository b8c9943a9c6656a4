// The Java side of the serial port device on a desktop: a tty with the port's line settings,
// read on a thread of its own.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.File;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;

/**
 * Opens the tty named by "portid" (a /dev path) with the {@link LineSettings} of the parameter
 * string applied to the line, and hands every block it reads to the native device.
 * Ports listed: the /dev/ttyACM*, /dev/ttyUSB* and /dev/rfcomm* that exist, then the paths
 * in the system property kelmor.serial.ports (comma-separated), so that a test or the
 * emulator can offer a pseudo-terminal.
 */
public class PSerialPort extends StreamDevice {
    /** Comma-separated port paths listed besides the ttys found in /dev. */
    public static final String PORTS_PROPERTY = "kelmor.serial.ports";

    private final long handle;

    public PSerialPort(Activity activity, long handle) {
        super("port not open", "the port's stream ended", false);
        this.handle = handle;
    }

    public boolean open(String parameters) {
        Parameters p = new Parameters(parameters);
        String port = p.text("portid");
        return stream.open("PSerialPort " + port, () -> {
            if (port.isEmpty())
                throw new IllegalArgumentException("no port given");
            return TtyStream.open(port, lineSettings(LineSettings.of(p))).connection();
        }, false);
    }

    @Override
    void deliver(byte[] block) {
        PSerialPortStoreData(handle, block);
    }

    /** The stty words for the line settings. */
    static List<String> lineSettings(LineSettings line) {
        List<String> words = new ArrayList<>();
        if (line.speed != 0)
            words.add(Integer.toString(line.speed));
        words.add("cs" + line.dataBits);
        // 1.5 stop bits is what a UART makes of cstopb with 5 data bits
        words.add(line.stopBits == LineSettings.STOP_ONE ? "-cstopb" : "cstopb");
        switch (line.parity) {
        case LineSettings.PARITY_NONE: words.add("-parenb"); break;
        case LineSettings.PARITY_ODD: words.addAll(List.of("parenb", "parodd")); break;
        case LineSettings.PARITY_EVEN: words.addAll(List.of("parenb", "-parodd")); break;
        case LineSettings.PARITY_MARK: words.addAll(List.of("parenb", "parodd", "cmspar")); break;
        default: words.addAll(List.of("parenb", "-parodd", "cmspar")); break;
        }
        return words;
    }

    /** The port paths in their order: ttys found in /dev, then the property's. */
    static List<String> ports() {
        Set<String> found = new LinkedHashSet<>();
        String[] names = new File("/dev").list();
        if (names != null) {
            Arrays.sort(names);
            for (String name : names) {
                if (name.startsWith("ttyACM") || name.startsWith("ttyUSB") || name.startsWith("rfcomm"))
                    found.add("/dev/" + name);
            }
        }
        String extra = System.getProperty(PORTS_PROPERTY, "");
        for (String port : extra.split(",")) {
            if (!port.trim().isEmpty())
                found.add(port.trim());
        }
        return new ArrayList<>(found);
    }

    /** Each port's id (its path) in Base64, each closed by ";". */
    public static String availibleDevices(Activity activity) {
        try {
            return DeviceLists.portIds(portInfos());
        } catch (RuntimeException e) {
            return "";
        }
    }

    /** A Devices element with one Device per port: its id, its name and its USB identity. */
    public static String availibleDevicesInfo(Activity activity) {
        try {
            return DeviceLists.devicesXml(portInfos());
        } catch (RuntimeException e) {
            return "<Devices></Devices>";
        }
    }

    private static List<DeviceLists.Port> portInfos() {
        List<DeviceLists.Port> infos = new ArrayList<>();
        for (String port : ports()) {
            Path file = Paths.get(port).getFileName();
            String name = file == null ? port : file.toString();
            Path usb = usbDevice(name);
            infos.add(new DeviceLists.Port(port, usbValue(usb, "idProduct"), usbValue(usb, "idVendor"),
                                           usbValue(usb, "manufacturer"), usbValue(usb, "product"),
                                           usbValue(usb, "serial"), name));
        }
        return infos;
    }

    /** The sysfs folder of the USB device behind a tty, or null. */
    private static Path usbDevice(String ttyName) {
        try {
            Path device = Paths.get("/sys/class/tty", ttyName, "device").toRealPath();
            for (int depth = 0; device != null && depth < 4; ++depth, device = device.getParent()) {
                if (Files.exists(device.resolve("idVendor")))
                    return device;
            }
        } catch (IOException | RuntimeException ignored) {
        }
        return null;
    }

    private static String usbValue(Path usb, String file) {
        if (usb == null)
            return null;
        try {
            return new String(Files.readAllBytes(usb.resolve(file)), StandardCharsets.UTF_8).trim();
        } catch (IOException | RuntimeException e) {
            return null;
        }
    }

    static native void PSerialPortStoreData(long handle, byte[] data);
}
