// The Java side of the UDP socket device: a java.net.DatagramSocket, one delivery per datagram.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.IOException;
import java.net.DatagramPacket;
import java.net.DatagramSocket;
import java.net.InetSocketAddress;
import java.net.SocketAddress;
import java.util.Arrays;

/**
 * The flags of the parameter string choose the socket:
 * - read (1): bound to "address":"port", each datagram received is handed over whole, and a
 *   write answers the sender of the last one;
 * - write only (2): an unbound socket that sends to "address":"port";
 * - the address "BROADCAST": sends to 255.255.255.255:"port" with broadcast on.
 * A receive that fails is reported through PUdpSocketStoreError with code 200.
 */
public class PUdpSocket {
    public static final int DEVICE_FAILURE = 200;
    private static final int MAX_DATAGRAM = 65536;

    private final long handle;
    private final Object lock = new Object(); // guards link; held for no I/O and no native call
    private Link link;
    private volatile String lastError = "";

    private static final class Link {
        final DatagramSocket socket;
        final SocketAddress peer; // null: answer the last sender
        volatile SocketAddress lastSender;
        volatile boolean closed;

        Link(DatagramSocket socket, SocketAddress peer) {
            this.socket = socket;
            this.peer = peer;
        }
    }

    public PUdpSocket(Activity activity, long handle) {
        this.handle = handle;
    }

    public boolean open(String parameters) {
        close();
        try {
            Parameters p = new Parameters(parameters);
            String address = p.text("address");
            if (address.isEmpty())
                throw new IllegalArgumentException("no address given");
            long port = p.number("port", 0);
            if (port < 0 || port > 65535)
                throw new IllegalArgumentException("bad port: " + port);
            long flags = p.number("flags", 1);
            boolean reading = (flags & 1) != 0 || (flags & 3) == 0;
            Link opened;
            if (address.equalsIgnoreCase("BROADCAST")) {
                DatagramSocket socket = new DatagramSocket();
                socket.setBroadcast(true);
                opened = new Link(socket, new InetSocketAddress("255.255.255.255", (int) port));
                reading = false;
            } else if (reading) {
                opened = new Link(new DatagramSocket(new InetSocketAddress(address, (int) port)), null);
            } else {
                opened = new Link(new DatagramSocket(), new InetSocketAddress(address, (int) port));
            }
            synchronized (lock) {
                link = opened;
            }
            lastError = "";
            if (reading)
                CompanionThreads.start("PUdpSocket " + address + ":" + port, () -> read(opened));
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
            closing.socket.close();
        }
    }

    public boolean write(byte[] data) {
        Link current;
        synchronized (lock) {
            current = link;
        }
        if (current == null || data == null) {
            lastError = "socket not open";
            return false;
        }
        SocketAddress target = current.peer != null ? current.peer : current.lastSender;
        if (target == null) {
            lastError = "no peer to send to";
            return false;
        }
        try {
            current.socket.send(new DatagramPacket(data, data.length, target));
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
        byte[] buffer = new byte[MAX_DATAGRAM];
        DatagramPacket packet = new DatagramPacket(buffer, buffer.length);
        try {
            while (!link.closed) {
                packet.setLength(buffer.length);
                link.socket.receive(packet);
                link.lastSender = packet.getSocketAddress();
                int length = packet.getLength();
                if (length > 0 && !link.closed)
                    PUdpSocketStoreData(handle, Arrays.copyOfRange(buffer, packet.getOffset(),
                                                                   packet.getOffset() + length));
            }
        } catch (IOException e) {
            if (!link.closed) {
                lastError = Parameters.reason(e);
                PUdpSocketStoreError(handle, DEVICE_FAILURE, lastError);
            }
        }
    }

    static native void PUdpSocketStoreData(long handle, byte[] data);

    static native void PUdpSocketStoreError(long handle, int code, String message);
}
