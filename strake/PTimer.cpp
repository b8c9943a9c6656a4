// PTimer, PCurrentThread, PTime and PRandom.
#include "PTimer.h"

#include <chrono>
#include <ctime>
#include <limits>
#include <random>

namespace {

// One tick is over: a negative count runs on, the last run ends the timer.
bool countDown(int& remaining)
{
    if (remaining < 0)
        return true;
    if (remaining <= 1)
        return false;
    --remaining;
    return true;
}

// The timer whose thread this is, while its body runs: a stop() from inside its own callback
// must not wait for itself.
thread_local const PTimerPrivate* t_ownTimer = nullptr;

void runSafely(const std::function<void()>& callback)
{
    try {
        callback();
    } catch (...) {
        // A failing tick must not end the process; the callback reports its own errors.
    }
}

}

PTimer::PTimer() : d(new PTimerPrivate) {}

PTimer::PTimer(const std::function<void()>& callback) : d(new PTimerPrivate)
{
    d->callback = callback;
}

PTimer::PTimer(const std::function<void()>& callback, const int& interval) : d(new PTimerPrivate)
{
    d->callback = callback;
    d->interval = interval;
}

PTimer::PTimer(PTimer&& other) noexcept : d(other.d)
{
    other.d = nullptr;
}

PTimer& PTimer::operator=(PTimer&& other) noexcept
{
    if (this != &other) {
        if (d)
            stop();
        delete d;
        d = other.d;
        other.d = nullptr;
    }
    return *this;
}

PTimer::~PTimer()
{
    if (d) {
        stop();
        delete d;
    }
}

void PTimer::setCallback(const std::function<void()>& callback)
{
    if (d && !isRunning())
        d->callback = callback;
}

void PTimer::setInterval(const int& interval)
{
    if (d && !isRunning())
        d->interval = interval;
}

void PTimer::setCount(const int& count)
{
    if (d && !isRunning())
        d->count = count;
}

void PTimer::setFlags(unsigned int flags)
{
    if (d && !isRunning())
        d->flags = flags;
}

int PTimer::interval() const
{
    return d ? d->interval : 0;
}

int PTimer::count() const
{
    return d ? d->count : 0;
}

unsigned int PTimer::flags() const
{
    return d ? d->flags : 0;
}

bool PTimer::isRunning() const
{
    return d && d->thread.joinable() && d->state.load() != 0;
}

bool PTimer::start(const int& interval, int flags, const int& count)
{
    if (!d || isRunning() || !d->callback)
        return false;
    stop();
    if (interval > 0)
        d->interval = interval;
    if (count > 0)
        d->count = count;
    if (d->count == 0 || (d->interval == 0 && d->count < 0))
        return false;
    if (flags != 0)
        d->flags = static_cast<unsigned int>(flags);

    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->started = false;
        d->restartPending = false;
        d->restartFlags = 0;
        d->restartInterval = 0;
        d->resting = false;
    }
    d->thread = std::thread(&PTimer::run, d, d->callback, d->interval, d->count, d->flags);
    {
        std::unique_lock<std::mutex> lock(d->mutex);
        d->condition.wait(lock, [this] { return d->started; });
    }
    return isRunning();
}

bool PTimer::restart(int flags)
{
    if (!d)
        return false;
    if (!isRunning())
        return start(d->interval, flags, d->count);
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->restartFlags = flags;
        d->restartPending = true;
    }
    d->condition.notify_all();
    return true;
}

void PTimer::stop()
{
    if (!d)
        return;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->state.store(3);
    }
    d->condition.notify_all();
    // From its own callback the thread ends once the callback returns; whoever starts, stops or
    // destroys the timer next joins it. The handle is not looked at then: the starter may still
    // be writing it.
    if (t_ownTimer == d)
        return;
    if (d->thread.joinable())
        d->thread.join();
}

void PTimer::rest()
{
    if (!d)
        return;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->resting = true;
    }
    d->condition.notify_all();
}

bool PTimer::resume(int interval)
{
    if (!d || !isRunning() || interval <= 0)
        return false;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->restartFlags = 0;
        d->restartInterval = interval;
        d->restartPending = true;
    }
    d->condition.notify_all();
    return true;
}

