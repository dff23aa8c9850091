// The progress bar of a render.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// Draws one line on standard error, some times a second, and wipes it at the end. Does
// nothing if `enabled` is false or standard error is not a terminal.
class Progress {
public:
    explicit Progress(bool enabled);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `done` of `total` frames; a total of 0 or less is unknown and shows the frames only.
    void show(const char* what, std::int64_t done, std::int64_t total);

private:
    bool active;
    bool drawn = false;
    std::chrono::steady_clock::time_point next;
};
