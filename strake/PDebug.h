// PDebug: a debug message that collects text and delivers it when it goes out of scope;
// the process-wide logger, handler and level behind it.
#pragma once

#include <functional>
#include <memory>
#include <sstream>
#include <string>

class PLogger;

struct DebugMessageContext {
    int type = 0;  // 0 debug, 1 warning, 2 fatal
    unsigned short level = 0;
};

using PDebugMessageHandler = std::function<void(const DebugMessageContext&, const std::string&)>;

struct PDebugGlobal {
    PDebugGlobal();
    ~PDebugGlobal();
    PLogger* logger;  // owned
    PDebugMessageHandler handler;
    int debugLevel = -1;
};
// Created on first use; not locked: set it up before threads start.
extern std::unique_ptr<PDebugGlobal> gDebugGlobal;

struct PDebugPrivate {
    unsigned short level = 0;
    std::ostringstream stream;
    PDebugMessageHandler handler;
};

// One message. It formats nothing unless it will be delivered: its level is within the
// debug level, or it has a handler of its own. Belongs to one thread.
class PDebug {
public:
    explicit PDebug(unsigned short level);
    explicit PDebug(const PDebugMessageHandler& handler);
    PDebug(PDebug&& other) noexcept;
    PDebug& operator=(PDebug&& other) noexcept;
    PDebug(const PDebug&) = delete;
    PDebug& operator=(const PDebug&) = delete;
    // Delivers the text; nothing escapes.
    virtual ~PDebug();

    static PDebug getInstance(unsigned short level) { return PDebug(level); }
    static PDebug getInstance(const PDebugMessageHandler& handler) { return PDebug(handler); }

    static void setDebugLevel(unsigned short level);
    // -1 while the global record does not exist.
    static int debugLevel();

    bool isDebuging() const;

    PDebug& operator<<(bool value);
    PDebug& operator<<(char value);
    PDebug& operator<<(short value);
    PDebug& operator<<(unsigned short value);
    PDebug& operator<<(int value);
    PDebug& operator<<(unsigned int value);
    PDebug& operator<<(long value);
    PDebug& operator<<(unsigned long value);
    PDebug& operator<<(long long value);
    PDebug& operator<<(unsigned long long value);
    PDebug& operator<<(float value);
    PDebug& operator<<(double value);
    PDebug& operator<<(const std::string& value);
    PDebug& operator<<(const char* value);

    PDebug& write(const char* format, ...) __attribute__((format(printf, 2, 3)));
    PDebug& write(unsigned long size, const char* format, ...) __attribute__((format(printf, 3, 4)));

private:
    template <class T>
    PDebug& append(const T& value);
    std::unique_ptr<PDebugPrivate> d;
};

inline PDebug pDebug(const PDebugMessageHandler& handler)
{
    return PDebug::getInstance(handler);
}

void pInstallDebugLogger(PLogger* logger);
PLogger* pDebugLogger();
void pInstallDebugMessageHandler(const PDebugMessageHandler& handler);
PDebugMessageHandler pDebugMessageHandler();
