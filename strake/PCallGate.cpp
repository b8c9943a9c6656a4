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
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!open_)
            return false;
        ++inside_;
    }
    heldByThisThread.push_back(this);
    return true;
}

void PCallGate::leave()
{
    // The last pass of this gate on this thread: erase from the back, where nested ones are.
    const auto held = std::find(heldByThisThread.rbegin(), heldByThisThread.rend(), this);
    if (held != heldByThisThread.rend())
        heldByThisThread.erase(std::next(held).base());
    std::lock_guard<std::mutex> lock(mutex_);
    --inside_;
    // Notified under the lock: the closer may free the gate as soon as it sees inside_ drop.
    left_.notify_all();
}

void PCallGate::close()
{
    const int mine = heldHere(this);
    std::unique_lock<std::mutex> lock(mutex_);
    open_ = false;
    left_.wait(lock, [&] { return inside_ <= mine; });
}

bool PCallGate::isOpen() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return open_;
}
