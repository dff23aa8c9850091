// Assertions mark programming errors only; what data can cause is an error return and a log line.
#pragma once

#include <exception>

// What a failed assertion throws. Keeps its own copy of the text, cut at 255 characters.
class AM_AssertionError : public std::exception {
public:
    explicit AM_AssertionError(const char* text) noexcept;
    // The assertion's text.
    const char* what() const noexcept override { return message; }

private:
    char message[256];
};

// Logs "Assert failed at %s line %d: %s" (the file without its folders), breaks into a debugger if
// one is attached (never looked for on an audio thread), then throws AM_AssertionError. Any thread;
// nothing that runs below the audio callback may let it pass.
[[noreturn]] void AM_assertFailed(const char* text, const char* file, int line);

// Does nothing if `condition` holds, else ends in AM_assertFailed with `text`.
#define AM_ASSERT(condition, text)                                                                 \
    ((condition) ? static_cast<void>(0) : AM_assertFailed((text), __FILE__, __LINE__))
