#include "AM_EventQueue.h"
#include "AM_MidiPrograms.h"

#include <algorithm>

namespace {

constexpr f32 k_pressureScale = 0.007874016f; // 1 / 127
constexpr f32 k_bendScale = 0.00012207031f;   // 1 / 8192
constexpr f32 k_allKeys = -1.0f;

// Bytes of a channel message, 0 for other statuses and for data bytes.
i32 messageLength(u8 status) {
    if (status < 0x80 || status >= 0xF0) return 0;
    const u8 kind = status & 0xF0;
    return kind == 0xC0 || kind == 0xD0 ? 2 : 3;
}

void setEvent(AM_MidiMessage& message, i32 type, f32 field1, f32 field2) {
    message.kind = AM_MidiMessage::k_event;
    message.type = type;
    message.field1 = field1;
    message.field2 = field2;
}

} // namespace

AM_MidiMessage AM_parseMidi(const u8* bytes, i32 length) {
    AM_MidiMessage message;
    const i32 wanted = bytes != nullptr && length > 0 ? messageLength(bytes[0]) : 0;
    if (wanted == 0 || length < wanted) return message;
    // A status where data should be begins another message: this one is cut off.
    if (std::any_of(bytes + 1, bytes + wanted, [](u8 byte) { return byte >= 0x80; }))
        return message;

    const i32 data1 = bytes[1];
    const i32 data2 = wanted == 3 ? bytes[2] : 0;
    const f32 key = static_cast<f32>(data1);
    message.used = wanted;
    message.channel = bytes[0] & 0x0F;
    switch (bytes[0] & 0xF0) {
    case 0x80:
        setEvent(message, k_eventNote, key, 0.0f);
        break;
    case 0x90:
        setEvent(message, k_eventNote, key, static_cast<f32>(data2));
        break;
    case 0xA0:
        setEvent(message, k_eventPressure, key, static_cast<f32>(data2) * k_pressureScale);
        break;
    case 0xB0:
        message.kind = AM_MidiMessage::k_controller;
        message.data1 = data1;
        message.data2 = data2;
        break;
    case 0xC0:
        message.kind = AM_MidiMessage::k_program;
        message.data1 = data1;
        break;
    case 0xD0:
        setEvent(message, k_eventPressure, k_allKeys, key * k_pressureScale);
        break;
    case 0xE0:
        setEvent(message, k_eventPitchBend, 0.0f,
                 static_cast<f32>((data2 << 7 | data1) - 0x2000) * k_bendScale);
        break;
    }
    return message;
}
