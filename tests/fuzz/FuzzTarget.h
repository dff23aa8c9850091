// What the fuzz targets share.
#pragma once

#include "AM_Log.h"

#include <cstdlib>

// Takes the log's lines and drops them; a static of the target.
class FuzzSilence final : public AM_LogSink {
public:
    FuzzSilence() { AM_setLogSink(this); }
    // Has the lines of this input formatted too, however many came before.
    void begin() {
        AM_resetLog();
        AM_setLogSink(this);
    }
    void writeLine(std::string_view) override {}
};

inline void require(bool holds) {
    if (!holds) std::abort();
}
