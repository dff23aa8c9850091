// A stream over memory with the manners of awkward hosts.
#pragma once

#include "AM_Types.h"
#include "public.sdk/source/common/memorystream.h"

#include <limits>
#include <string>
#include <string_view>

// Meant to live with the test that made it. One thread at a time.
class TestStream : public Steinberg::MemoryStream {
public:
    // An empty stream to write to.
    TestStream() = default;
    // Holds a copy of the bytes and stands at their beginning.
    explicit TestStream(std::string_view bytes);

    // Each call moves at most so many bytes and says so (1 or more).
    TestStream& limitCalls(i32 bytes);
    // After so many bytes in all, calls fail.
    TestStream& failAfter(i64 bytes);
    void rewind() { seek(0, kIBSeekSet, nullptr); }
    // All that the stream holds.
    std::string bytes() const;

    Steinberg::tresult PLUGIN_API read(void* buffer, Steinberg::int32 wanted,
                                       Steinberg::int32* done) override;
    Steinberg::tresult PLUGIN_API write(void* buffer, Steinberg::int32 wanted,
                                        Steinberg::int32* done) override;

private:
    // The bytes that may be moved now; -1 if the call is to fail.
    Steinberg::int32 grant(Steinberg::int32 wanted);

    i32 perCall = std::numeric_limits<i32>::max();
    i64 budget = std::numeric_limits<i64>::max();
};
