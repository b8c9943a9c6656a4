// PLocale: the process-wide language of messages.
#include "PLocale.h"

#include <atomic>

namespace {
std::atomic<int> gDefaultLocale{PLocale::English};
}

PLocale::LocaleID PLocale::getDefaultLocaleId()
{
    return gDefaultLocale.load(std::memory_order_acquire);
}

void PLocale::setDefaultLocaleId(LocaleID id)
{
    gDefaultLocale.store(id, std::memory_order_release);
}
