// PDebug: debug messages, delivered to the global handler and the Android log, or to a
// handler of their own.
#include "PDebug.h"

#include "PLogger.h"

#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <thread>
#include <vector>

std::unique_ptr<PDebugGlobal> gDebugGlobal;

namespace {

void defaultHandler(const DebugMessageContext& context, const std::string& text)
{
    std::ostringstream line;
    switch (context.type) {
    case 0:
        line << "[D(" << context.level << ")]{" << std::this_thread::get_id() << "}" << text << "\n";
        break;
    case 1:
        line << "[W]" << text << "\n";
        break;
    case 2:
        line << "[F]" << text << "\n";
        break;
    default:
        return;
    }
    if (gDebugGlobal && gDebugGlobal->logger)
        *gDebugGlobal->logger << line.str();
}

PDebugGlobal& debugGlobal()
{
    if (!gDebugGlobal)
        gDebugGlobal.reset(new PDebugGlobal());
    return *gDebugGlobal;
}

}

PDebugGlobal::PDebugGlobal() : logger(new PLogger(&std::cout)), handler(defaultHandler) {}

PDebugGlobal::~PDebugGlobal()
{
    delete logger;
}

PDebug::PDebug(unsigned short level) : d(new PDebugPrivate)
{
    d->level = level;
}

PDebug::PDebug(const PDebugMessageHandler& handler) : d(new PDebugPrivate)
{
    d->handler = handler;
}

PDebug::PDebug(PDebug&& other) noexcept = default;
PDebug& PDebug::operator=(PDebug&& other) noexcept = default;

PDebug::~PDebug()
{
    if (!d)
        return;  // moved from
    try {
        const std::string text = d->stream.str();
        if (text.empty())
            return;
        DebugMessageContext context;
        context.type = 0;
        context.level = d->level;
        if (int(d->level) <= debugLevel()) {
            PDebugMessageHandler global = gDebugGlobal ? gDebugGlobal->handler : PDebugMessageHandler();
            if (global)
                global(context, text);
            trace("Strake", text.c_str());
        }
        if (d->handler)
            d->handler(context, text);
    } catch (...) {
        // A message that cannot be delivered is dropped; nothing leaves a destructor.
    }
}

void PDebug::setDebugLevel(unsigned short level)
{
    debugGlobal().debugLevel = level;
}

int PDebug::debugLevel()
{
    return gDebugGlobal ? gDebugGlobal->debugLevel : -1;
}

bool PDebug::isDebuging() const
{
    return d && (int(d->level) <= debugLevel() || bool(d->handler));
}

template <class T>
PDebug& PDebug::append(const T& value)
{
    if (isDebuging())
        d->stream << value;
    return *this;
}

PDebug& PDebug::operator<<(bool value) { return append(value); }
PDebug& PDebug::operator<<(char value) { return append(value); }
PDebug& PDebug::operator<<(short value) { return append(value); }
PDebug& PDebug::operator<<(unsigned short value) { return append(value); }
PDebug& PDebug::operator<<(int value) { return append(value); }
PDebug& PDebug::operator<<(unsigned int value) { return append(value); }
PDebug& PDebug::operator<<(long value) { return append(value); }
PDebug& PDebug::operator<<(unsigned long value) { return append(value); }
PDebug& PDebug::operator<<(long long value) { return append(value); }
PDebug& PDebug::operator<<(unsigned long long value) { return append(value); }
PDebug& PDebug::operator<<(float value) { return append(value); }
PDebug& PDebug::operator<<(double value) { return append(value); }
PDebug& PDebug::operator<<(const std::string& value) { return append(value); }
PDebug& PDebug::operator<<(const char* value) { return append(value ? value : ""); }

PDebug& PDebug::write(const char* format, ...)
{
    if (!isDebuging() || !format)
        return *this;
    va_list args;
    va_start(args, format);
    va_list measureArgs;
    va_copy(measureArgs, args);
    int length = std::vsnprintf(nullptr, 0, format, measureArgs);
    va_end(measureArgs);
    if (length > 0) {
        std::vector<char> buffer(size_t(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        d->stream << buffer.data();
    }
    va_end(args);
    return *this;
}

PDebug& PDebug::write(unsigned long size, const char* format, ...)
{
    if (!isDebuging() || !format || size == 0)
        return *this;
    std::vector<char> buffer(size);
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    va_end(args);
    d->stream << buffer.data();
    return *this;
}

void pInstallDebugLogger(PLogger* logger)
{
    PDebugGlobal& global = debugGlobal();
    if (global.logger == logger)
        return;
    delete global.logger;
    global.logger = logger;
}

PLogger* pDebugLogger()
{
    return debugGlobal().logger;
}

void pInstallDebugMessageHandler(const PDebugMessageHandler& handler)
{
    debugGlobal().handler = handler;
}

PDebugMessageHandler pDebugMessageHandler()
{
    return debugGlobal().handler;
}
