// PJniSignature: one pass over the signature's bytes with one running type code.
#include "PJniSignature.h"

#include <string>

namespace {

const char kStringClass[] = "java/lang/String";

// The code of a primitive type mark, 0 for any other byte.
int primitiveCode(char mark)
{
    switch (mark) {
    case 'Z': return PJniSignature::Boolean;
    case 'B': return PJniSignature::Byte;
    case 'C': return PJniSignature::Char;
    case 'S': return PJniSignature::Short;
    case 'I': return PJniSignature::Int;
    case 'J': return PJniSignature::Long;
    case 'F': return PJniSignature::Float;
    case 'D': return PJniSignature::Double;
    default: return 0;
    }
}

// Fills returnType and parameters; throws a PError (code 100) for a malformed text.
void parseInto(const std::string& text, int& returnType, std::vector<int>& parameters)
{
    if (text.empty() || text[0] != '(')
        P_THROW(PError::BadArgument, "no open quote");
    if (text.find(')') == std::string::npos)
        P_THROW(PError::BadArgument, "no close quote");

    int running = 0;
    bool afterParameters = false;
    // A finished type goes to the parameters before ")" and replaces the return type behind it.
    auto finish = [&](int code) {
        if (afterParameters)
            returnType = code;
        else
            parameters.push_back(code);
        running = 0;
    };

    for (size_t i = 1; i < text.size(); ++i) {
        const char mark = text[i];
        if (mark == ')') {
            afterParameters = true;
        } else if (mark == '[') {
            running |= PJniSignature::ArrayBit;
        } else if (int code = primitiveCode(mark)) {
            finish(running | code);
        } else if (mark == 'L') {
            const size_t end = text.find(';', i + 1);
            if (end == std::string::npos)
                P_THROW(PError::BadArgument, "no close simbol for class name");
            const bool isString = end - i - 1 == sizeof(kStringClass) - 1
                && text.compare(i + 1, end - i - 1, kStringClass) == 0;
            finish(running | (isString ? PJniSignature::String : PJniSignature::Object));
            i = end;
        } else if (mark == 'V') {
            if (!afterParameters)
                P_THROW(PError::BadArgument, "parameter cant be void");
            if (running > 0)
                P_THROW(PError::BadArgument, "void cant be array");
            returnType = PJniSignature::Void;
            running = 0;
        } else {
            P_THROW(PError::BadArgument, "bad class mark");
        }
    }
}

} // namespace

PJniSignature::PJniSignature() = default;

PJniSignature::PJniSignature(const PString& signature)
{
    parse(signature);
}

bool PJniSignature::parse(const PString& signature)
{
    PError ignored;
    return parse(signature, ignored);
}

bool PJniSignature::parse(const PString& signature, PError& why)
{
    why.clear();
    d->returnType = NoType;
    d->parameters.clear();
    try {
        int returnType = NoType;
        std::vector<int> parameters;
        parseInto(signature.trimed().toStdString(), returnType, parameters);
        d->returnType = returnType;
        d->parameters = std::move(parameters);
    } catch (...) {
        why = PError::fromCurrentException("Unexpected");
    }
    return isValid();
}

int PJniSignature::parameterType(int index) const
{
    if (index < 0 || index >= parametersCount())
        return NoType;
    return d->parameters[static_cast<size_t>(index)];
}
