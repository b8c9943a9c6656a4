// The byte buffers that every peer's data passes through, driven by a script of writes, reads,
// peeks, skips, capacity changes and reopens. The bytes come out as they went in (what a
// write took, in order), and counts never pass the capacity.
#include "PBuffer.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

void check(bool holds)
{
    if (!holds)
        std::abort();
}

// What the buffer holds now; a buffer opened without read shows only how much.
std::string visible(PBuffer& buffer)
{
    std::string held(buffer.availibleBytes(), '\0');
    if (buffer.isOpen() && (buffer.openFlags() & PIODevice::OpenRead))
        check(buffer.peek(&held[0], held.size()) == held.size());
    return held;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 2)
        return 0;
    const size_t capacity = bytes[1] * 4;
    std::unique_ptr<PBuffer> buffer = (bytes[0] & 1) ? std::make_unique<PThreadSafeBuffer>(capacity)
                                                     : std::make_unique<PBuffer>(capacity);
    buffer->open(PIODevice::OpenReadWrite | ((bytes[0] & 2) ? PIODevice::OpenRewindEmpty : 0));
    std::string model = visible(*buffer);
    char scratch[256];
    for (size_t at = 2; at + 1 < size; at += 2) {
        const uint8_t op = bytes[at];
        const size_t count = bytes[at + 1];
        switch (op % 6) {
        case 0: {
            const std::string data(count, static_cast<char>(op));
            const auto taken = buffer->write(data.data(), data.size());
            check(taken <= data.size());
            model += data.substr(0, taken);
            break;
        }
        case 1:
        case 2: {
            const auto got = op % 6 == 1 ? buffer->read(scratch, count) : buffer->peek(scratch, count);
            check(got <= count && got <= model.size());
            check(model.compare(0, got, scratch, got) == 0);
            check(got == std::min(count, model.size()) || !(buffer->openFlags() & PIODevice::OpenRead));
            if (op % 6 == 1)
                model.erase(0, got);
            break;
        }
        case 3:
            model.erase(0, buffer->skip(count));
            break;
        case 4:
            buffer->setCapasity(count * 4);
            model = visible(*buffer);
            break;
        default:
            buffer->close();
            buffer->open((count & 3) | ((count & 4) ? PIODevice::OpenRewindEmpty : 0));
            model = visible(*buffer);
            break;
        }
        check(buffer->availibleBytes() == model.size());
        check(model.size() + buffer->availibleSpace() <= buffer->capacity());
    }
    return 0;
}
