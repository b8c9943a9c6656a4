// Parameter descriptions, their checks and the parser of the signature language.
#include "PSemanticEntry.h"

#include "StrakeText.h"

#include <unordered_map>

#define SEMANTIC_ERROR(code, message) P_MODULE_ERROR("jni/../../strake/PSemanticEntry", code, message)

namespace {

const std::unordered_map<std::string, int>& typeWords()
{
    static const std::unordered_map<std::string, int> words = {
        {"VOID", VTYPE_EMPTY},  {"REF", VTYPE_NULL},     {"BOOL", VTYPE_BOOL},
        {"INT2", VTYPE_I2},     {"INT4", VTYPE_I4},      {"INT", VTYPE_I4},
        {"INT8", VTYPE_I8},     {"UINT2", VTYPE_UI2},    {"UINT4", VTYPE_UI4},
        {"UINT", VTYPE_UI4},    {"UINT8", VTYPE_UI8},    {"FLOAT", VTYPE_R4},
        {"REAL", VTYPE_R4},     {"DOUBLE", VTYPE_R8},    {"STR", VTYPE_PSTR},
        {"WSTR", VTYPE_PWSTR},  {"BLOB", VTYPE_BLOB},    {"RESULT", VTYPE_HRESULT},
        {"VARIANT", VTYPE_VARIANT},
    };
    return words;
}

// Families whose members stand in for each other in a check.
int typeFamily(int type)
{
    switch (type) {
    case 2: case 3: case 10: case 15: case 16: case 17: case 18: case 19: case 20: case 21:
        return 1;
    case 11: case 13: case 14:
        return 2;
    case 4: case 5:
        return 3;
    case 8: case 23:
        return 4;
    default:
        return 0;
    }
}

bool isKnownType(int type)
{
    return (type >= 2 && type <= 24) || type == 4095 || type == 4096 || type == 8192 ||
           type == 16384 || type == 32768 || type == 65535;
}

int parseTypeWord(const std::string& word)
{
    const std::string trimmed = strake::trimed(word);
    if (trimmed.empty())
        return VTYPE_EMPTY;
    auto found = typeWords().find(trimmed);
    if (found == typeWords().end())
        throw SEMANTIC_ERROR(PError::BadArgument, "bad semantic");
    return found->second;
}

}

PSemanticEntry::PSemanticEntry() = default;

PSemanticEntry::PSemanticEntry(int type, bool mandatory, const PVariant& defValue)
{
    d->type = type;
    d->mandatory = mandatory;
    d->defValue = defValue;
}

PSemanticEntry::PSemanticEntry(int type, PValueChecker checker, bool mandatory,
                               const PVariant& defValue)
    : PSemanticEntry(type, mandatory, defValue)
{
    d->checker = std::move(checker);
}

PSemanticEntry::PSemanticEntry(int type, unsigned long minLen, unsigned long maxLen,
                               bool mandatory, const PVariant& defValue)
    : PSemanticEntry(type, mandatory, defValue)
{
    d->minLen = minLen;
    d->maxLen = maxLen;
}

PSemanticEntry::~PSemanticEntry() = default;

bool PSemanticEntry::check(const tVariant* value, PError* error) const
{
    PError local;
    try {
        if (!value)
            throw SEMANTIC_ERROR(PValueUnusable, PString());
        if (d->mandatory) {
            const int vt = value->vt;
            if (vt != d->type && (typeFamily(vt) == 0 || typeFamily(vt) != typeFamily(d->type)))
                throw SEMANTIC_ERROR(PValueOfOtherFamily, PString());
            if (vt == VTYPE_PSTR || vt == VTYPE_BLOB || vt == VTYPE_PWSTR) {
                const uint64_t length = value->strLen;
                if ((d->minLen != 0 && length < d->minLen) ||
                    (d->maxLen > d->minLen && length > d->maxLen))
                    throw SEMANTIC_ERROR(PLengthOutOfBounds, PString());
            }
            if (vt == VTYPE_EMPTY || vt == VTYPE_NULL || !isKnownType(vt))
                throw SEMANTIC_ERROR(PValueUnusable, PString());
            // The checker reports through the error it is given; its answer adds nothing.
            if (d->checker)
                d->checker(value, &local);
        }
    } catch (...) {
        local = PError::fromCurrentException(SEMANTIC_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    return PError::settle(local, error);
}

PMethodSemantic::PMethodSemantic() = default;

PMethodSemantic::PMethodSemantic(const std::vector<PSemanticEntry>& parameters,
                                 const PSemanticEntry& result)
{
    d->parameters = parameters;
    d->result = result;
}

PMethodSemantic::~PMethodSemantic() = default;

PMethodSemantic PMethodSemantic::fromString(const std::string& text)
{
    try {
        if (text.empty())
            throw SEMANTIC_ERROR(PError::GeneralFailure, "bad semantic");
        const size_t open = text.find('(');
        const size_t close = text.find(')');
        // A ")" ahead of the "(" closes nothing: the parameter list has no end.
        if (open == std::string::npos || close == std::string::npos || close < open)
            throw SEMANTIC_ERROR(PError::BadArgument, "bad semantic");
        const PSemanticEntry result(parseTypeWord(text.substr(0, open)), true);
        std::vector<PSemanticEntry> parameters;
        for (const std::string& word : strake::split(text.substr(open + 1, close - open - 1), ','))
            parameters.emplace_back(parseTypeWord(word), false);
        return PMethodSemantic(parameters, result);
    } catch (...) {
        return PMethodSemantic();
    }
}

PVariant PMethodSemantic::defValue(unsigned long index) const
{
    return index < d->parameters.size() ? d->parameters[index].defValue() : PVariant();
}

bool PMethodSemantic::check(unsigned long index, tVariant* value, PError* error) const
{
    if (index >= d->parameters.size())
        return PError::settle(SEMANTIC_ERROR(PParameterIndexOutOfRange, PString()), error);
    return d->parameters[index].check(value, error);
}

bool PMethodSemantic::check(tVariant* parameters, PError* error) const
{
    PError local;
    try {
        for (unsigned long i = 0; i < d->parameters.size(); ++i) {
            PError failed;
            if (!d->parameters[i].check(parameters ? parameters + i : nullptr, &failed)) {
                throw SEMANTIC_ERROR(failed.code(), PString("Parameter failed with error: [index = ") +
                                                        PString(std::to_string(i)) +
                                                        PString("] ") + failed.message());
            }
        }
    } catch (...) {
        local = PError::fromCurrentException(SEMANTIC_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    return PError::settle(local, error);
}
