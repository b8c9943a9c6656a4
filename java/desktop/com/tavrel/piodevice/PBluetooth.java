// The Java side of the Bluetooth device on a desktop. A desktop has no RFCOMM sockets: a
// device address stands for a stream endpoint, a tty (a bound /dev/rfcomm0, a pseudo-terminal)
// or a TCP endpoint, and the link to it is kept up while the device is open.
package com.tavrel.piodevice;

import android.app.Activity;
import android.bluetooth.BluetoothSocket;
import java.io.IOException;
import java.net.InetSocketAddress;
import java.net.Socket;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * Devices come from registerDevice and from the system property kelmor.bluetooth.devices:
 * entries "ADDRESS=ENDPOINT" or "ADDRESS=ENDPOINT=NAME" separated by ";", where ENDPOINT is a
 * tty path or "tcp:HOST:PORT" (a registration wins over the property for the same address).
 * open connects at once; when the peer's stream ends or fails while open, isOpen turns false
 * and the link is made again with the back-off of {@link StreamCompanion}, until close.
 */
public class PBluetooth extends StreamDevice {
    public static final String DEVICES_PROPERTY = "kelmor.bluetooth.devices";
    private static final int CONNECT_TIMEOUT_MILLIS = 2000;

    private static final Map<String, Peer> registered = new LinkedHashMap<>(); // guarded by itself

    private final long handle;

    /** A device that can be reached: its address, its name and where its stream is. */
    private static final class Peer {
        final DeviceLists.Peer listed;
        final String endpoint;

        Peer(String address, String name, String endpoint) {
            this.listed = new DeviceLists.Peer(address, name);
            this.endpoint = endpoint;
        }
    }

    public PBluetooth(Activity activity, long handle) {
        super("device not connected", "the peer's stream ended", false);
        this.handle = handle;
    }

    // ---- the device table ----------------------------------------------------------------

    /** Makes the address reachable at the endpoint (a tty path or "tcp:HOST:PORT"). */
    public static void registerDevice(String address, String name, String endpoint) {
        if (address == null || address.isEmpty() || endpoint == null || endpoint.isEmpty())
            throw new IllegalArgumentException("a device needs an address and an endpoint");
        synchronized (registered) {
            registered.put(address, new Peer(address, name, endpoint));
        }
    }

    public static void unregisterDevice(String address) {
        synchronized (registered) {
            registered.remove(address);
        }
    }

    private static Map<String, Peer> peers() {
        Map<String, Peer> peers = new LinkedHashMap<>();
        for (String entry : System.getProperty(DEVICES_PROPERTY, "").split(";")) {
            String[] parts = entry.trim().split("=", 3);
            if (parts.length >= 2 && !parts[0].isEmpty() && !parts[1].isEmpty())
                peers.put(parts[0], new Peer(parts[0], parts.length == 3 ? parts[2] : "", parts[1]));
        }
        synchronized (registered) {
            peers.putAll(registered);
        }
        return peers;
    }

    /** The devices in the list form of {@link DeviceLists#bluetooth}. */
    public static String availibleDevices() {
        try {
            List<DeviceLists.Peer> listed = new ArrayList<>();
            for (Peer peer : peers().values())
                listed.add(peer.listed);
            return DeviceLists.bluetooth(listed);
        } catch (RuntimeException e) {
            return "";
        }
    }

    // ---- the companion -------------------------------------------------------------------

    public boolean open(String parameters) {
        String address = new Parameters(parameters).text("address");
        return stream.open("PBluetooth " + address, () -> {
            Peer peer = peers().get(address);
            if (peer == null)
                throw new IllegalArgumentException("unknown device " + address);
            return connect(peer);
        }, true);
    }

    /** Reads and writes the streams of a socket that is connected already. */
    public void setConnected(BluetoothSocket socket, long flags) {
        try {
            stream.adopt("PBluetooth socket",
                         StreamCompanion.streams(socket.getInputStream(), socket.getOutputStream(), socket::close));
        } catch (IOException | RuntimeException e) {
            stream.close();
            stream.setLastError(Parameters.reason(e));
        }
    }

    @Override
    void deliver(byte[] block) {
        PBluetoothDataSend(handle, block);
    }

    private static StreamCompanion.Connection connect(Peer peer) throws IOException {
        String endpoint = peer.endpoint;
        if (!endpoint.startsWith("tcp:"))
            return TtyStream.open(endpoint, List.of()).connection();
        int colon = endpoint.lastIndexOf(':');
        if (colon <= 4)
            throw new IOException("bad endpoint " + endpoint);
        Socket socket = new Socket();
        try {
            socket.connect(new InetSocketAddress(endpoint.substring(4, colon),
                                                 Integer.parseInt(endpoint.substring(colon + 1))),
                           CONNECT_TIMEOUT_MILLIS);
            return PTcpSocket.connection(socket);
        } catch (IOException | RuntimeException e) {
            socket.close();
            throw e;
        }
    }

    static native void PBluetoothDataSend(long handle, byte[] data);
}
