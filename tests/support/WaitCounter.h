// Counts and texts to wait on with a deadline, and polling for states nothing signals.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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

// Texts that callbacks record; the count is the number recorded.
class TextLog : public WaitCounter {
public:
    void record(std::string text)
    {
        {
            std::lock_guard<std::mutex> lock(m_textsMutex);
            m_texts.push_back(std::move(text));
        }
        add();
    }
    // The i-th text (the last for -1), or "<none>".
    std::string at(long i) const
    {
        std::lock_guard<std::mutex> lock(m_textsMutex);
        const long index = i < 0 ? long(m_texts.size()) + i : i;
        return index >= 0 && index < long(m_texts.size()) ? m_texts[size_t(index)] : "<none>";
    }

private:
    mutable std::mutex m_textsMutex;  // guards m_texts
    std::vector<std::string> m_texts;
};

// Waits, polling, until the condition holds; false after ten seconds. Only for states that no
// event tells (a link that went down, a device that went).
template <class Condition>
bool eventually(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}
