// PTimer, a callback on a thread of its own; PCurrentThread, PTime and PRandom.
#pragma once

#include "PGlobal.h"
#include "PSharedDataPtr.h"
#include "PWaitCondition.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <thread>

struct PTimerPrivate {
    std::function<void()> callback;
    int interval = 0;
    int count = -1;
    unsigned int flags = 0;
    int restartFlags = 0;        // guarded by mutex
    bool restartPending = false; // guarded by mutex
    int restartInterval = 0;     // guarded by mutex: the period a pending resume sets
    bool resting = false;        // guarded by mutex: no tick is due until a restart or resume
    bool started = false;        // guarded by mutex: the thread has taken over
    std::thread thread;
    std::atomic<int> state{0};   // 0 idle, 1 starting, 2 running, 3 stopping
    std::mutex mutex;            // guards restartFlags, restartPending and the start hand-over
    PWaitCondition condition;
};

// Runs a callback every interval milliseconds, count times (negative: without end). Flags 1
// makes the first run happen at once. The callback runs on the timer's thread. It may stop its
// own timer: stop() then returns at once and the thread ends when the callback returns, to be
// joined by the next start(), stop() or the destructor on another thread; isRunning() turns
// false once it has ended. It may also restart it, which takes effect when it returns. Not
// copyable; owns its record.
class PTimer {
public:
    PTimer();
    explicit PTimer(const std::function<void()>& callback);
    PTimer(const std::function<void()>& callback, const int& interval);
    PTimer(PTimer&& other) noexcept;
    // The target must not have a thread that was not joined.
    PTimer& operator=(PTimer&& other) noexcept;
    P_DISABLE_COPY(PTimer)
    // Stops and joins.
    ~PTimer();

    // Setters have no effect while the timer runs.
    void setCallback(const std::function<void()>& callback);
    void setInterval(const int& interval);
    void setCount(const int& count);
    void setFlags(unsigned int flags);
    int interval() const;
    int count() const;
    unsigned int flags() const;

    bool isRunning() const;
    // -1 keeps the stored interval or count; answers false for a refused start.
    bool start(const int& interval = -1, int flags = 0, const int& count = -1);
    // Running: the tick count starts again and bit 0 of flags runs the callback at once.
    // Not running: start with the stored values.
    bool restart(int flags = 0);
    // Ends the thread and waits for it: at most the callback's run and one interval. From the
    // timer's own callback it does not wait (see above).
    void stop();

    // Running: no tick comes until restart(), resume() or stop(), and the thread waits without
    // waking. From the callback it takes effect when the callback returns; from another thread,
    // after the tick under way, if any.
    void rest();
    // Running, resting or not: ticks again every interval milliseconds, the first one interval
    // from now. False when not running or for an interval below 1.
    bool resume(int interval);

    // Ticks on a detached thread that no handle controls.
    static bool shot(const std::function<void()>& callback, const int& interval, const int& count,
                     int flags = 0);

private:
    static void run(PTimerPrivate* d, std::function<void()> callback, int interval, int count,
                    unsigned int flags);
    static void runDetached(std::function<void()> callback, int interval, int count, unsigned int flags);
    PTimerPrivate* d;
};

class PCurrentThread {
public:
    static pthread_t getId();
    // One nanosleep each, not resumed when a signal ends it early.
    static void sleep(int milliseconds);
    static void mSleep(int microseconds);
    static void nSleep(int nanoseconds);
};

struct PTimePrivate;

// A stopwatch; copies are independent values.
class PTime {
public:
    PTime();
    PTime(const PTime& other) noexcept;
    PTime(PTime&& other) noexcept;
    PTime& operator=(const PTime& other) noexcept;
    PTime& operator=(PTime&& other) noexcept;
    ~PTime();
    bool start();
    void stop();
    bool isRunning() const;
    // Milliseconds since start(); 0 when not running. The argument takes no part.
    int64_t elapsed(int unit = 0) const;

private:
    PSharedDataPtr<PTimePrivate> d;
};

// Random numbers from one 64-bit Mersenne Twister per thread. Each thread keeps its engine in
// thread-local storage, so engines go with their threads instead of piling up in a table.
class PRandom {
public:
    // Uniform in min..max, both included; max must not be below min.
    static unsigned int randomI(unsigned int min, unsigned int max);
    // min + (max - min) * (one 64-bit draw / 2^64).
    static double randomR(double min, double max);
};
