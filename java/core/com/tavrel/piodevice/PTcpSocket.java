// The Java side of the TCP socket device: a java.net.Socket read on a thread of its own.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.IOException;
import java.net.InetSocketAddress;
import java.net.Socket;

/**
 * Connects to "address":"port" within "timeout" milliseconds, or takes a socket that is
 * connected already, and hands every block it reads to the native device. A read that fails,
 * or a peer that ends the stream, is reported once through PTcpSocketStoreError with code
 * 200 and the reason; a socket closed by close() reports nothing. The same on every platform.
 */
public class PTcpSocket extends StreamDevice {
    /** The code of every error reported from here. */
    public static final int DEVICE_FAILURE = 200;

    private final long handle;

    public PTcpSocket(Activity activity, long handle) {
        super("socket not connected", "Connection closed by peer", true);
        this.handle = handle;
    }

    public boolean open(String parameters) {
        Parameters p = new Parameters(parameters);
        String address = p.text("address");
        return stream.open("PTcpSocket " + address, () -> {
            if (address.isEmpty())
                throw new IllegalArgumentException("no address given");
            long port = p.number("port", 0);
            if (port <= 0 || port > 65535)
                throw new IllegalArgumentException("bad port: " + port);
            int timeout = (int) Math.max(0, Math.min(Integer.MAX_VALUE, p.number("timeout", 5000)));
            Socket socket = new Socket();
            try {
                socket.setTcpNoDelay(true);
                socket.connect(new InetSocketAddress(address, (int) port), timeout);
                return connection(socket);
            } catch (IOException | RuntimeException e) {
                socket.close();
                throw e;
            }
        }, false);
    }

    /** Reads and writes the given socket, which is connected already. */
    public void setConnected(Socket socket, long flags) {
        try {
            if (socket == null || !socket.isConnected() || socket.isClosed())
                throw new IOException("socket not connected");
            stream.adopt("PTcpSocket " + socket.getRemoteSocketAddress(), connection(socket));
        } catch (IOException | RuntimeException e) {
            stream.close();
            stream.setLastError(Parameters.reason(e));
        }
    }

    @Override
    void deliver(byte[] block) {
        PTcpSocketStoreData(handle, block);
    }

    @Override
    void deliverError(String reason) {
        PTcpSocketStoreError(handle, DEVICE_FAILURE, reason);
    }

    static StreamCompanion.Connection connection(Socket socket) throws IOException {
        return StreamCompanion.streams(socket.getInputStream(), socket.getOutputStream(), socket);
    }

    static native void PTcpSocketStoreData(long handle, byte[] data);

    static native void PTcpSocketStoreError(long handle, int code, String message);
}
