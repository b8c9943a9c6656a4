// A terminal device opened for reading and writing, with its line settings applied.
package com.tavrel.piodevice;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.Paths;
import java.nio.file.StandardOpenOption;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;

/**
 * A tty (a USB serial adapter, a bound rfcomm device, a pseudo-terminal) read and written
 * through two file channels: a channel serialises its reads and writes, and a reader blocked
 * on one must not hold back a write. Closing wakes a blocked reader with an exception.
 * The JVM has no termios, so the line settings are applied with stty before the port opens.
 */
final class TtyStream {
    private final FileChannel in;
    private final FileChannel out;

    private TtyStream(FileChannel in, FileChannel out) {
        this.in = in;
        this.out = out;
    }

    /** Applies the stty settings (after raw mode) and opens the port. */
    static TtyStream open(String path, List<String> settings) throws IOException {
        configure(path, settings);
        FileChannel in = FileChannel.open(Paths.get(path), StandardOpenOption.READ);
        try {
            return new TtyStream(in, FileChannel.open(Paths.get(path), StandardOpenOption.WRITE));
        } catch (IOException | RuntimeException e) {
            in.close();
            throw e;
        }
    }

    /** Raw bytes, no echo, modem lines ignored, then the given settings. */
    static void configure(String path, List<String> settings) throws IOException {
        List<String> command = new ArrayList<>(List.of("stty", "-F", path, "raw", "-echo", "clocal"));
        command.addAll(settings);
        Process process = new ProcessBuilder(command).redirectErrorStream(true).start();
        String output;
        try {
            output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8).trim();
            if (!process.waitFor(10, TimeUnit.SECONDS)) {
                process.destroyForcibly();
                throw new IOException("stty did not finish for " + path);
            }
        } catch (InterruptedException e) {
            process.destroyForcibly();
            Thread.currentThread().interrupt();
            throw new IOException("interrupted while setting up " + path);
        }
        if (process.exitValue() != 0)
            throw new IOException(output.isEmpty() ? "stty failed for " + path : output);
    }

    /** The bytes read into the buffer, -1 at the end of the stream. */
    int read(ByteBuffer buffer) throws IOException {
        return in.read(buffer);
    }

    void write(byte[] data) throws IOException {
        ByteBuffer buffer = ByteBuffer.wrap(data);
        while (buffer.hasRemaining())
            out.write(buffer);
    }

    /** The tty as a companion's stream connection. */
    StreamCompanion.Connection connection() {
        TtyStream tty = this;
        return new StreamCompanion.Connection() {
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

    void close() {
        try {
            in.close();
        } catch (IOException ignored) {
        }
        try {
            out.close();
        } catch (IOException ignored) {
        }
    }
}
