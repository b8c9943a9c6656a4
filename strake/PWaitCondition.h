// PWaitCondition, a condition variable whose timed waits run on the monotonic clock.
#pragma once

#include "PGlobal.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>

// Used like std::condition_variable with a std::mutex, and named like it so that it can stand in
// for one. A deadline is a steady_clock time point, and the wait is a pthread_cond_timedwait on
// a condition made with CLOCK_MONOTONIC: a change of the wall clock neither cuts a wait short nor
// stretches it, and the library asks the C library for nothing newer than the timed wait itself.
// Thread-safe as a condition variable is; not copyable. Waiters must be gone before destruction.
class PWaitCondition {
public:
    PWaitCondition();
    ~PWaitCondition();
    P_DISABLE_COPY(PWaitCondition)

    void notify_one() noexcept;
    void notify_all() noexcept;

    // The lock must hold its mutex. Spurious wake-ups are possible, as with any condition variable.
    void wait(std::unique_lock<std::mutex>& lock);
    std::cv_status wait_until(std::unique_lock<std::mutex>& lock,
                              std::chrono::steady_clock::time_point deadline);

    template <class Predicate>
    void wait(std::unique_lock<std::mutex>& lock, Predicate ready)
    {
        while (!ready())
            wait(lock);
    }

    // Answers ready() as it stands when the wait ends, like std::condition_variable.
    template <class Predicate>
    bool wait_until(std::unique_lock<std::mutex>& lock, std::chrono::steady_clock::time_point deadline,
                    Predicate ready)
    {
        while (!ready()) {
            if (wait_until(lock, deadline) == std::cv_status::timeout)
                return ready();
        }
        return true;
    }

private:
    pthread_cond_t condition;
};
