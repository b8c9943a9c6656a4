// Free helpers of the strake namespace that read and write the host's tVariant values.
#pragma once

#include "HostInterface.h"
#include "PByteArray.h"
#include "PString.h"
#include "PVariant.h"

#include <string>

// Ownership: whatever these helpers put into a tVariant as a string or blob is allocated
// from the host's IMemoryManager and belongs to the host from then on; nothing here frees
// what a slot held before. Failures are told by the boolean alone; a false write leaves at
// most a type code in the slot. All functions are reentrant and throw nothing but
// std::bad_alloc from the library's own containers.
namespace strake {

// Copies a NUL-terminated text into a block from the manager, ending in a zero unit.
// *length (when given) gets the units without the NUL. Null without a manager; when the
// allocation fails, whatever the manager left in its out pointer. A null source counts as
// empty. The wchar_t form cuts each element to 16 bits.
char16_t* AllocAndConvert(IMemoryManager* manager, const wchar_t* source, unsigned long* length);
char16_t* AllocAndConvert(IMemoryManager* manager, const char16_t* source, unsigned long* length);

// All 64 bytes to zero (type 0).
bool empty2var(tVariant* v);
// Type code 1; the value stays.
bool null2var(tVariant* v);
bool bool2var(tVariant* v, bool value);
// The whole 64-bit value, with `type` as the type code.
bool int2var(tVariant* v, unsigned long value, int type);
// `type` 4 stores a float, anything else a double (type code 5).
bool double2var(tVariant* v, double value, int type);
// Type 22 text; false without a slot or manager (the slot untouched) or when the allocation
// fails. An empty text needs no memory: length 0, the pointer left as it was.
bool wstr2var(tVariant* v, const std::wstring& value, IMemoryManager* manager);
bool _tavrelstr2var(tVariant* v, const std::u16string& value, IMemoryManager* manager);
// Type 23 copy of size bytes; false for a null source, a size of 0, no manager or a failed
// allocation (the type code is then 0).
bool blob2var(tVariant* v, const unsigned char* data, unsigned long size, IMemoryManager* manager);
bool blob2var(tVariant* v, const char* data, unsigned long size, IMemoryManager* manager);
// Writes a PVariant in its host form; false for a null slot, an invalid or unknown type, or
// text and bytes without a manager or memory (the type code is then 0).
bool make_variant(tVariant* v, const PVariant& value, IMemoryManager* manager);

// Type 22 only, each unit widened; empty otherwise and for a null slot.
std::wstring var2wstr(const tVariant* v);
// Type 22 only; empty otherwise and for a null slot.
PString var2pstring(const tVariant* v);
// Type 23 only, a copy; empty otherwise and for a null slot.
PByteArray var2blob(tVariant* v);
// The PVariant form of a host value; invalid for a null slot and for types without one
// (0, 1, 6, 7, 9, 10, 12 and codes above 23).
PVariant var2var(const tVariant* v);

}
