// The clock of stop watches and time-outs.
#pragma once

#include "AM_Types.h"

// Nanoseconds of the steady clock, from an arbitrary origin; never steps back. Any thread, the
// audio thread included.
u64 AM_nanoseconds() noexcept;
