// PTranslation: the table of translated texts (language, text id -> text), its XML loader,
// and the process-wide instance with the document built into the library.
#pragma once

#include "PError.h"
#include "PGlobal.h"
#include "PString.h"

#include <memory>
#include <string>

struct PTranslationPrivate;

// Thread-safety: every operation takes the table's own lock; any thread may call.
class PTranslation {
public:
    PTranslation();
    virtual ~PTranslation();
    P_DISABLE_COPY(PTranslation)

    // The text of id in locale (0 English, 1 Russian), or fallback; no fall-through to the
    // other language.
    PString tr(const PString& id, const PString& fallback, int locale) const;
    void setTr(const PString& id, int locale, const PString& text);
    // Reads a "localization" document; a "lid" containing "ru" is Russian, any other English.
    // All or nothing: a faulty document (code 100 "Bad xml" or "Bad xml localization format")
    // leaves the table as it was. Convention of PError::settle.
    bool load(const std::string& xml, PError* error);
    // No language in the table.
    bool isEmpty() const;
    void clear();

private:
    std::unique_ptr<PTranslationPrivate> d;
};

namespace strake {
// The process-wide table; lives as long as the library.
PTranslation* getTranslation();
// getTranslation()->tr(id, fallback, current language).
PString tr(const PString& id, const PString& fallback);
// The translation document built into the library, UTF-8.
std::string getUTF8XmlLocalization();
}
