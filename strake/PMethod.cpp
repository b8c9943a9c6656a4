// A host-callable method: the call checks and the run of its handler.
#include "PMethod.h"

#include "StrakeVariant.h"

#define METHOD_ERROR(code, message) P_MODULE_ERROR("jni/../../strake/PMethod", code, message)

PMethod::PMethod() = default;

PMethod::PMethod(const PString& name, const PMethodSemantic& semantics, PMethodHandler handler)
{
    d->name = name;
    d->semantics = semantics;
    d->handler = std::move(handler);
}

PMethod::~PMethod() = default;

void PMethod::setHandler(PMethodHandler handler)
{
    d->handler = std::move(handler);
}

void PMethod::setAllocator(IMemoryManager* allocator)
{
    d->allocator = allocator;
}

bool PMethod::operator()(tVariant* result, tVariant* parameters, long count, PError* error)
{
    return call(result, parameters, count, d.constData()->allocator, error);
}

bool PMethod::call(tVariant* result, tVariant* parameters, long count, IMemoryManager* allocator,
                   PError* error) const
{
    PError local;
    try {
        const PMethodPrivate& method = *d.constData();
        const unsigned long expected = method.semantics.parametersCount();
        if (!result && method.semantics.hasRetValue())
            throw METHOD_ERROR(PNoResultSlot, PString());
        if ((!parameters && expected != 0) || count < 0 ||
            static_cast<unsigned long>(count) != expected)
            throw METHOD_ERROR(PWrongParameterCount, PString());
        method.semantics.check(parameters, nullptr);
        if (!method.handler)
            throw METHOD_ERROR(PNoHandler, PString());
        strake::empty2var(result);
        method.handler(result, parameters, count, allocator);
    } catch (...) {
        local = PError::fromCurrentException(METHOD_ERROR(PError::GeneralFailure, PString()),
                                             PError::StandardText::Dropped);
    }
    return PError::settle(local, error);
}
