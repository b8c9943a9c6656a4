// PInputProcessor, the stage between an I/O device and the driver component: parameters,
// the input and error callbacks and the debug handler shared by every processor.
#pragma once

#include "PDebug.h"
#include "PError.h"
#include "PEvent.h"
#include "PString.h"
#include "PVariant.h"

#include <cstdint>
#include <functional>
#include <memory>

struct PInputProcessorPrivate;

// Derived processors cut what a device event holds into messages and hand each finished
// event to the base processInput, which calls the input callback.
// An object with identity: not copyable; owned by its Device.
// Thread-safety: the parameters have a lock of their own and may be used from any thread, a
// callback included. The callbacks are read without a lock: one may be replaced at any time,
// even from inside itself, and a call already under way finishes in the old one, which the
// processor keeps until it goes (so set them once or a few times, not per message). The debug
// handler may be read from any thread at any time.
// Failure: nothing is reported; an exception thrown by a callback passes through.
class PInputProcessor {
public:
    using Callback = std::function<void(PEvent*)>;
    using ErrorCallback = std::function<void(const PError&)>;
    using DebugMessageHandler = PDebugMessageHandler;

    PInputProcessor();
    PInputProcessor(const PInputProcessor&) = delete;
    PInputProcessor& operator=(const PInputProcessor&) = delete;
    virtual ~PInputProcessor();

    // Hands a type-17 event to the input callback; anything else goes no further than a debug
    // line. The event stays the caller's.
    virtual void processInput(PEvent* event);
    // Hands the error to the error callback.
    virtual void processError(const PError& error);

    void setParameter(const PString& name, const PVariant& value);
    // The stored value when the key exists, even an invalid one; otherwise fallback, and the
    // key is not added.
    PVariant parameter(const PString& name, const PVariant& fallback = PVariant()) const;

    void setCallback(Callback callback);
    void setErrorCallback(ErrorCallback callback);
    void setDebugMessageHandler(DebugMessageHandler handler);
    // A copy; empty when the log is off.
    DebugMessageHandler debugMessageHandler() const;

protected:
    // The input callback as it stands, for every message cut from one input: an input under
    // way completes with the callback it began with (the processor keeps it) when the
    // callback is replaced or removed meanwhile, from inside it or by another thread.
    const Callback& heldCallback() const;
    // What processInput does, handing the event to the given callback.
    void processInputWith(const Callback& callback, PEvent* event);
    // The current handler without copying the function: null when none is set. Test it
    // before formatting anything, so that a processor without a log formats nothing.
    std::shared_ptr<const DebugMessageHandler> debugHandler() const;
    // Changes whenever a parameter is set, so that a processor may keep what it reads from
    // the parameters and read them again only after a change.
    uint64_t parameterGeneration() const;

private:
    std::unique_ptr<PInputProcessorPrivate> d;
};
