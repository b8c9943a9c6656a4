// The processors of keyboard mode: PKeyboardInputProcessor gathers a burst of key messages
// over timer ticks and, at the first empty tick, translates and cuts it into messages;
// PTestKeyboardInputProcessor shows the same burst as readable text instead.
#pragma once

#include "PInputProcessor.h"
#include "PKeyCodes.h"

#include <memory>

struct PKeyboardInputProcessorPrivate;
struct PTestKeyboardInputProcessorPrivate;

// Called on every tick of the keyboard service with an event whose keyboard_input holds the
// packed key messages of that tick. A tick with messages stores them and answers
// acceptStatus 1; the first tick without ends the burst: its text is cut by Prefix and Suffix
// and each message goes to the callback as a new event, after which acceptStatus is 3.
// A burst that yields no message leaves acceptStatus unset. Nothing is kept between bursts.
// A burst that never pauses is capped at maxBurstMessages(): the oldest strokes are dropped.
// Thread-safety: the stored burst has a lock of its own; translation runs outside it and
// delivery under the base class's lock. Failure: nothing is reported; a callback's exception
// passes through to the caller.
class PKeyboardInputProcessor : public PInputProcessor {
public:
    PKeyboardInputProcessor();
    ~PKeyboardInputProcessor() override;

    void processInput(PEvent* event) override;
    void processError(const PError& error) override;

    // The most key messages one burst keeps: far beyond any scan, small enough that a key
    // held down for hours cannot exhaust memory.
    static constexpr unsigned long maxBurstMessages() { return 65536; }

private:
    std::unique_ptr<PKeyboardInputProcessorPrivate> d;
};

// Shows what a keyboard device really sends. Parameter PreviewMode: 16 behaves as the
// ordinary processor; 1 shows every press and release by key name; anything else shows the
// burst's text with control characters named ('CR', 'GS') and keys without a character by
// their name. The preview replaces input of the received event, which goes to the callback
// on every tick; no event of its own is made and Prefix and Suffix are not applied.
// Thread-safety and failure: as PKeyboardInputProcessor.
class PTestKeyboardInputProcessor : public PKeyboardInputProcessor {
public:
    PTestKeyboardInputProcessor();
    ~PTestKeyboardInputProcessor() override;

    void processInput(PEvent* event) override;
    void processError(const PError& error) override;

    // Stores a tick's messages and gives an empty array; at the end of a burst gives its
    // preview, and stores in raw (when not null) the burst's characters alone.
    PByteArray processToPreiew(PIODeviceEvent* event, PByteArray* raw);

private:
    PByteArray preview(PEvent& event, PByteArray* raw);

    std::unique_ptr<PTestKeyboardInputProcessorPrivate> d;
};
