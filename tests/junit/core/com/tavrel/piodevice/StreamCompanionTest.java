// The shared stream companion over scripted connections: delivery, drops and reconnects,
// back-off, and close from any thread.
package com.tavrel.piodevice;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertTrue;

import java.io.IOException;
import java.util.List;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.After;
import org.junit.Test;

public class StreamCompanionTest {
    private static final byte[] END = {};
    private static final byte[] FAIL = {};

    /** Reads what the test puts in; END ends the stream, FAIL fails the read. */
    private static final class Scripted implements StreamCompanion.Connection {
        final LinkedBlockingQueue<byte[]> incoming = new LinkedBlockingQueue<>();
        final List<String> written = new CopyOnWriteArrayList<>();
        volatile boolean closed;

        public int read(byte[] buffer) throws IOException {
            byte[] block;
            try {
                block = incoming.take();
            } catch (InterruptedException e) {
                throw new IOException(e);
            }
            if (block == FAIL)
                throw new IOException("link lost");
            System.arraycopy(block, 0, buffer, 0, block.length);
            return closed || block == END ? -1 : block.length;
        }

        public void write(byte[] data) throws IOException {
            if (closed)
                throw new IOException("closed");
            written.add(new String(data));
        }

        public void close() {
            closed = true;
            incoming.add(END);
        }
    }

    private final LinkedBlockingQueue<String> events = new LinkedBlockingQueue<>();
    private final LinkedBlockingQueue<Scripted> made = new LinkedBlockingQueue<>();
    private final AtomicInteger connects = new AtomicInteger();
    private volatile boolean refuse;
    private volatile Runnable onData = () -> {};
    private final StreamCompanion stream = new StreamCompanion("not open", "stream ended", block -> {
        events.add(new String(block));
        onData.run();
    }, reason -> events.add("ended: " + reason));

    private StreamCompanion.Connection connect() throws IOException {
        connects.incrementAndGet();
        if (refuse)
            throw new IOException("refused");
        Scripted connection = new Scripted();
        made.add(connection);
        return connection;
    }

    private String next() throws InterruptedException {
        return events.poll(5, TimeUnit.SECONDS);
    }

    private Scripted opened(boolean reconnect) throws InterruptedException {
        assertTrue(stream.open("test", this::connect, reconnect));
        return made.poll(5, TimeUnit.SECONDS);
    }

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
    public void blocksGoInOrderWritesGoOutAndALinkWithoutReconnectEndsOnce() throws Exception {
        Scripted link = opened(false);
        link.incoming.add("ab".getBytes());
        link.incoming.add("c".getBytes());
        assertEquals("ab", next());
        assertEquals("c", next());
        assertTrue(stream.write("out".getBytes()));
        assertEquals(List.of("out"), link.written);

        link.incoming.add(END);
        assertEquals("ended: stream ended", next());
        assertFalse(stream.isOpen());
        assertFalse(stream.write("x".getBytes()));
        assertEquals("not open", stream.getLastErrorMessage());
        assertEquals(1, connects.get());
    }

    @Test
    public void aFailedOpenOrBadParametersGiveFalseWithTheReason() {
        refuse = true;
        assertFalse(stream.open("test", this::connect, true));
        assertEquals("refused", stream.getLastErrorMessage());
        assertFalse(stream.open("test", () -> {
            throw new IllegalArgumentException("bad port: -1");
        }, false));
        assertEquals("bad port: -1", stream.getLastErrorMessage());
        assertEquals(0, CompanionThreads.live());
    }

    @Test
    public void aDroppedLinkIsDownUntilItIsMadeAgainAndThenDeliversAgain() throws Exception {
        Scripted first = opened(true);
        refuse = true;
        first.incoming.add(FAIL);
        awaitDown();
        assertTrue(first.closed);
        assertFalse(stream.write("x".getBytes()));
        // Refused tries back off: well under one try per 50 ms over 700 ms (50+100+200+400).
        Thread.sleep(700);
        assertTrue("tries: " + connects.get(), connects.get() <= 1 + 4);
        assertEquals("refused", stream.getLastErrorMessage());

        refuse = false;
        Scripted second = made.poll(5, TimeUnit.SECONDS);
        second.incoming.add("again".getBytes());
        assertEquals("again", next());
        assertTrue(stream.write("y".getBytes()));
        assertEquals(List.of("y"), second.written);
        assertNull("a reconnecting link reports no end", events.poll());
    }

    @Test
    public void closeFromTheReaderItselfOrWhileReconnectingEndsTheReaderWithoutDelivery() throws Exception {
        onData = stream::close;
        Scripted link = opened(true);
        link.incoming.add("last".getBytes());
        link.incoming.add("never".getBytes());
        assertEquals("last", next());
        assertTrue(CompanionThreads.awaitNone(5000));
        assertTrue(link.closed);

        onData = () -> {};
        link = opened(true);
        refuse = true;
        link.incoming.add(FAIL);
        awaitDown();
        stream.close();
        assertTrue("close wakes a reader that waits to reconnect", CompanionThreads.awaitNone(5000));
        assertNull(events.poll(100, TimeUnit.MILLISECONDS));
    }

    @Test
    public void reopeningOrAdoptingClosesThePreviousLinkAndItsReaderDeliversNoMore() throws Exception {
        Scripted old = opened(false);
        Scripted current = opened(false);
        assertTrue(old.closed);
        old.incoming.add("stale".getBytes());
        current.incoming.add("fresh".getBytes());
        assertEquals("fresh", next());
        assertNull(events.poll(100, TimeUnit.MILLISECONDS));

        Scripted adopted = new Scripted();
        stream.adopt("test", adopted);
        assertTrue(current.closed);
        adopted.incoming.add(FAIL);
        assertEquals("ended: link lost", next());
    }
}
