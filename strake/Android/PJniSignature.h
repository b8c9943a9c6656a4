// PJniSignature: reads a JNI method signature into a return type code and parameter type codes.
#pragma once

#include "PError.h"
#include "PSharedDataPtr.h"
#include "PString.h"

#include <vector>

struct PJniSignaturePrivate {
    int returnType = 0;
    std::vector<int> parameters;
};

// A parsed signature such as "(Landroid/app/Activity;J)V". Of a class only the fact that it is
// java/lang/String is kept. Array nesting is not counted: "[[I" and "[I" give the same code.
// Needs no Java runtime. Thread-safety: as any value handle (PSharedDataPtr.h).
class PJniSignature {
public:
    enum TypeCode : int {
        NoType = 0,
        Void = 1, // return type only
        Boolean = 2,
        Byte = 3,
        Char = 4,
        Short = 5,
        Int = 6,
        Long = 7,
        Float = 8,
        Double = 9,
        Object = 0x100,
        String = 0x101,
        ArrayBit = 0x2000,
    };

    // Invalid and empty.
    PJniSignature();
    // Parses; a bad signature leaves the object invalid.
    explicit PJniSignature(const PString& signature);

    // Replaces the content by the parse of `signature` and answers isValid(). A failure leaves
    // the object invalid and without parameters; nothing is thrown and no error is kept.
    bool parse(const PString& signature);
    // The same, and `why` receives the reason of a failure (code 100 for a malformed text),
    // or an empty error. "()" parses without error and still is invalid: it names no return type.
    bool parse(const PString& signature, PError& why);

    // The return type is known (not 0).
    bool isValid() const { return d->returnType != NoType; }
    int retValueType() const { return d->returnType; }
    int parametersCount() const { return static_cast<int>(d->parameters.size()); }
    // The code of the parameter at `index`, 0 outside the list.
    int parameterType(int index) const;
    std::vector<int> parameterTypes() const { return d->parameters; }

private:
    PSharedDataPtr<PJniSignaturePrivate> d;
};
