// PSysLog: a stream onto the Android log under a tag that the Java side's log uses too.
#pragma once

#include "PGlobal.h"
#include "PPropertyBag.h"

#include <mutex>
#include <streambuf>
#include <string>

// Open while it has a tag. Thread-safety: any thread may write while another opens or
// closes; the tag has its own lock. Failure: nothing is reported; a closed log drops writes.
class PSysLog : public std::streambuf {
public:
    PSysLog();
    ~PSysLog() override;
    P_DISABLE_COPY(PSysLog)

    // Takes the bag's "tag"; with an empty one it stays closed and Java is not asked.
    // Otherwise it gives the tag to the Java side's log, keeps it, and answers isOpen().
    bool open(const PPropertyBag& settings);
    void close();
    bool isOpen() const;
    // One entry of the text under the tag, when open; level and size take no part.
    void write(int level, const char* text, unsigned long size);

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int_type overflow(int_type c) override;

private:
    mutable std::mutex m_mutex;  // guards m_tag
    std::string m_tag;
};
