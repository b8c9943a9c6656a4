// PMethod: a host-callable method, its name, its signature and the handler bound to it.
#pragma once

#include "PSemanticEntry.h"
#include "PString.h"

#include <functional>

// The handler gets the result slot (null for a procedure), the host's parameter array, its
// length and the host's allocator. It reports failure by throwing a PError or through its
// own channels; its boolean answer is not looked at.
using PMethodHandler = std::function<bool(tVariant* result, tVariant* parameters, long count,
                                          IMemoryManager* manager)>;

struct PMethodPrivate {
    PString name;
    PMethodSemantic semantics;
    PMethodHandler handler;
    IMemoryManager* allocator = nullptr;  // not owned: the host's
};

// A value handle: copies share the record, and setAllocator() on a copy detaches it, so a
// call may set the allocator on its own copy while the table keeps the original; call() takes
// the allocator for one call and copies nothing.
// Thread-safety: as any value handle.
class PMethod {
public:
    PMethod();
    PMethod(const PString& name, const PMethodSemantic& semantics, PMethodHandler handler);
    ~PMethod();

    PString name() const { return d->name; }
    const PMethodSemantic& semantics() const { return d->semantics; }
    bool hasRetValue() const { return d->semantics.hasRetValue(); }
    // A name and a handler.
    bool isValid() const { return !d->name.isEmpty() && static_cast<bool>(d->handler); }

    void setHandler(PMethodHandler handler);
    void setAllocator(IMemoryManager* allocator);

    // Checks the call against the signature (no result slot for a function: 112; a count
    // other than the signature's or no array: 113; a parameter check; no handler: 114),
    // empties the result slot and runs the handler. Convention of PError::settle; whatever
    // the handler throws that is not a PError becomes code 2.
    bool operator()(tVariant* result, tVariant* parameters, long count, PError* error);
    // The same with `allocator` in place of the stored one.
    bool call(tVariant* result, tVariant* parameters, long count, IMemoryManager* allocator,
              PError* error) const;

private:
    PSharedDataPtr<PMethodPrivate> d;
};
