// Tests of the event types, the PIODevice frame and its buffers PBuffer and PThreadSafeBuffer.
#include "PBuffer.h"
#include "PEvent.h"
#include "PEventKeys.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

// A device that records what reaches its virtual operations.
class RecordingDevice : public PIOCustomDevice {
public:
    SizeType availibleBytes() const override { return 3; }
    SizeType read(char* data, SizeType size) override
    {
        ++reads;
        data[0] = 'r';
        return 1;
    }
    SizeType peek(char* data, SizeType size) override { return 0; }
    SizeType write(const char* data, SizeType size) override
    {
        ++writes;
        return size;
    }
    int capabilities() const override { return 0; }
    using PIODevice::read;
    using PIODevice::write;

    int reads = 0;
    int writes = 0;
};

// Resident set size of this process in bytes; 0 when it cannot be read.
long residentBytes()
{
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * 4096;
}

}

TEST(PBufferTest, writeStoresWhatFitsAndDropsTheRest)
{
    PBuffer buffer(8);
    ASSERT_TRUE(buffer.open(PIODevice::OpenReadWrite));
    EXPECT_EQ(buffer.write("abc", 3), 3u);
    EXPECT_EQ(buffer.availibleSpace(), 5u);
    EXPECT_EQ(buffer.write("12345678", 8), 5u);
    EXPECT_EQ(buffer.write("x", 1), 0u);
    EXPECT_EQ(buffer.peek(3).toStdString(), "abc");
    EXPECT_EQ(buffer.readAll().toStdString(), "abc12345");
    // Without OpenRewindEmpty the drained space stays used.
    EXPECT_EQ(buffer.write("x", 1), 0u);

    PBuffer rewinding(4);
    ASSERT_TRUE(rewinding.open(PIODevice::OpenDeviceBuffer));
    EXPECT_EQ(rewinding.write("abcd", 4), 4u);
    char out[4];
    EXPECT_EQ(rewinding.read(out, 3), 3u);
    EXPECT_EQ(rewinding.write("e", 1), 0u) << "one byte unread: no rewind";
    EXPECT_EQ(rewinding.skip(10), 1u);
    EXPECT_EQ(rewinding.write("wxyz", 4), 4u);
    EXPECT_EQ(rewinding.readAll().toStdString(), "wxyz");
}

TEST(PBufferTest, readOnlyReopenExposesWhatWasHeldAtClose)
{
    PBuffer buffer(8);
    ASSERT_TRUE(buffer.open(PIODevice::OpenReadWrite));
    buffer.write("abc", 3);
    ASSERT_TRUE(buffer.close());
    ASSERT_TRUE(buffer.open(PIODevice::OpenRead));
    EXPECT_EQ(buffer.availibleBytes(), 3u);
    EXPECT_EQ(buffer.readAll().toStdString(), "abc");

    // A buffer that never kept anything exposes its whole capacity.
    PBuffer fresh(5);
    ASSERT_TRUE(fresh.open(PIODevice::OpenRead));
    EXPECT_EQ(fresh.availibleBytes(), 5u);
    // Reopening for writing forgets the kept bytes.
    ASSERT_TRUE(buffer.close());
    ASSERT_TRUE(buffer.open(PIODevice::OpenReadWrite));
    EXPECT_EQ(buffer.availibleBytes(), 0u);

    PBuffer closed(8);
    EXPECT_EQ(closed.write("ab", 2), 0u);
    EXPECT_FALSE(closed.close());

    ASSERT_TRUE(closed.open(PIODevice::OpenWrite));
    EXPECT_EQ(closed.write("ab", 2), 2u);
    char out[2];
    EXPECT_EQ(closed.read(out, 2), 0u);
    EXPECT_EQ(closed.peek(out, 2), 0u);
    EXPECT_EQ(closed.availibleBytes(), 2u);
    EXPECT_EQ(closed.write(PByteArray()), 0u);
}

