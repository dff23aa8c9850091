// A stream of MIDI bytes of any kind, read message by message: every result lies within what a
// message can say, and nothing behind the bytes given is read.
#include "AM_EventQueue.h"
#include "AM_MidiPrograms.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

void check(bool holds) {
    if (!holds) std::abort();
}

void checkMessage(const AM_MidiMessage& message, u8 status, i32 length) {
    check(message.used >= 0 && message.used <= length && message.used <= 3);
    check((message.kind == AM_MidiMessage::k_none) == (message.used == 0));
    if (message.used == 0) return;
    check(message.channel == (status & 0x0F));
    check(message.data1 >= 0 && message.data1 < 128 && message.data2 >= 0 && message.data2 < 128);
    check(message.field1 >= -1 && message.field1 < 128);
    const bool isNote = message.type == k_eventNote;
    check(std::fabs(message.field2) <= (isNote ? 127.0f : 1.000001f));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // As a caller does that gets some bytes at a time: the last ones may be cut off.
    for (size_t position = 0; position < size;) {
        const size_t given = std::min<size_t>(size - position, 1 + position % 5);
        const std::vector<u8> bytes(data + position, data + position + given);
        const AM_MidiMessage message = AM_parseMidi(bytes.data(), static_cast<i32>(given));
        checkMessage(message, bytes[0], static_cast<i32>(given));
        position += std::max(message.used, 1);
    }
    return 0;
}
