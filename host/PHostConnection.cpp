// The recording host connection and its platform information.
#include "PHostConnection.h"

#include <thread>

namespace {
std::u16string textOf(const char16_t* text)
{
    return text ? std::u16string(text) : std::u16string();
}
}

PHostPlatformInfo::PHostPlatformInfo(int32_t appType) : m_info{u"8.3", u"kelmor-host", appType} {}

const HostAppInfo* PHostPlatformInfo::getPlatformInfo()
{
    return &m_info;
}

void PHostPlatformInfo::setAppType(int32_t appType)
{
    m_info.application = appType;
}

PHostConnection::PHostConnection() = default;

PHostConnection::~PHostConnection() = default;

bool PHostConnection::reportError(unsigned short level, const char16_t* source, const char16_t* text,
                                  long code)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_errors.push_back({level, textOf(source), textOf(text), code});
    return true;
}

bool PHostConnection::read(char16_t*, tVariant*, long*, char16_t**)
{
    return false;
}

bool PHostConnection::write(char16_t*, tVariant*)
{
    return false;
}

bool PHostConnection::registerProfileAs(char16_t*)
{
    return false;
}

bool PHostConnection::setEventBufferDepth(long depth)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_eventBufferDepth = depth;
    return true;
}

long PHostConnection::getEventBufferDepth()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_eventBufferDepth;
}

bool PHostConnection::externalEvent(char16_t* source, char16_t* name, char16_t* data)
{
    std::chrono::microseconds delay;
    PHostExternalEvent event{textOf(source), textOf(name), textOf(data)};
    std::shared_ptr<const EventHandler> handler;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
        delay = m_eventDelay;
        handler = m_eventHandler;
    }
    if (delay.count() > 0)
        std::this_thread::sleep_for(delay);
    m_eventCame.notify_all();
    if (handler && *handler)
        (*handler)(event);
    return true;
}

void PHostConnection::setEventHandler(EventHandler handler)
{
    auto held = std::make_shared<const EventHandler>(std::move(handler));
    std::lock_guard<std::mutex> lock(m_mutex);
    m_eventHandler = std::move(held);
}

void PHostConnection::cleanEventBuffer() {}

bool PHostConnection::setStatusLine(char16_t*)
{
    return true;
}

void PHostConnection::resetStatusLine() {}

void* PHostConnection::queryInterface(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (id == eHostPlatformInfo)
        return static_cast<IHostPlatformInfo*>(&m_platformInfo);
    if (id == eHostAndroidHelper)
        return m_androidHelper;
    return nullptr;
}

void PHostConnection::setAndroidHelper(void* helper)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_androidHelper = helper;
}

void PHostConnection::setEventDelay(std::chrono::microseconds delay)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_eventDelay = delay;
}

void PHostConnection::setAppType(int32_t appType)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_platformInfo.setAppType(appType);
}

std::vector<PHostReportedError> PHostConnection::errors() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_errors;
}

std::vector<PHostExternalEvent> PHostConnection::events() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

bool PHostConnection::waitForEvents(size_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_eventCame.wait_for(lock, timeout, [&] { return m_events.size() >= count; });
}

std::vector<PHostExternalEvent> PHostConnection::takeEvents()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<PHostExternalEvent> taken;
    taken.swap(m_events);
    return taken;
}

void PHostConnection::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_errors.clear();
    m_events.clear();
}