TEST(PBufferTest, capacityChangeKeepsLeadingBytesAndClampsPositions)
{
    PBuffer buffer(8);
    ASSERT_TRUE(buffer.open(PIODevice::OpenReadWrite));
    buffer.write("abcdef", 6);
    buffer.skip(1);
    buffer.setCapasity(4);
    EXPECT_EQ(buffer.capacity(), 4u);
    EXPECT_EQ(buffer.availibleSpace(), 0u);
    EXPECT_EQ(buffer.readAll().toStdString(), "bcd");

    buffer.setCapasity(16);
    EXPECT_EQ(buffer.write("XY", 2), 2u);
    EXPECT_EQ(buffer.readAll().toStdString(), "XY");
    ASSERT_TRUE(buffer.close());
    ASSERT_TRUE(buffer.open(PIODevice::OpenRead));
    EXPECT_EQ(buffer.readAll().toStdString(), "abcdXY") << "growing kept the bytes already written";
}

TEST(PBufferTest, unwrittenCapacityCostsNoResidentMemory)
{
    const long before = residentBytes();
    ASSERT_GT(before, 0);
    std::vector<std::unique_ptr<PThreadSafeBuffer>> buffers;
    for (int i = 0; i < 8; ++i) {
        buffers.emplace_back(new PThreadSafeBuffer(0x1000000));
        ASSERT_TRUE(buffers.back()->open(PIODevice::OpenDeviceBuffer));
        ASSERT_EQ(buffers.back()->write("x", 1), 1u);
    }
    // 128 MiB of capacity; only the pages written may become resident.
    EXPECT_LT(residentBytes() - before, 16L * 1024 * 1024);
}

TEST(PThreadSafeBufferTest, closeEndsAnEndlessWaitWithFalse)
{
    PThreadSafeBuffer buffer(8);
    ASSERT_TRUE(buffer.open(PIODevice::OpenDeviceBuffer));
    bool result = true;
    std::atomic<bool> started{false};
    std::thread waiter([&] {
        started = true;
        result = buffer.waitForReadyRead(-1);
    });
    // Whether the close comes before or during the wait, the answer is false; most often the
    // waiter is inside its wait by now.
    while (!started)
        std::this_thread::yield();
    for (int i = 0; i < 100; ++i)
        std::this_thread::yield();
    buffer.close();
    waiter.join();
    EXPECT_FALSE(result);
}

TEST(PThreadSafeBufferTest, timedWaitEndsTrueOnDataAndFalseOnTimeout)
{
    PThreadSafeBuffer buffer(64);
    ASSERT_TRUE(buffer.open(PIODevice::OpenDeviceBuffer));
    EXPECT_FALSE(buffer.waitForReadyRead(20));

    bool result = false;
    std::thread waiter([&] { result = buffer.waitForReadyRead(60000); });
    buffer.write("abc", 3);
    waiter.join();
    EXPECT_TRUE(result);
    EXPECT_EQ(buffer.availibleBytes(), 3u);

    PThreadSafeBuffer idle(8);
    EXPECT_FALSE(idle.waitForReadyRead(0)) << "closed";
    ASSERT_TRUE(idle.open(PIODevice::OpenDeviceBuffer));
    EXPECT_FALSE(idle.waitForReadyRead(0));
    idle.write("a", 1);
    EXPECT_TRUE(idle.waitForReadyRead(0));
    EXPECT_TRUE(idle.waitForBytesWriten(-1)) << "bytes available end any wait";

    PThreadSafeBuffer empty(0);
    ASSERT_TRUE(empty.open(PIODevice::OpenDeviceBuffer));
    EXPECT_FALSE(empty.waitForReadyRead(-1));
    PThreadSafeBuffer writeOnly(8);
    ASSERT_TRUE(writeOnly.open(PIODevice::OpenWrite));
    EXPECT_FALSE(writeOnly.waitForReadyRead(-1));
}

TEST(PThreadSafeBufferTest, concurrentWriterAndReaderLoseNoByte)
{
    PThreadSafeBuffer buffer(256);
    ASSERT_TRUE(buffer.open(PIODevice::OpenDeviceBuffer));
    const int total = 20000;
    std::thread writer([&] {
        for (int i = 0; i < total;) {
            const char byte = static_cast<char>(i & 0x7F);
            if (buffer.write(&byte, 1) == 1)
                ++i;
            else
                std::this_thread::yield();
        }
    });
    int received = 0;
    bool ordered = true;
    while (received < total) {
        buffer.waitForReadyRead(50);
        char chunk[64];
        const auto count = buffer.read(chunk, sizeof chunk);
        for (PIODevice::SizeType i = 0; i < count; ++i, ++received)
            ordered = ordered && chunk[i] == static_cast<char>(received & 0x7F);
    }
    writer.join();
    EXPECT_TRUE(ordered);
}

