// Layout of the built-in conversion tables that PEncoding.cpp reads and PEncodingTables.cpp holds.
#pragma once

#include <cstddef>
#include <cstdint>

namespace strake {

// Index of a byte string in PVietnameseRow::bytes.
enum PVietnameseTable {
    VietnameseVni,
    VietnameseVniShort,
    VietnameseVps,
    VietnameseTcvn3,
    VietnameseTcvn3Short,
    VietnameseTcvn3Low,
    VietnameseViscii,
    VietnameseVilat,
    VietnameseTableCount
};

// One character and its bytes in each Vietnamese table, each a 0-terminated string (no table
// holds a 0 byte).
struct PVietnameseRow {
    wchar_t ch;
    const char* bytes[VietnameseTableCount];
};

extern const PVietnameseRow vietnameseRows[];
extern const size_t vietnameseRowCount;

struct PCodePageEntry {
    char16_t ch;
    uint8_t byte;
};

// A stateless single-byte code page.
struct PSingleByteCodePage {
    const char* name;                 // the converter name of the registry row
    const char16_t* toUnicode;        // 256 code points, U+FFFD for an undefined byte
    const PCodePageEntry* fromUnicode; // sorted by ch, one byte per character
    size_t fromUnicodeCount;
};

extern const PSingleByteCodePage singleByteCodePages[];
extern const size_t singleByteCodePageCount;

}
