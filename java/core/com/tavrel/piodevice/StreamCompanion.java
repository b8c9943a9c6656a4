// What every companion over a byte stream shares: one opening's link, the thread that reads
// it, reconnecting after a drop, writing, and the last error.
package com.tavrel.piodevice;

import java.io.Closeable;
import java.io.EOFException;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.util.Arrays;
import java.util.function.Consumer;

/**
 * A companion (serial port, socket, Bluetooth link) owns one of these and gives it the
 * connections. Each open makes a new link; the reader of a link delivers only while that link
 * is open, so a block read after close goes nowhere. close never waits for the reader (it may
 * run under the native side's lock while the reader is inside a native call): it closes the
 * connection, which wakes a blocked read, and lets the thread end by itself.
 * With a connector to reconnect, a link whose stream ends or fails goes down (isOpen false)
 * and is made again after 50 ms, the pause doubling up to 1 s between tries until a link
 * carries data again, until close; without one the link ends and the reason goes to the ended
 * callback.
 * All members are safe to call from any thread; nothing here throws to the caller.
 */
public final class StreamCompanion {
    public static final long FIRST_RETRY_MILLIS = 50;
    public static final long LAST_RETRY_MILLIS = 1000;

    /** A connected stream: read blocks until data comes, -1 at its end; close wakes a read. */
    public interface Connection {
        int read(byte[] buffer) throws IOException;

        void write(byte[] data) throws IOException;

        void close();

        /** False for a connection that is only written to: no reader is started. */
        default boolean reads() {
            return true;
        }

        /** The largest block one read may give (a datagram comes whole). */
        default int blockSize() {
            return 4096;
        }
    }

    /** Makes a connection, for the first opening and for each reconnect. */
    public interface Connector {
        Connection connect() throws Exception;
    }

