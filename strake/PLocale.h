// PLocale: the process-wide language of every message the library builds.
#pragma once

#include "PString.h"

class PLocale {
public:
    typedef int LocaleID;
    enum : int { English = 0, Russian = 1 };

    // Read and written without a lock (acquire/release): device threads read it while the
    // host's thread may set it.
    static LocaleID getDefaultLocaleId();
    static void setDefaultLocaleId(LocaleID id);
};

// The Russian text when the default language is Russian, else the English one.
inline PString pTr(const PString& english, const PString& russian)
{
    return PLocale::getDefaultLocaleId() == PLocale::Russian ? russian : english;
}
