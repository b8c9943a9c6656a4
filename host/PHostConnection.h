// PHostConnection: the host's connection (IAddInDefBaseEx) that records what a component
// reports and raises, and the platform information it answers with.
#pragma once

#include "HostInterface.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct PHostReportedError {
    unsigned short level;
    std::u16string source;
    std::u16string text;
    long code;
};

struct PHostExternalEvent {
    std::u16string source;
    std::u16string name;
    std::u16string data;
};

// The answer to queryInterface(1): an application type that a test may choose.
class PHostPlatformInfo : public IHostPlatformInfo {
public:
    explicit PHostPlatformInfo(int32_t appType = eAppMobileClient);
    const HostAppInfo* getPlatformInfo() override;
    void setAppType(int32_t appType);

private:
    HostAppInfo m_info;
};

// Records every reportError and externalEvent with its texts. queryInterface(1) gives the
// platform information, queryInterface(2) whatever helper was set (null by default).
// Thread-safety: every operation may be called from any thread (events come from device
// threads); the records are read as copies.
class PHostConnection : public IAddInDefBaseEx {
public:
    PHostConnection();
    ~PHostConnection() override;
    PHostConnection(const PHostConnection&) = delete;
    PHostConnection& operator=(const PHostConnection&) = delete;

    bool reportError(unsigned short level, const char16_t* source, const char16_t* text,
                     long code) override;
    bool read(char16_t* name, tVariant* value, long* errorCode, char16_t** errorText) override;
    bool write(char16_t* name, tVariant* value) override;
    bool registerProfileAs(char16_t* profileName) override;
    bool setEventBufferDepth(long depth) override;
    long getEventBufferDepth() override;
    bool externalEvent(char16_t* source, char16_t* name, char16_t* data) override;
    void cleanEventBuffer() override;
    bool setStatusLine(char16_t* text) override;
    void resetStatusLine() override;
    void* queryInterface(int id) override;

    // The object queryInterface(2) answers with; not owned, must outlive the components.
    void setAndroidHelper(void* helper);
    void setAppType(int32_t appType);
    // Makes every externalEvent take at least this long, as a busy host does.
    void setEventDelay(std::chrono::microseconds delay);
    // The host's own event handler: runs inside every externalEvent after the event is
    // recorded, on the delivering thread and outside the connection's lock, so it may call
    // the library back. Replacing it doesn't wait for a run already under way.
    using EventHandler = std::function<void(const PHostExternalEvent&)>;
    void setEventHandler(EventHandler handler);

    std::vector<PHostReportedError> errors() const;
    std::vector<PHostExternalEvent> events() const;
    // The events recorded so far, which the connection then forgets: for a long run.
    std::vector<PHostExternalEvent> takeEvents();
    // Waits until at least count events have come or the timeout passed; true when they came.
    bool waitForEvents(size_t count, std::chrono::milliseconds timeout) const;
    void clear();

private:
    mutable std::mutex m_mutex;  // guards every member below
    mutable std::condition_variable m_eventCame;
    std::vector<PHostReportedError> m_errors;
    std::vector<PHostExternalEvent> m_events;
    long m_eventBufferDepth = 1;
    PHostPlatformInfo m_platformInfo;
    void* m_androidHelper = nullptr;
    std::chrono::microseconds m_eventDelay{0};
    std::shared_ptr<const EventHandler> m_eventHandler;
};
