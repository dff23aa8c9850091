// Microtuning tables out of ".tun" files.
#pragma once

#include "AM_Types.h"

#include <array>
#include <string_view>

// A table of 128 target notes in semitones; entry i is i until a file says otherwise.
class AM_TuneFile {
public:
    AM_TuneFile();
    // Reads the "[Exact Tuning]" section of `content`, else its "[Tuning]", up to the next line
    // that begins with "[". An entry is a line such as "note 60 = 6000.5", in cents; other lines,
    // and what stands behind 512 characters of a line, are skipped. An entry without a finite value
    // logs "bad line! found vars: %d". Asserts "content != NULL", "extension != NULL" and
    // "isExtensionSupported(extension)".
    AM_TuneFile(const char* extension, const char* content);

    // True for "tun" in any case, with or without a "." in front.
    static bool isExtensionSupported(const char* text);
    // The target of `note`, at most 150. Asserts "note >= 0 && note < 128".
    f32 getTargetNote(i32 note) const;

private:
    void parse(std::string_view content);
    void parseLine(std::string_view line);

    std::array<f32, 128> targetNotes;
};
