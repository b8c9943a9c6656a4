// The public face that the companions over a byte stream share: close, write, the last error
// and whether the link is up, all answered by their StreamCompanion.
package com.tavrel.piodevice;

/**
 * A companion opens its stream with {@link #stream} and says where blocks go: deliver is its
 * native data call, deliverError (when the stream does not reconnect and reports its end) its
 * native error call. Tests override both to watch a companion without the native side.
 */
public abstract class StreamDevice {
    protected final StreamCompanion stream;

    /** See {@link StreamCompanion#StreamCompanion}; reportsEnd routes a lost link to deliverError. */
    protected StreamDevice(String notOpen, String endOfStream, boolean reportsEnd) {
        stream = new StreamCompanion(notOpen, endOfStream, this::deliver, reportsEnd ? this::deliverError : null);
    }

    public void close() {
        stream.close();
    }

    /** True when every byte went out. */
    public boolean write(byte[] data) {
        return stream.write(data);
    }

    /** Open, and the link up now. */
    public boolean isOpen() {
        return stream.isOpen();
    }

    public String getLastErrorMessage() {
        return stream.getLastErrorMessage();
    }

    /** Hands a block read to the native side. */
    abstract void deliver(byte[] block);

    /** Reports a link that ended while open; only for a stream made with reportsEnd. */
    void deliverError(String reason) {}
}