void PTimer::run(PTimerPrivate* d, std::function<void()> callback, int interval, int count,
                 unsigned int flags)
{
    // Named so that a look at the process's threads tells the timer from the rest.
    pthread_setname_np(pthread_self(), "PTimer");
    t_ownTimer = d;
    int remaining = count;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->state.store(1);
        d->state.store(2);
        d->started = true;
    }
    d->condition.notify_all();

    if (interval == 0) {
        for (int i = 0; i < remaining; ++i)
            runSafely(callback);
        d->state.store(3);
    } else if (flags == 1) {
        runSafely(callback);
        if (!countDown(remaining))
            d->state.store(3);
    }

    // Ticks keep their rate: each is due one interval after the previous one was due, not
    // after it ended, so the callback's own time doesn't stretch the period. A timer that fell
    // a whole interval behind (a long callback, a stalled machine) starts afresh from now
    // rather than ticking in a burst to catch up. A steady clock: a change of the wall clock
    // must not stretch or skip a tick.
    // A resting timer waits without a deadline: its thread does not wake until a restart, a
    // resume or a stop.
    auto period = std::chrono::milliseconds(interval);
    auto deadline = std::chrono::steady_clock::now() + period;
    while (d->state.load() == 2) {
        std::unique_lock<std::mutex> lock(d->mutex);
        const auto due = [d] { return d->state.load() != 2 || d->restartPending || d->resting; };
        if (d->resting)
            d->condition.wait(lock, [d] { return d->state.load() != 2 || d->restartPending; });
        const bool woken = d->condition.wait_until(lock, deadline, due);
        if (!woken) {
            lock.unlock();
            runSafely(callback);
            if (!countDown(remaining))
                break;
            deadline += period;
            const auto now = std::chrono::steady_clock::now();
            if (deadline < now)
                deadline = now + period;
        } else if (d->restartPending && d->state.load() == 2) {
            remaining = d->count;
            const bool tickNow = (d->restartFlags & 1) != 0;
            if (d->restartInterval > 0)
                period = std::chrono::milliseconds(d->restartInterval);
            d->restartInterval = 0;
            d->restartFlags = 0;
            d->restartPending = false;
            d->resting = false;
            // Outside the lock: the callback may stop or restart its own timer.
            lock.unlock();
            if (tickNow) {
                runSafely(callback);
                if (remaining > 0)
                    --remaining;
            }
            deadline = std::chrono::steady_clock::now() + period;
        } else if (d->state.load() != 2) {
            break;
        }
    }
    d->state.store(0);
}

bool PTimer::shot(const std::function<void()>& callback, const int& interval, const int& count,
                  int flags)
{
    if (!callback || count == 0 || (interval == 0 && count < 0))
        return false;
    std::thread(&PTimer::runDetached, callback, interval, count, static_cast<unsigned int>(flags)).detach();
    return true;
}

void PTimer::runDetached(std::function<void()> callback, int interval, int count, unsigned int flags)
{
    int remaining = count;
    if (interval == 0) {
        for (int i = 0; i < remaining; ++i)
            runSafely(callback);
        return;
    }
    if (flags == 1) {
        runSafely(callback);
        if (!countDown(remaining))
            return;
    }
    for (;;) {
        PCurrentThread::sleep(interval);
        runSafely(callback);
        if (!countDown(remaining))
            return;
    }
}

pthread_t PCurrentThread::getId()
{
    return pthread_self();
}

static void sleepNanoseconds(long long nanoseconds)
{
    if (nanoseconds <= 0)
        return;
    timespec request;
    request.tv_sec = static_cast<time_t>(nanoseconds / 1000000000LL);
    request.tv_nsec = static_cast<long>(nanoseconds % 1000000000LL);
    nanosleep(&request, nullptr);
}

void PCurrentThread::sleep(int milliseconds)
{
    sleepNanoseconds(static_cast<long long>(milliseconds) * 1000000LL);
}

void PCurrentThread::mSleep(int microseconds)
{
    sleepNanoseconds(static_cast<long long>(microseconds) * 1000LL);
}

void PCurrentThread::nSleep(int nanoseconds)
{
    sleepNanoseconds(nanoseconds);
}

static int64_t monotonicNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct PTimePrivate {
    bool running = false;
    int64_t startedAt = 0;  // nanoseconds of the monotonic clock
};

PTime::PTime() = default;
PTime::PTime(const PTime& other) noexcept = default;
PTime::PTime(PTime&& other) noexcept = default;
PTime& PTime::operator=(const PTime& other) noexcept = default;
PTime& PTime::operator=(PTime&& other) noexcept = default;

PTime::~PTime()
{
    stop();
}

bool PTime::start()
{
    PTimePrivate* record = d.data();
    record->running = true;
    record->startedAt = monotonicNanoseconds();
    return isRunning();
}

void PTime::stop()
{
    if (d.constData()->running)
        d->running = false;
}

bool PTime::isRunning() const
{
    return d->running;
}

int64_t PTime::elapsed(int) const
{
    if (!d->running)
        return 0;
    return (monotonicNanoseconds() - d->startedAt) / 1000000;
}

namespace {

std::mt19937_64& threadEngine()
{
    thread_local std::mt19937_64 engine([] {
        std::random_device device("default");
        return static_cast<std::mt19937_64::result_type>(device());
    }());
    return engine;
}

}

unsigned int PRandom::randomI(unsigned int min, unsigned int max)
{
    if (max < min)
        return min;
    const uint64_t n = uint64_t(max) - uint64_t(min) + 1;
    const uint64_t scale = std::numeric_limits<uint64_t>::max() / n;
    uint64_t value;
    do {
        value = threadEngine()();
    } while (value >= scale * n);
    return static_cast<unsigned int>(min + value / scale);
}

double PRandom::randomR(double min, double max)
{
    const double unit = static_cast<double>(threadEngine()()) / 18446744073709551616.0;
    return min + (max - min) * unit;
}
