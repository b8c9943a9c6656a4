// The Java side of the UDP socket device: a java.net.DatagramSocket, one delivery per datagram.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.IOException;
import java.net.DatagramPacket;
import java.net.DatagramSocket;
import java.net.InetSocketAddress;
import java.net.SocketAddress;

/**
 * The flags of the parameter string choose the socket:
 * - read (1): bound to "address":"port", each datagram received is handed over whole, and a
 *   write answers the sender of the last one;
 * - write only (2): an unbound socket that sends to "address":"port";
 * - the address "BROADCAST": sends to 255.255.255.255:"port" with broadcast on.
 * A receive that fails is reported through PUdpSocketStoreError with code 200. The same on
 * every platform.
 */
public class PUdpSocket extends StreamDevice {
    public static final int DEVICE_FAILURE = 200;
    private static final int MAX_DATAGRAM = 65536;

    private final long handle;

    public PUdpSocket(Activity activity, long handle) {
        super("socket not open", "socket closed", true);
        this.handle = handle;
    }

    public boolean open(String parameters) {
        Parameters p = new Parameters(parameters);
        String address = p.text("address");
        return stream.open("PUdpSocket " + address, () -> {
            if (address.isEmpty())
                throw new IllegalArgumentException("no address given");
            long port = p.number("port", 0);
            if (port < 0 || port > 65535)
                throw new IllegalArgumentException("bad port: " + port);
            long flags = p.number("flags", 1);
            boolean reading = (flags & 1) != 0 || (flags & 3) == 0;
            if (address.equalsIgnoreCase("BROADCAST")) {
                DatagramSocket socket = new DatagramSocket();
                socket.setBroadcast(true);
                return new Datagrams(socket, new InetSocketAddress("255.255.255.255", (int) port), false);
            }
            if (reading)
                return new Datagrams(new DatagramSocket(new InetSocketAddress(address, (int) port)), null, true);
            return new Datagrams(new DatagramSocket(), new InetSocketAddress(address, (int) port), false);
        }, false);
    }

    @Override
    void deliver(byte[] datagram) {
        PUdpSocketStoreData(handle, datagram);
    }

    @Override
    void deliverError(String reason) {
        PUdpSocketStoreError(handle, DEVICE_FAILURE, reason);
    }

    private static final class Datagrams implements StreamCompanion.Connection {
        final DatagramSocket socket;
        final SocketAddress peer; // null: answer the last sender
        final boolean reading;
        final DatagramPacket packet = new DatagramPacket(new byte[0], 0); // the reader's alone
        volatile SocketAddress lastSender;

        Datagrams(DatagramSocket socket, SocketAddress peer, boolean reading) {
            this.socket = socket;
            this.peer = peer;
            this.reading = reading;
        }

        public int read(byte[] buffer) throws IOException {
            packet.setData(buffer);
            socket.receive(packet);
            lastSender = packet.getSocketAddress();
            return packet.getLength();
        }

        public void write(byte[] data) throws IOException {
            SocketAddress target = peer != null ? peer : lastSender;
            if (target == null)
                throw new IOException("no peer to send to");
            socket.send(new DatagramPacket(data, data.length, target));
        }

        public void close() {
            socket.close();
        }

        public boolean reads() {
            return reading;
        }

        public int blockSize() {
            return MAX_DATAGRAM;
        }
    }

    static native void PUdpSocketStoreData(long handle, byte[] data);

    static native void PUdpSocketStoreError(long handle, int code, String message);
}
