// The Java side of the Bluetooth device. A desktop has no RFCOMM sockets: a device address
// stands for a stream endpoint, a tty (a bound /dev/rfcomm0, a pseudo-terminal) or a TCP
// endpoint, and the link to it is kept up while the device is open.
package com.tavrel.piodevice;

import android.app.Activity;
import android.bluetooth.BluetoothSocket;
import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetSocketAddress;
import java.net.Socket;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Base64;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * Devices come from registerDevice and from the system property kelmor.bluetooth.devices:
 * entries "ADDRESS=ENDPOINT" or "ADDRESS=ENDPOINT=NAME" separated by ";", where ENDPOINT is a
 * tty path or "tcp:HOST:PORT" (a registration wins over the property for the same address).
 * open connects at once; when the peer's stream ends or fails while open, isOpen turns false
 * and the link is made again after 50 ms, doubling up to 1 s between tries, until close.
 */
public class PBluetooth {
    public static final String DEVICES_PROPERTY = "kelmor.bluetooth.devices";
    static final long FIRST_RETRY_MILLIS = 50;
    static final long LAST_RETRY_MILLIS = 1000;
    private static final int CONNECT_TIMEOUT_MILLIS = 2000;

    private static final Map<String, Peer> registered = new LinkedHashMap<>(); // guarded by itself

    private final long handle;
    private final Object lock = new Object(); // guards link; held for no I/O and no native call
    private Link link;
    private volatile String lastError = "";

    /** A device that can be reached: its address, its name and where its stream is. */
    private static final class Peer {
        final String address;
        final String name;
        final String endpoint;

        Peer(String address, String name, String endpoint) {
            this.address = address;
            this.name = name == null ? "" : name;
            this.endpoint = endpoint;
        }

        String info() {
            return name.isEmpty() ? "[" + address + "]" : name + " [" + address + "]";
        }
    }

    /** One connection to a peer: a stream in and a stream out. */
    private interface Connection {
        int read(byte[] buffer) throws IOException;

        void write(byte[] data) throws IOException;

        void close();
    }

    /**
     * One opening of the device. Its monitor guards current and is held for no I/O: close
     * takes it only to wake a reader that waits to reconnect.
     */
    private static final class Link {
        final Peer peer; // null for a socket given by setConnected: nothing to reconnect to
        Connection current; // null while the link is down
        volatile boolean closed;

        Link(Peer peer, Connection first) {
            this.peer = peer;
            this.current = first;
        }

        synchronized Connection current() {
            return current;
        }
    }

