// The process-wide table of Java handles.
#include "PJavaHandles.h"

#include <mutex>
#include <unordered_map>

namespace {

struct Entry {
    std::weak_ptr<void> object;
    const void* tag;
};

struct Table {
    // Guards next and entries; held only for a lookup or an update, never across a call out.
    std::mutex mutex;
    int64_t next = 1;
    std::unordered_map<int64_t, Entry> entries;
};

// Never destroyed: a Java thread may deliver while static destructors run at unload.
Table& table()
{
    static Table* instance = new Table;
    return *instance;
}

}

int64_t PJavaHandles::addErased(std::weak_ptr<void> object, Tag tag)
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    const int64_t handle = t.next++;
    t.entries.emplace(handle, Entry{std::move(object), tag});
    return handle;
}

void PJavaHandles::remove(int64_t handle)
{
    if (handle == 0) {
        return;
    }
    Table& t = table();
    std::weak_ptr<void> dropped;
    {
        std::lock_guard<std::mutex> lock(t.mutex);
        const auto found = t.entries.find(handle);
        if (found == t.entries.end()) {
            return;
        }
        dropped = std::move(found->second.object);
        t.entries.erase(found);
    }
    // The weak reference goes outside the lock: releasing it may free the control block.
}

std::shared_ptr<void> PJavaHandles::findErased(int64_t handle, Tag tag)
{
    if (handle == 0) {
        return nullptr;
    }
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    const auto found = t.entries.find(handle);
    if (found == t.entries.end() || found->second.tag != tag) {
        return nullptr;
    }
    // lock() only adds a strong count: the object can't be destroyed under the table's lock.
    return found->second.object.lock();
}

std::size_t PJavaHandles::count()
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    return t.entries.size();
}
