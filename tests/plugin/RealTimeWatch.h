// Watches what a thread does that must neither allocate nor wait nor enter the system.
#pragma once

#include "AM_Types.h"

#include <ostream>

// A program that links RealTimeWatch.cpp has its allocator and the usual ways to wait replaced, for
// itself and for the libraries that it loads; it exports its symbols, and no sanitizer is in it.
// Where the kernel can (Linux 5.11), system calls are caught whoever makes them.
struct RealTimeFindings {
    const char* call = nullptr; // the first forbidden function, null if there was none
    i64 systemCall = -1;        // the number of the first system call, -1 if there was none
    i32 locks = 0;              // how often a mutex was locked, or was tried to be

    bool clean() const { return !call && systemCall < 0; }
};

inline std::ostream& operator<<(std::ostream& out, const RealTimeFindings& found) {
    return out << (found.call ? found.call : "no call") << ", system call " << found.systemCall;
}

// Between these two the calling thread is watched; stretches of one thread do not nest.
void beginRealTimeWatch();
RealTimeFindings endRealTimeWatch();
// Whether system calls of this thread can be caught.
bool canCatchSystemCalls();

template <class Body>
RealTimeFindings watched(Body&& body) {
    beginRealTimeWatch();
    body();
    return endRealTimeWatch();
}
