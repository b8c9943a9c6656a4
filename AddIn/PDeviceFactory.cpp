// PDeviceFactory: the process-wide choice of factory.
#include "PDeviceFactory.h"

#include <mutex>

namespace {

struct FactorySlot {
    std::mutex mutex;  // guards factory
    std::shared_ptr<PDeviceFactory> factory;
};

FactorySlot& slot()
{
    static FactorySlot instance;
    return instance;
}

}

PDeviceFactory::~PDeviceFactory() = default;

std::shared_ptr<PDeviceFactory> PDeviceFactory::current()
{
    {
        FactorySlot& s = slot();
        std::lock_guard<std::mutex> lock(s.mutex);
        if (s.factory)
            return s.factory;
    }
    return pDefaultDeviceFactory();
}

void PDeviceFactory::setCurrent(std::shared_ptr<PDeviceFactory> factory)
{
    FactorySlot& s = slot();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.factory.swap(factory);
    // The one replaced goes after the lock: its destructor may be anything.
}
