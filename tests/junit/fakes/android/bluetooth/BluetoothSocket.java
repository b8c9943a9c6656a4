// Test fake of an RFCOMM socket: reads block until the test sends or drops the link, writes
// are kept for the test to read.
package android.bluetooth;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.nio.ByteBuffer;
import java.nio.channels.Channels;
import java.nio.channels.Pipe;

public final class BluetoothSocket implements java.io.Closeable {
    private final BluetoothDevice device;
    private final boolean secure;
    private final Pipe incoming = Pipe.open(); // the far end writes its sink, the reader its source
    private final ByteArrayOutputStream sent = new ByteArrayOutputStream(); // guarded by itself
    private volatile boolean connected;
    private volatile boolean closed;

    BluetoothSocket(BluetoothDevice device, boolean secure) throws IOException {
        this.device = device;
        this.secure = secure;
    }

    public void connect() throws IOException {
        device.connecting(this, secure);
        connected = true;
    }

    public InputStream getInputStream() throws IOException {
        return Channels.newInputStream(incoming.source());
    }

    public OutputStream getOutputStream() throws IOException {
        return new OutputStream() {
            @Override
            public void write(int b) throws IOException {
                if (closed || !connected)
                    throw new IOException("socket closed");
                synchronized (sent) {
                    sent.write(b);
                }
            }
        };
    }

    /** Wakes a blocked read, as the real one does. */
    public void close() throws IOException {
        closed = true;
        incoming.source().close();
    }

    // ---- the far end, for the test -------------------------------------------------------

    public boolean isClosed() {
        return closed;
    }

    public void peerSends(byte[] data) throws IOException {
        incoming.sink().write(ByteBuffer.wrap(data));
    }

    /** The link breaks: the reader sees the stream end. */
    public void drop() throws IOException {
        connected = false;
        incoming.sink().close();
    }

    public byte[] received() {
        synchronized (sent) {
            return sent.toByteArray();
        }
    }
}
