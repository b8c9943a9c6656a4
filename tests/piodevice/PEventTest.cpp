// Tests of PEvent, PIODeviceEvent and the PIODevice / PIOCustomDevice frame.
#include "PEvent.h"
#include "PEventKeys.h"
#include "PIODevice.h"

#include <gtest/gtest.h>

#include <memory>

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

    // A key held by address is the same key as its text.
    PIODeviceEvent byAddress(std::vector<PEvent::Field>{{&PEventKeys::InputKey(), PVariant(1)}});
    byAddress.setValue(PString("input"), PVariant(2));
    EXPECT_EQ(byAddress.fields().size(), 1u);
    EXPECT_EQ(byAddress.value(PEventKeys::InputKey()).toInt(), 2);
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

