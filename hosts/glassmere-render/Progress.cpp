#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {
constexpr auto k_interval = std::chrono::milliseconds(100);
constexpr int k_barWidth = 40;
} // namespace

Progress::Progress(bool enabled)
    : active(enabled && isatty(STDERR_FILENO) == 1),
      next(std::chrono::steady_clock::now() + k_interval) {
}

Progress::~Progress() {
    if (drawn) std::fputs("\r\x1b[K", stderr);
}

void Progress::show(const char* what, std::int64_t done, std::int64_t total) {
    if (!active) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next) return;
    next = now + k_interval;
    drawn = true;
    if (total <= 0) {
        std::fprintf(stderr, "\r\x1b[K%s %lld frames", what, static_cast<long long>(done));
        return;
    }
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const int filled = static_cast<int>(share * k_barWidth);
    const std::string bar = std::string(static_cast<size_t>(filled), '#') +
                            std::string(static_cast<size_t>(k_barWidth - filled), '.');
    std::fprintf(stderr, "\r\x1b[K%s [%s] %3d%%", what, bar.c_str(), static_cast<int>(share * 100));
}
