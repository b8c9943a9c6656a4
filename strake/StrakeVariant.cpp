// Reading and writing the host's tVariant values; the host's memory for strings and blobs.
#include "StrakeVariant.h"

#include <cstring>

namespace strake {

namespace {

template <class C>
char16_t* allocUnits(IMemoryManager* manager, const C* source, unsigned long* length)
{
    unsigned long count = 0;
    if (source)
        while (source[count] != 0)
            ++count;
    if (length)
        *length = count;
    if (!manager)
        return nullptr;
    void* block = nullptr;
    if (!manager->allocMemory(&block, (count + 1) * sizeof(char16_t)))
        return static_cast<char16_t*>(block);
    char16_t* units = static_cast<char16_t*>(block);
    for (unsigned long i = 0; i < count; ++i)
        units[i] = static_cast<char16_t>(source[i]);
    units[count] = 0;
    return units;
}

// Copies bytes into a fresh host block with `extra` zero bytes behind them.
unsigned char* allocBytes(IMemoryManager* manager, const void* data, unsigned long size,
                          unsigned long extra)
{
    if (!manager)
        return nullptr;
    void* block = nullptr;
    if (!manager->allocMemory(&block, size + extra) || !block)
        return nullptr;
    unsigned char* bytes = static_cast<unsigned char*>(block);
    if (size)
        std::memcpy(bytes, data, size);
    std::memset(bytes + size, 0, extra);
    return bytes;
}

template <class C>
bool putText(tVariant* v, const std::basic_string<C>& value, IMemoryManager* manager)
{
    if (!v || !manager)
        return false;
    v->wstrLen = 0;
    v->vt = VTYPE_PWSTR;
    if (value.empty())
        return true;
    unsigned long length = 0;
    char16_t* copy = allocUnits(manager, value.c_str(), &length);
    if (!copy)
        return false;
    v->pwstrVal = copy;
    v->wstrLen = static_cast<uint32_t>(length);
    return true;
}

int32_t first32Bits(const tVariant* v)
{
    int32_t value;
    std::memcpy(&value, v, sizeof value);
    return value;
}

}

char16_t* AllocAndConvert(IMemoryManager* manager, const wchar_t* source, unsigned long* length)
{
    return allocUnits(manager, source, length);
}

char16_t* AllocAndConvert(IMemoryManager* manager, const char16_t* source, unsigned long* length)
{
    return allocUnits(manager, source, length);
}

bool empty2var(tVariant* v)
{
    if (!v)
        return false;
    std::memset(v, 0, sizeof *v);
    return true;
}

bool null2var(tVariant* v)
{
    if (!v)
        return false;
    v->vt = VTYPE_NULL;
    return true;
}

bool bool2var(tVariant* v, bool value)
{
    if (!v)
        return false;
    v->bVal = value;
    v->vt = VTYPE_BOOL;
    return true;
}

bool int2var(tVariant* v, unsigned long value, int type)
{
    if (!v)
        return false;
    v->ullVal = value;
    v->vt = static_cast<uint16_t>(type);
    return true;
}

bool double2var(tVariant* v, double value, int type)
{
    if (!v)
        return false;
    if (type == VTYPE_R4) {
        v->fltVal = static_cast<float>(value);
        v->vt = VTYPE_R4;
    } else {
        v->dblVal = value;
        v->vt = VTYPE_R8;
    }
    return true;
}

bool wstr2var(tVariant* v, const std::wstring& value, IMemoryManager* manager)
{
    return putText(v, value, manager);
}

bool _tavrelstr2var(tVariant* v, const std::u16string& value, IMemoryManager* manager)
{
    return putText(v, value, manager);
}

bool blob2var(tVariant* v, const unsigned char* data, unsigned long size, IMemoryManager* manager)
{
    if (!v)
        return false;
    v->vt = VTYPE_EMPTY;
    if (!data || size == 0)
        return false;
    unsigned char* copy = allocBytes(manager, data, size, 0);
    if (!copy)
        return false;
    v->pstrVal = reinterpret_cast<char*>(copy);
    v->strLen = static_cast<uint32_t>(size);
    v->vt = VTYPE_BLOB;
    return true;
}

bool blob2var(tVariant* v, const char* data, unsigned long size, IMemoryManager* manager)
{
    return blob2var(v, reinterpret_cast<const unsigned char*>(data), size, manager);
}

bool make_variant(tVariant* v, const PVariant& value, IMemoryManager* manager)
{
    if (!v)
        return false;
    v->vt = VTYPE_EMPTY;
    switch (value.type()) {
    case PVariant::Bool:
        v->bVal = value.toBool();
        v->vt = VTYPE_BOOL;
        return true;
    case PVariant::Char:
    case PVariant::UChar:
        v->ui8Val = value.toByte();
        v->vt = VTYPE_I1;
        return true;
    case PVariant::Short:
    case PVariant::UShort:
        v->ushortVal = value.toWord();
        v->vt = VTYPE_I2;
        return true;
    case PVariant::Int:
    case PVariant::Long:
    case PVariant::UInt:
        v->ulVal = value.toDWord();
        v->vt = VTYPE_I4;
        return true;
    case PVariant::LongLong:
    case PVariant::ULong:
        v->ullVal = value.toQWord();
        v->vt = VTYPE_I8;
        return true;
    case PVariant::Float:
        v->fltVal = value.toFloat();
        v->vt = VTYPE_R4;
        return true;
    case PVariant::Double:
        v->dblVal = value.toDouble();
        v->vt = VTYPE_R8;
        return true;
    case PVariant::StdString: {
        const std::string text = value.toStdString();
        unsigned char* copy = allocBytes(manager, text.data(), text.size(), 1);
        if (!copy)
            return false;
        v->pstrVal = reinterpret_cast<char*>(copy);
        v->strLen = static_cast<uint32_t>(text.size());
        v->vt = VTYPE_PSTR;
        return true;
    }
    case PVariant::StdWString:
    case PVariant::String: {
        const PString text = value.toPString();
        unsigned long length = 0;
        char16_t* copy = AllocAndConvert(manager, text.utf16(), &length);
        if (!copy)
            return false;
        v->pwstrVal = copy;
        v->wstrLen = static_cast<uint32_t>(length);
        v->vt = VTYPE_PWSTR;
        return true;
    }
    case PVariant::Bytes: {
        const PByteArray bytes = value.toByteArray();
        if (!manager)
            return false;
        // No bytes need no block: a null pointer of length 0 is the empty blob.
        unsigned char* copy = nullptr;
        if (bytes.size() != 0 && !(copy = allocBytes(manager, bytes.data(), bytes.size(), 0)))
            return false;
        v->pstrVal = reinterpret_cast<char*>(copy);
        v->strLen = static_cast<uint32_t>(bytes.size());
        v->vt = VTYPE_BLOB;
        return true;
    }
    default:
        return false;
    }
}

std::wstring var2wstr(const tVariant* v)
{
    if (!v || v->vt != VTYPE_PWSTR || !v->pwstrVal)
        return std::wstring();
    std::wstring text(v->wstrLen, L'\0');
    for (uint32_t i = 0; i < v->wstrLen; ++i)
        text[i] = static_cast<wchar_t>(v->pwstrVal[i]);
    return text;
}

PString var2pstring(const tVariant* v)
{
    if (!v || v->vt != VTYPE_PWSTR || !v->pwstrVal || v->wstrLen == 0)
        return PString();
    return PString(std::u16string(v->pwstrVal, v->wstrLen));
}

PByteArray var2blob(tVariant* v)
{
    if (!v || v->vt != VTYPE_BLOB || !v->pstrVal || v->strLen == 0)
        return PByteArray();
    return PByteArray(reinterpret_cast<const unsigned char*>(v->pstrVal), v->strLen);
}

PVariant var2var(const tVariant* v)
{
    if (!v)
        return PVariant();
    switch (v->vt) {
    case VTYPE_I2:
    case VTYPE_I4:
    case VTYPE_I1:
    case VTYPE_UI1:
    case VTYPE_UI2:
    case VTYPE_UI4:
    case VTYPE_INT:
    case VTYPE_UINT:
    case VTYPE_HRESULT:
        return PVariant(static_cast<int>(first32Bits(v)));
    case VTYPE_R4:
        return PVariant(v->fltVal);
    case VTYPE_R8:
        return PVariant(v->dblVal);
    case VTYPE_PSTR:
        if (!v->pstrVal)
            return PVariant(std::string());
        return PVariant(std::string(v->pstrVal, v->strLen));
    case VTYPE_BOOL:
        // The first byte decides; a host may leave any non-zero value there.
        return PVariant(v->ui8Val != 0);
    case VTYPE_I8:
    case VTYPE_UI8:
        return PVariant(static_cast<long>(v->llVal));
    case VTYPE_PWSTR:
        return PVariant(var2wstr(v));
    case VTYPE_BLOB: {
        tVariant copy = *v;
        return PVariant(var2blob(&copy));
    }
    default:
        return PVariant();
    }
}

}
