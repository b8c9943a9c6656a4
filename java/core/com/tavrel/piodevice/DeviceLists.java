// The answers of the static device lists: the ports of a serial companion and the devices of
// a Bluetooth one, in the forms the native side reads.
package com.tavrel.piodevice;

import java.util.List;

public final class DeviceLists {
    private DeviceLists() {}

    /** One port of a serial companion; any field but the id may be null (left out). */
    public static final class Port {
        public final String id;
        public final String productId;
        public final String vendorId;
        public final String manufacturerName;
        public final String productName;
        public final String serialNumber;
        public final String deviceName;

        public Port(String id, String productId, String vendorId, String manufacturerName,
                    String productName, String serialNumber, String deviceName) {
            this.id = id;
            this.productId = productId;
            this.vendorId = vendorId;
            this.manufacturerName = manufacturerName;
            this.productName = productName;
            this.serialNumber = serialNumber;
            this.deviceName = deviceName;
        }
    }

    /** One Bluetooth device: its address and the name shown for it (may be null or empty). */
    public static final class Peer {
        public final String address;
        public final String name;

        public Peer(String address, String name) {
            this.address = address;
            this.name = name == null ? "" : name;
        }

        /** "NAME [ADDRESS]", or "[ADDRESS]" without a name. */
        public String info() {
            return name.isEmpty() ? "[" + address + "]" : name + " [" + address + "]";
        }
    }

    /** Each port's id in Base64, each closed by ";". */
    public static String portIds(List<Port> ports) {
        StringBuilder answer = new StringBuilder();
        for (Port port : ports)
            answer.append(Base64Text.encode(port.id)).append(';');
        return answer.toString();
    }

    /** A Devices element with one Device per port, its attributes those that are not null. */
    public static String devicesXml(List<Port> ports) {
        StringBuilder xml = new StringBuilder("<Devices>");
        for (Port port : ports) {
            xml.append("<Device");
            attribute(xml, "id", port.id);
            attribute(xml, "productId", port.productId);
            attribute(xml, "vendorId", port.vendorId);
            attribute(xml, "manufacturerName", port.manufacturerName);
            attribute(xml, "productName", port.productName);
            attribute(xml, "serialNumber", port.serialNumber);
            attribute(xml, "deviceName", port.deviceName);
            xml.append("/>");
        }
        return xml.append("</Devices>").toString();
    }

    /** "address:BASE64#info:BASE64;" for each device. */
    public static String bluetooth(List<Peer> peers) {
        StringBuilder answer = new StringBuilder();
        for (Peer peer : peers)
            answer.append("address:").append(Base64Text.encode(peer.address)).append("#info:").append(Base64Text.encode(peer.info())).append(';');
        return answer.toString();
    }

    /** The text with the five XML specials and control characters escaped, for an attribute. */
    public static String escape(String text) {
        StringBuilder out = new StringBuilder(text.length());
        for (char c : text.toCharArray()) {
            switch (c) {
            case '&': out.append("&amp;"); break;
            case '<': out.append("&lt;"); break;
            case '>': out.append("&gt;"); break;
            case '"': out.append("&quot;"); break;
            case '\'': out.append("&apos;"); break;
            default:
                if (c < 0x20)
                    out.append("&#").append((int) c).append(';');
                else
                    out.append(c);
            }
        }
        return out.toString();
    }

    private static void attribute(StringBuilder xml, String name, String value) {
        if (value != null)
            xml.append(' ').append(name).append("=\"").append(escape(value)).append('"');
    }
}
