// PSerialInputProcessor, which cuts a byte stream into messages, and PTestSerialInputProcessor,
// which shows what a stream device really sends.
#pragma once

#include "PInputProcessor.h"

#include <memory>
#include <string>

struct PSerialInputProcessorPrivate;
struct PSerialSettings;

// Keeps the bytes that no suffix has ended yet, recodes each finished text and hands one new
// event per message to PInputProcessor::processInput.
// The unfinished message is bounded by MaxPendingBytes: a message that grows past it is
// dropped whole (with a debug line), together with the rest of it up to the next suffix, so
// a stream that never sends its suffix holds no more than that.
// Thread-safety: processInput runs on the device's one delivering thread; the pending bytes
// have no lock. Failure: none is reported; partial messages and messages without the prefix
// are dropped silently.
class PSerialInputProcessor : public PInputProcessor {
public:
    static constexpr size_t MaxPendingBytes = 1024 * 1024;

    PSerialInputProcessor();
    ~PSerialInputProcessor() override;

    void processInput(PEvent* event) override;
    void processError(const PError& error) override;

    // The bytes of the unfinished message; for the delivering thread only.
    size_t pendingBytes() const;

private:
    // The parameters as processInput uses them, read again only after a change.
    const PSerialSettings& settings();
    // Adds bytes to the unfinished message, dropping it when it would outgrow the bound.
    void keepPending(const char* data, size_t size);

    std::unique_ptr<PSerialInputProcessorPrivate> s;
};

// With PreviewMode 16 it is the ordinary processor. Otherwise each device event is shown
// whole, terminators and all, with control characters spelled by name, as the event's own
// input (Base64 first with OutputDataType 1); no prefix, suffix or pending bytes.
class PTestSerialInputProcessor : public PSerialInputProcessor {
public:
    PTestSerialInputProcessor();
    ~PTestSerialInputProcessor() override;

    void processInput(PEvent* event) override;
    void processError(const PError& error) override;
};
