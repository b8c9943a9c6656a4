// The call gate: passes counted per gate and per thread.
#include "PCallGate.h"

#include <algorithm>
#include <vector>

namespace {

// The gates whose passes the calling thread holds, once per pass: a thread may be inside the
// same gate more than once (a call that calls in again), and close() must not wait for it.
thread_local std::vector<const PCallGate*> heldByThisThread;

int heldHere(const PCallGate* gate)
{
    return static_cast<int>(std::count(heldByThisThread.begin(), heldByThisThread.end(), gate));
}

}

PCallGate::Pass::Pass(PCallGate& gate) : gate_(gate.enter() ? &gate : nullptr) {}

PCallGate::Pass::~Pass()
{
    if (gate_)
        gate_->leave();
}

PCallGate::~PCallGate()
{
    close();
}

bool PCallGate::enter()
{
    long state = state_.load(std::memory_order_acquire);
    do {
        if (state & Closed)
            return false;
    } while (!state_.compare_exchange_weak(state, state + 1, std::memory_order_acq_rel,
                                           std::memory_order_acquire));
    heldByThisThread.push_back(this);
    return true;
}

void PCallGate::leave()
{
    // The last pass of this gate on this thread: erase from the back, where nested ones are.
    const auto held = std::find(heldByThisThread.rbegin(), heldByThisThread.rend(), this);
    if (held != heldByThisThread.rend())
        heldByThisThread.erase(std::next(held).base());
    long state = state_.load(std::memory_order_acquire);
    while (!(state & Closed)) {
        if (state_.compare_exchange_weak(state, state - 1, std::memory_order_acq_rel,
                                         std::memory_order_acquire))
            return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    state_.fetch_sub(1, std::memory_order_acq_rel);
    // Notified under the lock: the closer may free the gate as soon as it sees the count drop.
    left_.notify_all();
}

void PCallGate::close()
{
    const long mine = heldHere(this);
    std::unique_lock<std::mutex> lock(mutex_);
    state_.fetch_or(Closed, std::memory_order_acq_rel);
    left_.wait(lock, [&] { return (state_.load(std::memory_order_acquire) & ~Closed) <= mine; });
}

void PCallGate::shut()
{
    std::lock_guard<std::mutex> lock(mutex_);
    state_.fetch_or(Closed, std::memory_order_acq_rel);
}

bool PCallGate::isOpen() const
{
    return !(state_.load(std::memory_order_acquire) & Closed);
}
