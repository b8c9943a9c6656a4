// PWaitCondition: pthread_cond_t on CLOCK_MONOTONIC.
#include "PWaitCondition.h"

#include <cerrno>
#include <ctime>
#include <system_error>

PWaitCondition::PWaitCondition()
{
    pthread_condattr_t attributes;
    int result = pthread_condattr_init(&attributes);
    if (result == 0) {
        result = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        if (result == 0)
            result = pthread_cond_init(&condition, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    if (result != 0)
        throw std::system_error(result, std::system_category(), "pthread_cond_init");
}

PWaitCondition::~PWaitCondition()
{
    pthread_cond_destroy(&condition);
}

void PWaitCondition::notify_one() noexcept
{
    pthread_cond_signal(&condition);
}

void PWaitCondition::notify_all() noexcept
{
    pthread_cond_broadcast(&condition);
}

void PWaitCondition::wait(std::unique_lock<std::mutex>& lock)
{
    pthread_cond_wait(&condition, lock.mutex()->native_handle());
}

std::cv_status PWaitCondition::wait_until(std::unique_lock<std::mutex>& lock,
                                          std::chrono::steady_clock::time_point deadline)
{
    // steady_clock and CLOCK_MONOTONIC need not share an epoch: carry the time left over from
    // one to the other.
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left <= std::chrono::steady_clock::duration::zero())
        return std::cv_status::timeout;
    const long long leftNs = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
    timespec until;
    clock_gettime(CLOCK_MONOTONIC, &until);
    long long nanoseconds = until.tv_nsec + leftNs % 1000000000LL;
    until.tv_sec += static_cast<time_t>(leftNs / 1000000000LL + nanoseconds / 1000000000LL);
    until.tv_nsec = static_cast<long>(nanoseconds % 1000000000LL);
    const int result = pthread_cond_timedwait(&condition, lock.mutex()->native_handle(), &until);
    if (result == ETIMEDOUT || std::chrono::steady_clock::now() >= deadline)
        return std::cv_status::timeout;
    return std::cv_status::no_timeout;
}
