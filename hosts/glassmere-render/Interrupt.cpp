#include "Interrupt.h"

#include "Errors.h"

#include <csignal>

namespace {
volatile std::sig_atomic_t requested = 0;

extern "C" void onSignal(int signalNumber) {
    requested = 1;
    std::signal(signalNumber, SIG_DFL);
}
} // namespace

void installInterruptHandler() {
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGHUP, onSignal);
}

bool interruptRequested() noexcept {
    return requested != 0;
}

void throwIfInterrupted() {
    if (interruptRequested()) throw Interrupted();
}
