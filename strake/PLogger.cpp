// PLogger, trace/tracef to the Android log, time stamps and log file names.
#include "PLogger.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

PLogger::PLogger() = default;

PLogger::PLogger(std::ostream* stream) : m_stream(stream) {}

PLogger::PLogger(const std::string& path, int mode)
{
    open(path, mode);
}

PLogger::~PLogger()
{
    close();
}

void PLogger::open(const std::string& path, int mode)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stream && !m_stream->fail() && !m_stream->bad())
        return;
    if (m_ownsStream)
        delete m_stream;  // a stream that failed to open is replaced
    auto* file = new std::ofstream(path, static_cast<std::ios::openmode>(mode) | std::ios::out);
    m_stream = file;
    m_ownsStream = true;
}

void PLogger::close()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ownsStream)
        delete m_stream;
    m_stream = nullptr;
    m_ownsStream = false;
}

bool PLogger::isOpened() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stream && !m_stream->fail() && !m_stream->bad();
}

template <class T>
PLogger& PLogger::write(const T& value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stream || m_stream->fail() || m_stream->bad())
        return *this;
    *m_stream << value;
    m_stream->flush();
    // One failed write must not end the logging.
    m_stream->clear();
    return *this;
}

PLogger& PLogger::operator<<(const std::string& text) { return write(text); }
PLogger& PLogger::operator<<(const char* text) { return write(text ? text : ""); }
PLogger& PLogger::operator<<(bool value) { return write(value); }
PLogger& PLogger::operator<<(char value) { return write(value); }
PLogger& PLogger::operator<<(int value) { return write(value); }
PLogger& PLogger::operator<<(unsigned int value) { return write(value); }
PLogger& PLogger::operator<<(long value) { return write(value); }
PLogger& PLogger::operator<<(unsigned long value) { return write(value); }
PLogger& PLogger::operator<<(long long value) { return write(value); }
PLogger& PLogger::operator<<(unsigned long long value) { return write(value); }
PLogger& PLogger::operator<<(double value) { return write(value); }

int PLogger::addNote(const char* format, ...)
{
    if (!isOpened())
        return -1;
    char buffer[4096];
    va_list args;
    va_start(args, format);
    int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (length < 0)
        return -1;
    *this << std::string(buffer);
    return length < int(sizeof buffer) ? length : int(sizeof buffer) - 1;
}

void trace(const char* tag, const char* text)
{
    if (tag)
        __android_log_write(ANDROID_LOG_INFO, tag, text ? text : "");
}

void tracef(const char* tag, const char* format, ...)
{
    if (!format)
        return;
    va_list args;
    va_start(args, format);
    __android_log_vprint(ANDROID_LOG_INFO, tag, format, args);
    va_end(args);
}

std::string getCurrentTimeString(const std::string& format)
{
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char buffer[256];
    size_t length = std::strftime(buffer, sizeof buffer, format.c_str(), &local);
    return std::string(buffer, length);
}

std::string pGetDefaultLogFilePath()
{
    return "/storage/emulated/0/Download/";
}

std::string pGetLogFileName(const std::string& base, const std::string& extension)
{
    std::ostringstream name;
    name << base << "_x" << 64 << "_t" << std::this_thread::get_id() << "_";
    std::string stamp = getCurrentTimeString("%Y%m%d%H%M%S");
    if (stamp.empty())
        stamp = std::to_string(std::rand());
    name << stamp << extension;
    return name.str();
}
