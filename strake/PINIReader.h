// parseIniData and PINIReader: "name=value" lines read into a PPropertyBag.
#pragma once

#include "PError.h"
#include "PPropertyBag.h"
#include "PSharedDataPtr.h"
#include "PString.h"

#include <string>

namespace strake {

// Reads lines of name=value (text values; of two equal names the first stays). Blanks around
// name and value are trimmed, bytes that are not printable ASCII are dropped, ";" starts a
// comment up to the line feed, a name with an empty value is skipped, and a last line without a
// line feed is ignored; a NUL ends the text. Sections are not supported.
// Failure: a line without "=", a second "=" or a "]" (code 100, "wrong ini format"), a "["
// (code 1); the answer then is an empty bag. With `error` the error (or an empty one) is stored
// there; without it a failure is thrown as PError.
PPropertyBag parseIniData(const std::string& text, PError* error = nullptr);

}

struct PINIReaderPrivate {
    PString path;
    PPropertyBag settings;
    PError lastError;
};

// Reads an INI file once and keeps its settings. Never throws; failures are kept in lastError().
// Thread-safety: as any value handle.
class PINIReader {
public:
    explicit PINIReader(const PString& path = PString());
    ~PINIReader();

    // Stores the path and forgets the settings read so far.
    void setFilePath(const PString& path);
    PString filePath() const { return d->path; }
    // The settings, read from the file on the first call that finds them empty. A failure
    // gives an empty bag and sets lastError(): code 2 for no path or an empty file, 200 for a
    // file that can't be read, or the error of parseIniData.
    PPropertyBag getSettings();
    // The error of the last read, empty after a good one.
    PError lastError() const { return d->lastError; }

    // One read of `path`; with `error` the reader's last error is copied there. Never throws.
    static PPropertyBag readSettings(const PString& path, PError* error = nullptr);

private:
    PSharedDataPtr<PINIReaderPrivate> d;
};