TEST(PEventTest, valuesCopiesAndMovesKeepTheirOwnFields)
{
    PIODeviceEvent event;
    EXPECT_EQ(event.type(), 17);
    event.setValue("input", PVariant());
    event.setValue("dev_id", "COM1");
    EXPECT_FALSE(event.value("input").isValid());
    EXPECT_FALSE(event.value("absent").isValid());
    EXPECT_EQ(event.fields().size(), 2u);

    event.setValue("input", PByteArray("AB"));
    std::unique_ptr<PEvent> copy(event.copy());
    ASSERT_NE(dynamic_cast<PIODeviceEvent*>(copy.get()), nullptr);
    event.setValue("input", PByteArray("CD"));
    EXPECT_EQ(copy->value("input").toByteArray().toStdString(), "AB");
    std::unique_ptr<PEvent> plain(PEvent(5).copy());
    EXPECT_EQ(plain->type(), 5);
    EXPECT_EQ(dynamic_cast<PIODeviceEvent*>(plain.get()), nullptr);

    PEvent target(std::move(*copy));
    EXPECT_EQ(target.type(), 17);
    EXPECT_EQ(target.value("dev_id").toStdString(), "COM1");
    EXPECT_EQ(copy->type(), 0);
    EXPECT_TRUE(copy->fields().empty());
    copy->setValue("again", 2);
    EXPECT_EQ(copy->value("again").toInt(), 2);

    // A key held by address is the same key as its text; writing a borrowed value gives the
    // event a copy of its own and leaves the lender's alone, also when the event moves.
    const PVariant lent(1);
    const PEvent::Field field{&PEventKeys::InputKey(), &lent};
    PIODeviceEvent byAddress(&field, 1);
    byAddress.setValue(PString("input"), PVariant(2));
    byAddress.keep(&PEventKeys::DevIdKey(), PVariant("id"));
    PIODeviceEvent moved;
    moved = PIODeviceEvent(std::move(byAddress));
    EXPECT_EQ(moved.fields().size(), 2u);
    EXPECT_EQ(moved.value(PEventKeys::InputKey()).toInt(), 2);
    EXPECT_EQ(moved.borrowValue(PEventKeys::DevIdKey()).toStdString(), "id");
    EXPECT_EQ(lent.toInt(), 1);
}

TEST(PIODeviceTest, openKeepsFlagsAndBaseWaitsAnswerFalse)
{
    RecordingDevice device;
    EXPECT_TRUE(device.open(PIODevice::OpenRead | PIODevice::OpenBuffered));
    EXPECT_EQ(device.openFlags(), PIODevice::OpenRead | PIODevice::OpenBuffered);
    EXPECT_FALSE(device.waitForReadyRead(-1));
    EXPECT_FALSE(device.waitForBytesWriten(10));
    EXPECT_EQ(device.skip(5), 0u);
    EXPECT_TRUE(device.close());
    EXPECT_TRUE(device.close()) << "closing again is harmless";
    EXPECT_FALSE(device.isOpen());

    RecordingDevice io;
    EXPECT_EQ(io.write(PByteArray()), 0u);
    EXPECT_EQ(io.writes, 0);
    EXPECT_EQ(io.write(PByteArray("abc")), 3u);
    EXPECT_EQ(io.writes, 1);

    EXPECT_TRUE(io.read(0).isEmpty());
    EXPECT_EQ(io.reads, 0);
    const PByteArray all = io.readAll();
    EXPECT_EQ(all.size(), 3u) << "the requested length stays even when fewer bytes came";
    EXPECT_EQ(all[0], 'r');

    // A parameter gives the stored value, even an invalid one, else the default.
    EXPECT_EQ(io.parameter("speed", 9600).toInt(), 9600);
    io.setParameter("alias", PVariant());
    EXPECT_FALSE(io.parameter("alias", "fallback").isValid());
    io.setParameter("speed", 115200);
    EXPECT_EQ(io.parameter("speed", 9600).toInt(), 115200);
}
