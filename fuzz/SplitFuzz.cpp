// split and the text conversions on arbitrary bytes: pieces joined again give the input
// back (less an empty tail), and invalid UTF-8 never breaks a conversion.
#include "PString.h"
#include "StrakeText.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const char separator = static_cast<char>(data[0]);
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);

    std::string joined;
    const auto pieces = strake::split<char>(text, separator);
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (pieces[i].find(separator) != std::string::npos)
            std::abort();
        joined += pieces[i];
        if (i + 1 < pieces.size() || (!text.empty() && text.back() == separator))
            joined += separator;
    }
    if (joined != text)
        std::abort();

    const size_t cut = text.size() / 3;
    const std::string separatorText = text.substr(0, cut);
    const std::string rest = text.substr(cut);
    for (bool keepTail : {false, true}) {
        for (const auto& piece : strake::split<char>(rest, separatorText, keepTail)) {
            if (!separatorText.empty() && piece.find(separatorText) != std::string::npos)
                std::abort();
        }
    }

    // Whatever survives decoding is valid, so a second round trip changes nothing.
    const PString decoded(text);
    const std::string utf8 = decoded.toStdString();
    if (PString(utf8).toStdString() != utf8)
        std::abort();
    if (PString(decoded.toStdWString()) != decoded)
        std::abort();
    const PString spaced(decoded.split(char16_t(separator)).size(), separator);
    (void)spaced.trimed();
    return 0;
}