    /** A connection over the streams of a connected socket; closing it closes the socket. */
    public static Connection streams(InputStream in, OutputStream out, Closeable socket) {
        return new Connection() {
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
                    // Closed, or as closed as it can be.
                }
            }
        };
    }

    private final String notOpen;
    private final String endOfStream;
    private final Consumer<byte[]> data;
    private final Consumer<String> ended;
    private final Object lock = new Object(); // guards link; held for no I/O and no delivery
    private Link link;
    private volatile String lastError = "";

    /** One opening. Its monitor guards current and is held for no I/O and no delivery. */
    private static final class Link {
        final Connector connector; // null: nothing to reconnect to
        Connection current; // null while the link is down
        volatile boolean closed;

        Link(Connector connector, Connection first) {
            this.connector = connector;
            this.current = first;
        }

        synchronized Connection current() {
            return current;
        }

        /** Takes a new connection; false when the link was closed meanwhile. */
        synchronized boolean up(Connection connection) {
            if (closed)
                return false;
            current = connection;
            return true;
        }

        synchronized void down(Connection connection) {
            if (current == connection)
                current = null;
        }

        /** Waits before a reconnect; false when the link was closed meanwhile. */
        synchronized boolean pause(long millis) {
            if (!closed) {
                try {
                    wait(millis);
                } catch (InterruptedException e) {
                    return false;
                }
            }
            return !closed;
        }

        Connection close() {
            synchronized (this) {
                closed = true;
                Connection last = current;
                current = null;
                notifyAll();
                return last;
            }
        }
    }

    /**
     * notOpen is the last error of a write while closed, endOfStream the reason when the peer
     * ends the stream. data gets every block read; ended, which may be null, the reason when a
     * link that does not reconnect ends while open.
     */
    public StreamCompanion(String notOpen, String endOfStream, Consumer<byte[]> data, Consumer<String> ended) {
        this.notOpen = notOpen;
        this.endOfStream = endOfStream;
        this.data = data;
        this.ended = ended;
    }

    /**
     * Closes what is open, connects and starts the reader; with reconnect the connector makes
     * the link again after a drop. False, with the reason as the last error, when the first
     * connection fails (the connector may throw anything: a bad parameter, an I/O failure).
     */
    public boolean open(String threadName, Connector connector, boolean reconnect) {
        close();
        try {
            start(threadName, new Link(reconnect ? connector : null, connector.connect()));
            return true;
        } catch (Exception e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    /** Closes what is open and takes a connection made elsewhere, which is not made again. */
    public void adopt(String threadName, Connection connection) {
        close();
        try {
            start(threadName, new Link(null, connection));
        } catch (RuntimeException e) {
            lastError = Parameters.reason(e);
        }
    }

    /** The same for a connection still to be taken from the socket, which may fail: the failure becomes the last error. */
    public void adopt(String threadName, Connector socket) {
        try {
            adopt(threadName, socket.connect());
        } catch (Exception e) {
            close();
            lastError = Parameters.reason(e);
        }
    }

    private void start(String threadName, Link opened) {
        Link previous;
        synchronized (lock) {
            previous = link;
            link = opened;
        }
        if (previous != null) // an open that raced with this one
            end(previous);
        lastError = "";
        Connection first = opened.current();
        if (first != null && first.reads()) {
            try {
                CompanionThreads.start(threadName, () -> read(opened));
            } catch (RuntimeException | Error e) {
                close();
                throw new IllegalStateException("no reader thread: " + Parameters.reason(e));
            }
        }
    }

    /** Ends the opening; safe to repeat and to call from any thread, the reader's too. */
    public void close() {
        Link closing;
        synchronized (lock) {
            closing = link;
            link = null;
        }
        if (closing != null)
            end(closing);
    }

    private static void end(Link closing) {
        Connection connection = closing.close();
        if (connection != null)
            connection.close();
    }

    /** Open, and the link up now. */
    public boolean isOpen() {
        Link current = current();
        return current != null && !current.closed && current.current() != null;
    }

    /** True when every byte went out; otherwise false with the reason as the last error. */
    public boolean write(byte[] bytes) {
        Link current = current();
        Connection connection = current == null ? null : current.current();
        if (connection == null || bytes == null) {
            lastError = notOpen;
            return false;
        }
        try {
            connection.write(bytes);
            return true;
        } catch (IOException | RuntimeException e) {
            lastError = Parameters.reason(e);
            return false;
        }
    }

    public String getLastErrorMessage() {
        return lastError;
    }

    public void setLastError(String reason) {
        lastError = reason == null ? "" : reason;
    }

    private Link current() {
        synchronized (lock) {
            return link;
        }
    }

    private void read(Link link) {
        byte[] buffer = new byte[0];
        long retry = FIRST_RETRY_MILLIS;
        while (!link.closed) {
            Connection connection = link.current();
            if (connection == null) {
                if (link.connector == null || !link.pause(retry))
                    return;
                retry = Math.min(retry * 2, LAST_RETRY_MILLIS);
                try {
                    connection = link.connector.connect();
                } catch (Exception e) {
                    lastError = Parameters.reason(e);
                    continue;
                }
                if (!link.up(connection)) {
                    connection.close();
                    return;
                }
            }
            if (buffer.length < connection.blockSize())
                buffer = new byte[connection.blockSize()];
            int count;
            try {
                count = connection.read(buffer);
                if (count < 0)
                    throw new EOFException(endOfStream);
            } catch (IOException | RuntimeException e) {
                if (link.closed)
                    return;
                lastError = Parameters.reason(e);
                link.down(connection);
                connection.close();
                if (link.connector == null) {
                    if (ended != null && !link.closed)
                        ended.accept(lastError);
                    return;
                }
                continue;
            }
            // Only a link that carried data starts the back-off afresh: a peer that accepts and
            // drops at once is not called again every first interval.
            if (count > 0)
                retry = FIRST_RETRY_MILLIS;
            if (count > 0 && !link.closed)
                data.accept(Arrays.copyOf(buffer, count));
        }
    }
}
