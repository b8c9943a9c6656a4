// Life-cycle checks that every device kind must pass, each given a maker of the device.
#pragma once

#include "PEvent.h"
#include "PEventKeys.h"
#include "PIODevice.h"
#include "TestSupport.h"
#include "WaitCounter.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace kelmortest {

using MakeDevice = std::function<std::shared_ptr<PIOCustomDevice>()>;

// Keeps the log at warnings for a scope: a flood would write a line per packet.
class QuietLog {
public:
    QuietLog() : m_priority(__android_log_get_minimum_priority())
    {
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);
    }
    ~QuietLog() { __android_log_set_minimum_priority(m_priority); }

private:
    int m_priority;
};

// For keyboard devices, which raise an event at every tick: whether the tick carried keys.
inline bool carriesKeys(PEvent* event)
{
    return !event->value(PEventKeys::KeyboardInputKey()).toByteArray().isEmpty();
}

// The device's last error as "[code]message", to compare in one go.
inline std::string errorText(const PIODevice& device)
{
    const PError error = device.getLastError();
    return "[" + std::to_string(error.code()) + "]" + error.message().toStdString();
}

// Opens a device, waits for its first event that `counts` (any, without it) and closes it,
// 10,000 times or as many as `limit` allows, and at least 500; `before` runs ahead of each cycle.
inline void openStreamCloseCycles(const char* name, const MakeDevice& make, int flags,
                                  const std::function<bool(PEvent*)>& counts = nullptr,
                                  const std::function<void(int)>& before = nullptr,
                                  std::chrono::seconds limit = kStressTime)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int cycles = 0;
    for (; cycles < 10000 && std::chrono::steady_clock::now() < deadline; ++cycles) {
        if (before)
            before(cycles);
        // Shared: a delivery that took the device before the close may still call it after.
        auto streamed = std::make_shared<WaitCounter>();
        const std::shared_ptr<PIOCustomDevice> device = make();
        device->setCallback([streamed, counts](PEvent* event) {
            if (!counts || counts(event))
                streamed->add();
        });
        ASSERT_TRUE(device->open(flags)) << device->getLastError().toString().toStdString();
        ASSERT_TRUE(streamed->waitFor(1)) << name << " cycle " << cycles;
        device->close();
    }
    EXPECT_GE(cycles, 500);
    std::printf("%d %s cycles\n", cycles, name);
}

// Ahead of each cycle of a device that shares a run with `anchor`: every tenth cycle the anchor
// is closed, so that the device starts and stops the run alone.
inline std::function<void(int)> aloneEveryTenthCycle(PIOCustomDevice& anchor)
{
    return [&anchor](int cycle) {
        if (cycle % 10 == 0)
            anchor.close();
        else if (!anchor.isOpen()) {
            ASSERT_TRUE(anchor.open(1));
        }
    };
}

// The callback closes the device or lets its last reference go, or both: nothing freed is touched
// (ASan watches), a dropped device goes, and after `settle` no other delivery came.
inline void closeOrDropInsideCallback(const MakeDevice& make, int flags, bool close, bool drop,
                                      const std::function<void()>& settle = nullptr)
{
    std::shared_ptr<PIOCustomDevice> device = make();
    const std::weak_ptr<PIOCustomDevice> watched = device;
    auto owner = std::make_shared<std::shared_ptr<PIOCustomDevice>>(drop ? device : nullptr);
    const auto calls = std::make_shared<WaitCounter>();
    // The first delivery may come while open() is still under way: the callback acts once the
    // test has let go of its own reference, so that what it does is the whole of the host's.
    const auto handedOver = std::make_shared<WaitCounter>();
    PIOCustomDevice* raw = device.get();
    device->setCallback([raw, owner, calls, handedOver, close](PEvent*) {
        calls->add();
        if (!handedOver->waitFor(1))
            return;
        if (close)
            raw->close();
        owner->reset();
    });
    ASSERT_TRUE(device->open(flags)) << device->getLastError().toString().toStdString();
    if (drop)
        device.reset();
    handedOver->add();
    ASSERT_TRUE(calls->waitFor(1));
    if (drop) {
        EXPECT_TRUE(eventually([&] { return watched.expired(); }));
    }
    if (settle) {
        settle();
        EXPECT_EQ(calls->count(), 1) << "a delivery reached a closed or dropped device";
    }
}

// The host lets the device go (closing it first when asked) while its callback runs: the device
// stays whole until the callback returns, and `whole` checks it from inside; then it goes.
inline void letGoDuringCallback(const MakeDevice& make, int flags, bool closeFirst,
                                const std::function<void(PIOCustomDevice&)>& whole = nullptr)
{
    WaitCounter inside, released, finished;
    std::shared_ptr<PIOCustomDevice> device = make();
    const std::weak_ptr<PIOCustomDevice> watched = device;
    PIOCustomDevice* raw = device.get();
    device->setCallback([&, raw](PEvent*) {
        if (inside.count() > 0)
            return;
        inside.add();
        ASSERT_TRUE(released.waitFor(1));
        if (whole)
            whole(*raw);
        finished.add();
    });
    ASSERT_TRUE(device->open(flags));
    ASSERT_TRUE(inside.waitFor(1));
    if (closeFirst)
        device->close();
    device.reset();
    EXPECT_FALSE(watched.expired()) << "destroyed while its callback ran";
    released.add();
    EXPECT_TRUE(eventually([&] { return watched.expired(); }));
    EXPECT_EQ(finished.count(), 1);
}

}
