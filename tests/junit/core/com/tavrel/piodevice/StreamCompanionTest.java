// The shared stream companion over piped connections: delivery, drops and reconnects, back-off,
// and close from any thread.
package com.tavrel.piodevice;

import static org.junit.Assert.*;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.Channels;
import java.nio.channels.Pipe;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.After;
import org.junit.Test;

public class StreamCompanionTest {
    /** A connection whose far end the test drives: what it sends is read, ending it ends the stream. */
    private static final class Far {
        final Pipe pipe = Pipe.open();
        final ByteArrayOutputStream written = new ByteArrayOutputStream();
        volatile boolean closed;
        final StreamCompanion.Connection near = StreamCompanion.streams(Channels.newInputStream(pipe.source()), written,
                                                                        () -> { closed = true; pipe.source().close(); });

        Far() throws IOException {}

        void send(String text) throws IOException { pipe.sink().write(ByteBuffer.wrap(text.getBytes())); }

        void end() throws IOException { pipe.sink().close(); }
    }

    private final LinkedBlockingQueue<String> events = new LinkedBlockingQueue<>();
    private final LinkedBlockingQueue<Far> made = new LinkedBlockingQueue<>();
    private final AtomicInteger connects = new AtomicInteger();
    private volatile boolean refuse;
    private volatile boolean dropAtOnce;
    private volatile Runnable onData = () -> {};
    private final StreamCompanion stream = new StreamCompanion("not open", "stream ended", block -> {
        events.add(new String(block));
        onData.run();
    }, reason -> events.add("ended: " + reason));

    private StreamCompanion.Connection connect() throws IOException {
        connects.incrementAndGet();
        if (refuse)
            throw new IOException("refused");
        Far far = new Far();
        if (dropAtOnce)
            far.end();
        made.add(far);
        return far.near;
    }

    private Far opened(boolean reconnect) throws InterruptedException {
        assertTrue(stream.open("test", this::connect, reconnect));
        return made.poll(5, TimeUnit.SECONDS);
    }

    private String next() throws InterruptedException { return events.poll(5, TimeUnit.SECONDS); }

    private void awaitDown() throws InterruptedException {
        while (stream.isOpen())
            Thread.sleep(1);
    }

    @After
    public void everyReaderEnds() throws InterruptedException {
        stream.close();
        assertTrue("a reader thread outlived close", CompanionThreads.awaitNone(5000));
    }

    @Test
    public void aFailedOpenGivesTheReasonAndALinkWithoutReconnectReplacesTheLastDeliversInOrderAndEndsOnce() throws Exception {
        refuse = true;
        assertFalse(stream.open("test", this::connect, true));
        assertEquals("refused", stream.getLastErrorMessage());
        assertEquals(0, CompanionThreads.live());
        refuse = false;
        Far old = opened(false);
        Far far = opened(false);
        assertTrue("a reopen closes the previous link", old.closed);
        far.send("ab");
        assertEquals("ab", next());
        far.send("c");
        assertEquals("c", next());
        assertTrue(stream.write("out".getBytes()));
        assertEquals("out", far.written.toString());
        Far adopted = new Far();
        stream.adopt("test", adopted.near);
        assertTrue("adopting closes the previous link", far.closed);
        adopted.end();
        assertEquals("ended: stream ended", next());
        assertFalse(stream.isOpen() || stream.write("x".getBytes()));
        assertEquals("not open", stream.getLastErrorMessage());
        assertEquals(3, connects.get());
        assertNull("the replaced links report no end", events.poll(50, TimeUnit.MILLISECONDS));
    }

    @Test
    public void aDroppedLinkIsDownWhileRefusedTriesBackOffAndDeliversAgainOnceMade() throws Exception {
        Far first = opened(true);
        refuse = true;
        first.end();
        awaitDown();
        assertTrue(first.closed);
        // Refused tries back off: well under one try per 50 ms over 700 ms (50+100+200+400).
        Thread.sleep(700);
        assertTrue("tries: " + connects.get(), connects.get() <= 1 + 4);
        assertEquals("refused", stream.getLastErrorMessage());
        refuse = false;
        Far second = made.poll(5, TimeUnit.SECONDS);
        second.send("again");
        assertEquals("again", next());
        assertTrue(stream.isOpen());
        assertNull("a reconnecting link reports no end", events.poll());
        // A peer that takes the link and drops it at once backs off as a refusing one does.
        dropAtOnce = true;
        final int before = connects.get();
        second.end();
        Thread.sleep(700);
        assertTrue("tries: " + (connects.get() - before), connects.get() - before <= 4);
    }

    @Test
    public void closeFromTheReaderItselfOrWhileReconnectingEndsTheReaderWithoutDelivery() throws Exception {
        onData = stream::close;
        Far far = opened(true);
        far.send("last");
        assertEquals("last", next());
        assertTrue(CompanionThreads.awaitNone(5000));
        assertTrue(far.closed);

        onData = () -> {};
        far = opened(true);
        refuse = true;
        far.end();
        awaitDown();
        stream.close();
        assertTrue("close wakes a reader that waits to reconnect", CompanionThreads.awaitNone(5000));
        assertNull(events.poll(100, TimeUnit.MILLISECONDS));
    }
}
