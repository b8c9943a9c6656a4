// PLogger, lines to a stream or file under a lock; trace and tracef to the Android log;
// time stamps and log file names.
#pragma once

#include "PGlobal.h"

#include <ios>
#include <mutex>
#include <ostream>
#include <string>

// Writes to a stream it may own. A logger that failed to open drops every write silently.
// Thread-safety: any thread may write; each write goes out whole under the logger's mutex.
class PLogger {
public:
    PLogger();
    // A stream the logger does not own.
    explicit PLogger(std::ostream* stream);
    PLogger(const std::string& path, int mode);
    virtual ~PLogger();
    P_DISABLE_COPY(PLogger)

    // Opens path for writing with mode | out and owns the stream; nothing when already open.
    void open(const std::string& path, int mode);
    void close();
    // There is a stream and neither its fail nor its bad bit is set.
    bool isOpened() const;

    PLogger& operator<<(const std::string& text);
    PLogger& operator<<(const char* text);
    PLogger& operator<<(bool value);
    PLogger& operator<<(char value);
    PLogger& operator<<(int value);
    PLogger& operator<<(unsigned int value);
    PLogger& operator<<(long value);
    PLogger& operator<<(unsigned long value);
    PLogger& operator<<(long long value);
    PLogger& operator<<(unsigned long long value);
    PLogger& operator<<(double value);

    // printf-style into a buffer of 4096 bytes; the length written, or -1 when not open.
    int addNote(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    template <class T>
    PLogger& write(const T& value);

    bool m_ownsStream = false;
    mutable std::mutex m_mutex;  // guards m_stream, m_ownsStream and every write
    std::ostream* m_stream = nullptr;
};

// The Android log at priority info; a null tag writes nothing.
void trace(const char* tag, const char* text);
void tracef(const char* tag, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Local time by strftime, cut to what strftime wrote (at most 255 characters).
std::string getCurrentTimeString(const std::string& format);
// "/storage/emulated/0/Download/"
std::string pGetDefaultLogFilePath();
// base + "_x64_t" + thread id + "_" + time stamp + extension.
std::string pGetLogFileName(const std::string& base, const std::string& extension);
