// The Java side of the TCP socket device: a java.net.Socket read on a thread of its own.
package com.tavrel.piodevice;

import android.app.Activity;
import java.io.IOException;
import java.io.InputStream;
import java.net.InetSocketAddress;
import java.net.Socket;
import java.util.Arrays;

/**
 * Connects to "address":"port" within "timeout" milliseconds, or takes a socket that is
 * connected already, and hands every block it reads to the native device. A read that fails,
 * or a peer that ends the stream, is reported once through PTcpSocketStoreError with code
 * 200 and the reason; a socket closed by close() reports nothing.
 */
public class PTcpSocket {
    /** The code of every error reported from here. */
    public static final int DEVICE_FAILURE = 200;

    private final long handle;
    private final Object lock = new Object(); // guards link; held for no I/O and no native call
    private Link link;
    private volatile String lastError = "";

    private static final class Link {
        final Socket socket;
        volatile boolean closed;

        Link(Socket socket) {
            this.socket = socket;
        }
    }

    public PTcpSocket(Activity activity, long handle) {
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
            if (port <= 0 || port > 65535)
                throw new IllegalArgumentException("bad port: " + port);
            int timeout = (int) Math.max(0, Math.min(Integer.MAX_VALUE, p.number("timeout", 5000)));
            Socket socket = new Socket();
            try {
                socket.setTcpNoDelay(true);
                socket.connect(new InetSocketAddress(address, (int) port), timeout);
            } catch (IOException | RuntimeException e) {
                socket.close();
                throw e;
            }
            start(socket);
            return true;
        } catch (Exception e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** Reads and writes the given socket, which is connected already. */
    public void setConnected(Socket socket, long flags) {
        close();
        if (socket == null || !socket.isConnected() || socket.isClosed()) {
            lastError = "socket not connected";
            return;
        }
        start(socket);
    }

    private void start(Socket socket) {
        Link opened = new Link(socket);
        synchronized (lock) {
            link = opened;
        }
        lastError = "";
        CompanionThreads.start("PTcpSocket " + socket.getRemoteSocketAddress(), () -> read(opened));
    }

    public void close() {
        Link closing;
        synchronized (lock) {
            closing = link;
            link = null;
        }
        if (closing != null) {
            closing.closed = true;
            try {
                closing.socket.close();
            } catch (IOException ignored) {
            }
        }
    }

    public boolean write(byte[] data) {
        Link current;
        synchronized (lock) {
            current = link;
        }
        if (current == null || data == null) {
            lastError = "socket not connected";
            return false;
        }
        try {
            current.socket.getOutputStream().write(data);
            current.socket.getOutputStream().flush();
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
        try {
            InputStream in = link.socket.getInputStream();
            while (!link.closed) {
                int count = in.read(buffer);
                if (count < 0) {
                    fail(link, "Connection closed by peer");
                    return;
                }
                if (count > 0 && !link.closed)
                    PTcpSocketStoreData(handle, Arrays.copyOf(buffer, count));
            }
        } catch (IOException e) {
            fail(link, Parameters.reason(e));
        }
    }

    private void fail(Link link, String reason) {
        if (link.closed)
            return;
        lastError = reason;
        PTcpSocketStoreError(handle, DEVICE_FAILURE, reason);
    }

    static native void PTcpSocketStoreData(long handle, byte[] data);

    static native void PTcpSocketStoreError(long handle, int code, String message);
}