    public PBluetooth(Activity activity, long handle) {
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

    /** "address:BASE64#info:BASE64;" for each device; the info is "NAME [ADDRESS]". */
    public static String availibleDevices() {
        Base64.Encoder encoder = Base64.getEncoder();
        StringBuilder answer = new StringBuilder();
        for (Peer peer : peers().values()) {
            answer.append("address:").append(encoder.encodeToString(peer.address.getBytes(StandardCharsets.UTF_8)))
                  .append("#info:").append(encoder.encodeToString(peer.info().getBytes(StandardCharsets.UTF_8)))
                  .append(';');
        }
        return answer.toString();
    }

    // ---- the companion -------------------------------------------------------------------

    public boolean open(String parameters) {
        close();
        try {
            String address = new Parameters(parameters).text("address");
            Peer peer = peers().get(address);
            if (peer == null)
                throw new IllegalArgumentException("unknown device " + address);
            start(new Link(peer, connect(peer)));
            return true;
        } catch (Exception e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** Reads and writes the streams of a socket that is connected already. */
    public void setConnected(BluetoothSocket socket, long flags) {
        close();
        try {
            InputStream in = socket.getInputStream();
            OutputStream out = socket.getOutputStream();
            start(new Link(null, new Connection() {
                public int read(byte[] buffer) throws IOException {
                    return in.read(buffer);
                }

                public void write(byte[] data) throws IOException {
                    out.write(data);
                    out.flush();
                }

                public void close() {
                    try {
                        socket.close();
                    } catch (IOException ignored) {
                    }
                }
            }));
        } catch (IOException | RuntimeException e) {
            lastError = Parameters.reason(e);
        }
    }

    private void start(Link opened) {
        synchronized (lock) {
            link = opened;
        }
        lastError = "";
        CompanionThreads.start("PBluetooth " + (opened.peer == null ? "socket" : opened.peer.address),
                               () -> read(opened));
    }

    public void close() {
        Link closing;
        synchronized (lock) {
            closing = link;
            link = null;
        }
        if (closing == null)
            return;
        Connection connection;
        synchronized (closing) {
            closing.closed = true;
            connection = closing.current;
            closing.current = null;
            closing.notifyAll();
        }
        if (connection != null)
            connection.close();
    }

    /** Open, and the link up now. */
    public boolean isOpen() {
        Link current;
        synchronized (lock) {
            current = link;
        }
        return current != null && !current.closed && current.current() != null;
    }

    public boolean write(byte[] data) {
        Link current;
        synchronized (lock) {
            current = link;
        }
        Connection connection = current == null ? null : current.current();
        if (connection == null || data == null) {
            lastError = "device not connected";
            return false;
        }
        try {
            connection.write(data);
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
        byte[] buffer = new byte[4096];
        long retry = FIRST_RETRY_MILLIS;
        while (!link.closed) {
            Connection connection = link.current();
            if (connection == null) {
                if (link.peer == null || !pause(link, retry))
                    return;
                retry = Math.min(retry * 2, LAST_RETRY_MILLIS);
                try {
                    connection = connect(link.peer);
                } catch (IOException | RuntimeException e) {
                    lastError = Parameters.reason(e);
                    continue;
                }
                synchronized (link) {
                    if (!link.closed)
                        link.current = connection;
                }
                if (link.closed) {
                    connection.close();
                    return;
                }
                retry = FIRST_RETRY_MILLIS;
            }
            try {
                int count = connection.read(buffer);
                if (count < 0)
                    throw new EOFException("the peer's stream ended");
                if (count > 0 && !link.closed)
                    PBluetoothDataSend(handle, Arrays.copyOf(buffer, count));
            } catch (IOException e) {
                if (link.closed)
                    return;
                lastError = Parameters.reason(e);
                synchronized (link) {
                    if (link.current == connection)
                        link.current = null;
                }
                connection.close();
            }
        }
    }

    /** Waits before a reconnect; false when the link was closed meanwhile. */
    private static boolean pause(Link link, long millis) {
        synchronized (link) {
            if (!link.closed) {
                try {
                    link.wait(millis);
                } catch (InterruptedException e) {
                    return false;
                }
            }
            return !link.closed;
        }
    }

    private static Connection connect(Peer peer) throws IOException {
        String endpoint = peer.endpoint;
        if (endpoint.startsWith("tcp:")) {
            int colon = endpoint.lastIndexOf(':');
            if (colon <= 4)
                throw new IOException("bad endpoint " + endpoint);
            Socket socket = new Socket();
            try {
                socket.connect(new InetSocketAddress(endpoint.substring(4, colon),
                                                     Integer.parseInt(endpoint.substring(colon + 1))),
                               CONNECT_TIMEOUT_MILLIS);
            } catch (IOException | RuntimeException e) {
                socket.close();
                throw e;
            }
            return new Connection() {
                public int read(byte[] buffer) throws IOException {
                    return socket.getInputStream().read(buffer);
                }

                public void write(byte[] data) throws IOException {
                    socket.getOutputStream().write(data);
                    socket.getOutputStream().flush();
                }

                public void close() {
                    try {
                        socket.close();
                    } catch (IOException ignored) {
                    }
                }
            };
        }
        TtyStream tty = TtyStream.open(endpoint, List.of());
        return new Connection() {
            public int read(byte[] buffer) throws IOException {
                return tty.read(ByteBuffer.wrap(buffer));
            }

            public void write(byte[] data) throws IOException {
                tty.write(data);
            }

            public void close() {
                tty.close();
            }
        };
    }

    static native void PBluetoothDataSend(long handle, byte[] data);
}
