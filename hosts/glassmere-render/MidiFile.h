// Standard MIDI Files in: the channel messages of all tracks, in the order of time.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// One channel message.
struct MidiFileEvent {
    double seconds = 0; // from the start of the file
    std::array<std::uint8_t, 3> bytes{};
    int length = 0; // 2 or 3 of the bytes
};

// Reads a file of format 0 or 1, in ticks per quarter note (with its tempo changes, 120 quarters a
// minute until the first) or in SMPTE time at 24, 25, 29 (30000 / 1001) or 30 frames a second.
// Events at one time stay in the order of tracks and of each track; running status is written out,
// everything but channel messages is left out. Throws RenderError, naming the file, for a file that
// can't be read, is longer than 16 MiB, has a message of more than 256 KiB, breaks off or is
// damaged: no part of such a file is returned.
std::vector<MidiFileEvent> readMidiFile(const std::string& path);
