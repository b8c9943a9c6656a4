// PError: the error value, its text form and the one catch ladder.
#include "PError.h"

#include <cstring>
#include <exception>
#include <string>

PError::PError() = default;

PError::PError(int code, const PString& message)
{
    PErrorPrivate* record = d.data();
    record->code = code;
    record->message = message;
}

PError::PError(int code, const PString& message, const PString& module, const PString& method,
               int line)
{
    PErrorPrivate* record = d.data();
    record->code = code;
    record->message = message;
    record->module = module;
    record->method = method;
    record->line = line;
}

PError::~PError() = default;

void PError::setError(int code, const PString& message)
{
    PErrorPrivate* record = d.data();
    record->code = code;
    record->message = message;
}

void PError::setInfo(const PString& module, const PString& method, int line)
{
    PErrorPrivate* record = d.data();
    record->module = module;
    record->method = method;
    record->line = line;
}

void PError::clear()
{
    *d = PErrorPrivate();
}

PString PError::toString() const
{
    PString text;
    if (!d->module.isEmpty())
        text += d->module + PString(":");
    if (!d->method.isEmpty())
        text += d->method + PString(":");
    if (d->line > 0)
        text += PString(std::to_string(d->line));
    text += PString("[" + std::to_string(d->code) + "]");
    text += d->message;
    return text;
}

PError PError::fromCurrentException(const PError& fallback, StandardText standard)
{
    try {
        throw;
    } catch (const PError& error) {
        return error;
    } catch (const std::exception& error) {
        return standard == StandardText::Kept ? PError(GeneralFailure, PString(error.what()))
                                              : fallback;
    } catch (...) {
        return fallback;
    }
}

PError PError::fromCurrentException(const PString& fallbackText)
{
    return fromCurrentException(PError(GeneralFailure, fallbackText));
}

bool PError::raise(const PError& error, PError* out)
{
    if (out)
        *out = error;
    else if (error.code() != NoError)
        throw error;
    return false;
}

namespace strake {

PString moduleFromFile(const char* file)
{
    if (!file)
        return PString();
    // A build that names its sources by relative paths leaves them on the way up to the tree.
    while (std::strncmp(file, "../", 3) == 0 || std::strncmp(file, "./", 2) == 0)
        file += file[1] == '/' ? 2 : 3;
    const char* dot = std::strrchr(file, '.');
    const char* slash = std::strrchr(file, '/');
    const size_t length = dot && (!slash || dot > slash) ? size_t(dot - file) : std::strlen(file);
    return PString(file, length);
}

}
