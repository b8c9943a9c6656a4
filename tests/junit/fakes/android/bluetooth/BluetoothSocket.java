// Test fake of an RFCOMM socket: reads block until the test sends or drops the link; writes are kept.
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
    private final String kind;
    private final Pipe incoming = Pipe.open();
    public final ByteArrayOutputStream sent = new ByteArrayOutputStream();
    public volatile boolean closed;

    BluetoothSocket(BluetoothDevice device, String kind) throws IOException {
        this.device = device;
        this.kind = kind;
    }

    public void connect() throws IOException {
        boolean refused = !device.reachable || (device.refusesSecure && kind.startsWith("secure"));
        device.attempts.add(kind);
        if (refused)
            throw new IOException("read failed, socket might closed or timeout, read ret: -1");
        device.connected.add(this);
    }

    public InputStream getInputStream() { return Channels.newInputStream(incoming.source()); }

    public OutputStream getOutputStream() { return sent; }

    public void close() throws IOException {
        closed = true;
        incoming.source().close();
    }

    public void peerSends(byte[] data) throws IOException { incoming.sink().write(ByteBuffer.wrap(data)); }

    public void drop() throws IOException { incoming.sink().close(); }
}
