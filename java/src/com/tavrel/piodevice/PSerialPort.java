// The Java side of the serial port device: a tty with the port's line settings, read on a
// thread of its own.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.File;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Base64;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;

/**
 * Opens the tty named by "portid" (a /dev path) with "speed", "data_bits", "stop_bits" and
 * "parity" applied to the line, and hands every block it reads to the native device.
 * Ports listed: the /dev/ttyACM*, /dev/ttyUSB* and /dev/rfcomm* that exist, then the paths
 * in the system property kelmor.serial.ports (comma-separated), so that a test or the
 * emulator can offer a pseudo-terminal.
 */
public class PSerialPort {
    /** Comma-separated port paths listed besides the ttys found in /dev. */
    public static final String PORTS_PROPERTY = "kelmor.serial.ports";

    private final long handle;
    private final Object lock = new Object(); // guards link; held for no I/O and no native call
    private Link link;
    private volatile String lastError = "";

    /** One opening of the port: the reader of a link that was closed delivers nothing more. */
    private static final class Link {
        final TtyStream tty;
        volatile boolean closed;

        Link(TtyStream tty) {
            this.tty = tty;
        }
    }

    public PSerialPort(Activity activity, long handle) {
        this.handle = handle;
    }

    public boolean open(String parameters) {
        close();
        try {
            Parameters p = new Parameters(parameters);
            String port = p.text("portid");
            if (port.isEmpty())
                throw new IllegalArgumentException("no port given");
            Link opened = new Link(TtyStream.open(port, lineSettings(p)));
            synchronized (lock) {
                link = opened;
            }
            lastError = "";
            CompanionThreads.start("PSerialPort " + port, () -> read(opened));
            return true;
        } catch (Exception e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    public void close() {
        Link closing;
        synchronized (lock) {
            closing = link;
            link = null;
        }
        if (closing != null) {
            closing.closed = true;
            closing.tty.close();
        }
    }

    public boolean write(byte[] data) {
        Link current;
        synchronized (lock) {
            current = link;
        }
        if (current == null || data == null) {
            lastError = "port not open";
            return false;
        }
        try {
            current.tty.write(data);
            return true;
        } catch (IOException e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    public String getLastErrorMessage() {
        return lastError;
    }

    private void read(Link link) {
        ByteBuffer buffer = ByteBuffer.allocate(4096);
        try {
            while (!link.closed) {
                buffer.clear();
                int count = link.tty.read(buffer);
                if (count < 0) {
                    lastError = "the port's stream ended";
                    return;
                }
                byte[] block = Arrays.copyOf(buffer.array(), count);
                if (count > 0 && !link.closed)
                    PSerialPortStoreData(handle, block);
            }
        } catch (IOException e) {
            if (!link.closed)
                lastError = Parameters.reason(e);
        }
    }

    /** The stty words for the parameters; numbers of the settings catalogue. */
    static List<String> lineSettings(Parameters p) {
        List<String> words = new ArrayList<>();
        long speed = p.number("speed", 0);
        if (speed != 0)
            words.add(Long.toString(speed));
        long dataBits = p.number("data_bits", 0);
        if (dataBits == 0)
            dataBits = 8;
        if (dataBits < 5 || dataBits > 8)
            throw new IllegalArgumentException("unsupported data bits: " + dataBits);
        words.add("cs" + dataBits);
        long stopBits = p.number("stop_bits", 0);
        if (stopBits == 0)
            words.add("-cstopb");
        else if (stopBits == 1 || stopBits == 2) // 1.5 stop bits is what a UART makes of cstopb with 5 data bits
            words.add("cstopb");
        else
            throw new IllegalArgumentException("unsupported stop bits: " + stopBits);
        long parity = p.number("parity", 0);
        switch ((int) parity) {
        case 0: words.addAll(List.of("-parenb")); break;
        case 1: words.addAll(List.of("parenb", "parodd")); break;
        case 2: words.addAll(List.of("parenb", "-parodd")); break;
        case 3: words.addAll(List.of("parenb", "parodd", "cmspar")); break;
        case 4: words.addAll(List.of("parenb", "-parodd", "cmspar")); break;
        default: throw new IllegalArgumentException("unsupported parity: " + parity);
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
        StringBuilder answer = new StringBuilder();
        Base64.Encoder encoder = Base64.getEncoder();
        for (String port : ports())
            answer.append(encoder.encodeToString(port.getBytes(StandardCharsets.UTF_8))).append(';');
        return answer.toString();
    }

    /** A Devices element with one Device per port: its id, its name and its USB identity. */
    public static String availibleDevicesInfo(Activity activity) {
        StringBuilder xml = new StringBuilder("<Devices>");
        for (String port : ports()) {
            String name = Paths.get(port).getFileName() == null ? port : Paths.get(port).getFileName().toString();
            Path usb = usbDevice(name);
            xml.append("<Device");
            attribute(xml, "id", port);
            attribute(xml, "productId", usbValue(usb, "idProduct"));
            attribute(xml, "vendorId", usbValue(usb, "idVendor"));
            attribute(xml, "manufacturerName", usbValue(usb, "manufacturer"));
            attribute(xml, "productName", usbValue(usb, "product"));
            attribute(xml, "serialNumber", usbValue(usb, "serial"));
            attribute(xml, "deviceName", name);
            xml.append("/>");
        }
        return xml.append("</Devices>").toString();
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

    private static void attribute(StringBuilder xml, String name, String value) {
        if (value == null)
            return;
        xml.append(' ').append(name).append("=\"");
        for (char c : value.toCharArray()) {
            switch (c) {
            case '&': xml.append("&amp;"); break;
            case '<': xml.append("&lt;"); break;
            case '>': xml.append("&gt;"); break;
            case '"': xml.append("&quot;"); break;
            default:
                if (c < 0x20)
                    xml.append("&#").append((int) c).append(';');
                else
                    xml.append(c);
            }
        }
        xml.append('"');
    }

    static native void PSerialPortStoreData(long handle, byte[] data);
}
