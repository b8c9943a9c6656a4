// WaitCounter: a count that one thread raises and another waits on with a deadline, so that a
// test waits for what it expects instead of sleeping and hoping.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kelmortest {

class WaitCounter {
public:
    void add(long n = 1)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_count += n;
        m_changed.notify_all();
    }
    long count() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    // True once the count reaches target; false when the time runs out first.
    bool waitFor(long target, std::chrono::milliseconds limit = std::chrono::seconds(10)) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, limit, [&] { return m_count >= target; });
    }

private:
    mutable std::mutex m_mutex;  // guards m_count
    mutable std::condition_variable m_changed;
    long m_count = 0;
};

}
