// A sink that keeps the lines, attached while it lives.
#pragma once

#include "AM_Log.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

class LogCapture final : public AM_LogSink {
public:
    LogCapture() {
        AM_resetLog();
        previous = AM_setLogSink(this);
    }
    ~LogCapture() override {
        AM_setLogSink(previous);
        AM_resetLog();
    }
    void writeLine(std::string_view line) override {
        std::lock_guard lock(mutex);
        lines.emplace_back(line);
    }
    // The lines so far, which are forgotten.
    std::vector<std::string> take() {
        std::lock_guard lock(mutex);
        return std::move(lines);
    }
    // How many of the lines so far hold `text`.
    int count(std::string_view text) {
        AM_flushLog();
        std::lock_guard lock(mutex);
        return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const auto& line) {
            return line.find(text) != std::string::npos;
        }));
    }
    bool has(std::string_view text) { return count(text) > 0; }

private:
    std::mutex mutex;
    std::vector<std::string> lines;
    AM_LogSink* previous;
};

using Lines = std::vector<std::string>;
