// Test fake of an RFCOMM socket: reads block until the test sends or drops the link, writes
// are kept for the test to read.
package android.bluetooth;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;

public final class BluetoothSocket implements java.io.Closeable {
    private static final byte[] END = new byte[0];

    private final BluetoothDevice device;
    private final boolean secure;
    private final BlockingQueue<byte[]> incoming = new LinkedBlockingQueue<>();
    private final ByteArrayOutputStream sent = new ByteArrayOutputStream(); // guarded by itself
    private volatile boolean connected;
    private volatile boolean closed;

    BluetoothSocket(BluetoothDevice device, boolean secure) {
        this.device = device;
        this.secure = secure;
    }

    public void connect() throws IOException {
        if (closed)
            throw new IOException("socket closed");
        device.connecting(this, secure);
        connected = true;
    }

    public InputStream getInputStream() throws IOException {
        return new InputStream() {
            private byte[] block = new byte[0];
            private int at;

            @Override
            public int read() throws IOException {
                byte[] one = new byte[1];
                return read(one, 0, 1) < 0 ? -1 : one[0] & 0xff;
            }

            @Override
            public int read(byte[] buffer, int offset, int length) throws IOException {
                if (at == block.length) {
                    try {
                        block = incoming.take();
                    } catch (InterruptedException e) {
                        throw new IOException("interrupted");
                    }
                    at = 0;
                }
                if (block == END) {
                    incoming.add(END);
                    throw new IOException("bt socket closed, read return: -1");
                }
                int count = Math.min(length, block.length - at);
                System.arraycopy(block, at, buffer, offset, count);
                at += count;
                return count;
            }
        };
    }

    public OutputStream getOutputStream() throws IOException {
        return new OutputStream() {
            @Override
            public void write(int b) throws IOException {
                write(new byte[] {(byte) b}, 0, 1);
            }

            @Override
            public void write(byte[] data, int offset, int length) throws IOException {
                if (closed || !connected)
                    throw new IOException("socket closed");
                synchronized (sent) {
                    sent.write(data, offset, length);
                }
            }
        };
    }

    public void close() {
        closed = true;
        incoming.add(END);
    }

    // ---- the far end, for the test -------------------------------------------------------

    public boolean isSecure() {
        return secure;
    }

    public boolean isClosed() {
        return closed;
    }

    public void peerSends(byte[] data) {
        incoming.add(data.clone());
    }

    /** The link breaks: a blocked read fails as when the peer goes out of range. */
    public void drop() {
        connected = false;
        incoming.add(END);
    }

    public byte[] received() {
        synchronized (sent) {
            return sent.toByteArray();
        }
    }
}
