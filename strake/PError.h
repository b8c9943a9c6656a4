// PError: the one error type, returned, stored and thrown; and the catch ladder that ends
// every exception at an operation's boundary.
#pragma once

#include "PSharedDataPtr.h"
#include "PString.h"

struct PErrorPrivate {
    int code = 0;
    PString message;
    PString module;
    PString method;
    int line = 0;
};

// A code (0: none), a message and the place that raised it. Belongs to one thread.
class PError {
public:
    enum Code : int {
        NoError = 0,
        NotImplemented = 1,
        GeneralFailure = 2,
        BadArgument = 100,
        MissingBroadcastSetting = 120,
        DeviceFailure = 200,
    };

    PError();
    PError(int code, const PString& message);
    PError(int code, const PString& message, const PString& module, const PString& method,
           int line);
    ~PError();

    void setError(int code, const PString& message);
    void setInfo(const PString& module, const PString& method, int line);
    void clear();

    int code() const { return d->code; }
    PString message() const { return d->message; }
    PString module() const { return d->module; }
    PString method() const { return d->method; }
    int line() const { return d->line; }
    bool isError() const { return d->code != 0; }
    // module:method:line[code]message, each part only when present.
    PString toString() const;

    // What fromCurrentException makes of a standard exception's text.
    enum class StandardText { Kept, Dropped };
    // The one catch ladder: the error of the exception being handled. A PError as it is; a
    // standard exception as code 2 with its text (Kept) or as the fallback (Dropped); anything
    // else as the fallback. Call only inside a catch.
    static PError fromCurrentException(const PError& fallback,
                                       StandardText standard = StandardText::Kept);
    // The same with code 2 and the text (by default none) as the fallback.
    static PError fromCurrentException(const PString& fallbackText = PString());
    // The failure convention: with a pointer the error is stored there; without one a
    // non-zero error is thrown. Answers false, the result of a failed operation.
    static bool raise(const PError& error, PError* out);
    // The same convention for an operation that may also succeed: a pointer gets the error
    // even when its code is 0; without one a non-zero error is thrown. True for code 0.
    static bool settle(const PError& error, PError* out)
    {
        if (!error.isError()) {
            if (out)
                *out = error;
            return true;
        }
        return raise(error, out);
    }

private:
    PSharedDataPtr<PErrorPrivate> d;
};

namespace strake {
// The source file path without its extension, as errors keep it.
PString moduleFromFile(const char* file);
}

// An error stamped with the place where it is made.
#define P_ERROR(code, message)                                                                     \
    PError((code), (message), strake::moduleFromFile(__FILE__), PString(__PRETTY_FUNCTION__),      \
           __LINE__)
#define P_THROW(code, message) throw P_ERROR(code, message)
// The same with a fixed module name, for errors whose place the host's logs already know.
#define P_MODULE_ERROR(module, code, message)                                                      \
    PError((code), (message), PString(module), PString(__PRETTY_FUNCTION__), __LINE__)
