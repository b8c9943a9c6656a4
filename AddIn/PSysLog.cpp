// PSysLog: the Android log as a stream, with the Java side told the same tag.
#include "PSysLog.h"

#include "PJavaConnection.h"
#include "PLogger.h"

PSysLog::PSysLog() = default;

PSysLog::~PSysLog() = default;

bool PSysLog::open(const PPropertyBag& settings)
{
    const std::string tag = settings.value(PString("tag")).toStdString();
    if (tag.empty())
        return false;
    // A Java side that can't be reached leaves its own log as it was; ours works all the same.
    strake::callJavaStaticWithText(PString("com.tavrel.strake.PLogger"), PString("setTag"),
                                   PString(tag));
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_tag = tag;
    }
    return isOpen();
}

void PSysLog::close()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tag.clear();
}

bool PSysLog::isOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_tag.empty();
}

void PSysLog::write(int, const char* text, unsigned long)
{
    std::string tag;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        tag = m_tag;
    }
    if (!tag.empty())
        trace(tag.c_str(), text);
}

std::streamsize PSysLog::xsputn(const char* text, std::streamsize count)
{
    if (!isOpen())
        return 0;
    // The stream's text has no zero behind it; the log wants one.
    const std::string line(text, static_cast<size_t>(count));
    write(0, line.c_str(), line.size());
    return count;
}

PSysLog::int_type PSysLog::overflow(int_type c)
{
    return c;
}
