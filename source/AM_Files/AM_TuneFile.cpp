#include "AM_TuneFile.h"

#include "AM_Assert.h"
#include "AM_Log.h"
#include "AM_Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

namespace {

constexpr std::string_view k_exactHeading = "[Exact Tuning]";
constexpr std::string_view k_heading = "[Tuning]";
constexpr std::string_view k_entry = "note";
constexpr size_t k_maxLine = 512;
constexpr size_t k_maxExtension = 15;
constexpr f32 k_highestTarget = 150.0f; // semitones

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

// Takes a number off the front of `text`; false if there is none that fits its type.
template <class Number>
bool scanNumber(std::string_view& text, Number* result) {
    skipBlanks(text);
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    const char* const begin = text.data() + (plus ? 1 : 0);
    const char* const end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(begin, end, *result);
    if (error != std::errc()) return false;
    text.remove_prefix(static_cast<size_t>(behind - text.data()));
    return true;
}

// Takes a line off the front of `text`, without its end.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

} // namespace

AM_TuneFile::AM_TuneFile() {
    std::iota(targetNotes.begin(), targetNotes.end(), 0.0f);
}

AM_TuneFile::AM_TuneFile(const char* extension, const char* content) : AM_TuneFile() {
    AM_ASSERT(content != nullptr, "content != NULL");
    AM_ASSERT(extension != nullptr, "extension != NULL");
    AM_ASSERT(isExtensionSupported(extension), "isExtensionSupported(extension)");
    parse(content);
}

bool AM_TuneFile::isExtensionSupported(const char* text) {
    // The extension comes from a file's name, so that a long one is just another that is not known.
    if (text == nullptr || AM_STD::Strlen(text) > k_maxExtension) return false;
    return AM_STD::toLower(text + (*text == '.' ? 1 : 0)) == "tun";
}

f32 AM_TuneFile::getTargetNote(i32 note) const {
    AM_ASSERT(note >= 0 && note < 128, "note >= 0 && note < 128");
    return std::min(targetNotes[static_cast<size_t>(note)], k_highestTarget);
}

void AM_TuneFile::parse(std::string_view content) {
    size_t heading = content.find(k_exactHeading);
    if (heading == content.npos) heading = content.find(k_heading);
    if (heading == content.npos) return;
    content.remove_prefix(heading);
    takeLine(content);
    while (!content.empty()) {
        std::string_view line = takeLine(content).substr(0, k_maxLine);
        skipBlanks(line);
        if (line.starts_with('[')) return;
        if (!line.starts_with(';')) parseLine(line);
    }
}

void AM_TuneFile::parseLine(std::string_view line) {
    if (!line.starts_with(k_entry)) return;
    line.remove_prefix(k_entry.size());
    i32 note = 0;
    if (!scanNumber(line, &note) || note < 0 || note > 127) return;
    line.remove_prefix(std::min(line.find('='), line.size()));
    if (!line.empty()) line.remove_prefix(1);
    f32 cents = 0.0f;
    const bool found = scanNumber(line, &cents);
    if (found && std::isfinite(cents)) {
        targetNotes[static_cast<size_t>(note)] = static_cast<f32>(cents * 0.01);
        return;
    }
    AM_Log("bad line! found vars: %d", found);
}
