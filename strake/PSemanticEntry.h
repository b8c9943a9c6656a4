// PSemanticEntry and PMethodSemantic: typed descriptions of a method's parameters and result,
// and the signature language ("BOOL(WSTR,REF)") they are written in.
#pragma once

#include "HostInterface.h"
#include "PError.h"
#include "PSharedDataPtr.h"
#include "PVariant.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Error codes of the call checks.
enum PCallCheckCode : int {
    PNoPlaceForValue = 101,
    PValueUnusable = 102,
    PValueOfOtherFamily = 103,
    PLengthOutOfBounds = 104,
    PNoGetter = 105,
    PParameterIndexOutOfRange = 111,
    PNoResultSlot = 112,
    PWrongParameterCount = 113,
    PNoHandler = 114,
};

using PValueChecker = std::function<bool(const tVariant*, PError*)>;

struct PSemanticEntryPrivate {
    int type = 0;  // host type code; 0 means none
    bool mandatory = false;
    PVariant defValue;
    uint64_t minLen = 0;
    uint64_t maxLen = 0;  // counts only when above minLen
    PValueChecker checker;
};

// One parameter, result or property: its host type and what a value must satisfy.
// A value handle (copies share the record); build on one thread, then read anywhere.
class PSemanticEntry {
public:
    PSemanticEntry();
    PSemanticEntry(int type, bool mandatory, const PVariant& defValue = PVariant());
    PSemanticEntry(int type, PValueChecker checker, bool mandatory,
                   const PVariant& defValue = PVariant());
    PSemanticEntry(int type, unsigned long minLen, unsigned long maxLen, bool mandatory,
                   const PVariant& defValue = PVariant());
    ~PSemanticEntry();

    int type() const { return d->type; }
    bool mandatory() const { return d->mandatory; }
    PVariant defValue() const { return d->defValue; }
    // A type above 0: "VOID" is not valid, "REF" is.
    bool isValid() const { return d->type > 0; }

    // Checks a host value. A null value fails (102); a non-mandatory entry accepts anything
    // else; a mandatory one wants a type of its family (103), a string or blob length within
    // bounds (104) and a usable type (102). Failure convention of PError::settle.
    bool check(const tVariant* value, PError* error) const;

private:
    PSharedDataPtr<PSemanticEntryPrivate> d;
};

struct PMethodSemanticPrivate {
    std::vector<PSemanticEntry> parameters;
    PSemanticEntry result;
};

// A method's signature: its parameters in order and its result. A value handle.
class PMethodSemantic {
public:
    PMethodSemantic();
    PMethodSemantic(const std::vector<PSemanticEntry>& parameters, const PSemanticEntry& result);
    ~PMethodSemantic();

    // Parses "RESULT(PARAM,PARAM,...)". Never fails to the caller: a bad text gives the
    // default semantic, with no parameters and no return value.
    static PMethodSemantic fromString(const std::string& text);

    unsigned long parametersCount() const { return d->parameters.size(); }
    bool hasRetValue() const { return d->result.isValid(); }
    bool isValid() const { return true; }
    const PSemanticEntry& result() const { return d->result; }
    const std::vector<PSemanticEntry>& parameters() const { return d->parameters; }
    // The default of a parameter; invalid beyond the last one.
    PVariant defValue(unsigned long index) const;

    // One parameter: an index beyond the last fails with 111. Convention of PError::settle.
    bool check(unsigned long index, tVariant* value, PError* error) const;
    // parametersCount() values laid next to each other; the first failure is told with its
    // code and its index in the message.
    bool check(tVariant* parameters, PError* error) const;

private:
    PSharedDataPtr<PMethodSemanticPrivate> d;
};
