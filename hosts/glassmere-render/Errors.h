// How the renderer ends when something is wrong: the exit codes and what carries them.
#pragma once

#include <stdexcept>
#include <string>

inline constexpr int k_exitOk = 0;
inline constexpr int k_exitUsage = 1;
inline constexpr int k_exitFailure = 2;     // input, output or processing
inline constexpr int k_exitInterrupt = 130; // SIGINT; SIGTERM and SIGHUP end the same way

// The command line asks for something that cannot be.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Input, output or processing failed.
class RenderError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The user has stopped the render.
class Interrupted : public std::exception {
public:
    const char* what() const noexcept override { return "interrupted"; }
};
