#include "AM_Clock.h"

#include <chrono>

u64 AM_nanoseconds() noexcept {
    using namespace std::chrono;
    return static_cast<u64>(
        duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}
