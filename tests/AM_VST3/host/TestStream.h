// A stream over memory with the manners of awkward hosts.
#pragma once

#include "AM_Types.h"
#include "public.sdk/source/common/memorystream.h"

#include <algorithm>
#include <limits>
#include <string>

class TestStream : public Steinberg::MemoryStream {
public:
    // Holds a copy of the bytes and stands at their beginning. Each call moves at most `inPerCall`
    // bytes and says so; after `inBudget` bytes in all, calls fail.
    explicit TestStream(std::string bytes = {}, i32 inPerCall = k_all, i32 inBudget = k_all) {
        // The stream's own write() takes its source as one that might be written to.
        if (!bytes.empty())
            MemoryStream::write(bytes.data(), static_cast<i32>(bytes.size()), nullptr);
        seek(0, kIBSeekSet, nullptr);
        perCall = inPerCall;
        budget = inBudget;
    }
    // All that the stream holds.
    std::string bytes() const {
        return getData() ? std::string(getData(), static_cast<size_t>(getSize())) : "";
    }

    Steinberg::tresult PLUGIN_API read(void* buffer, Steinberg::int32 wanted,
                                       Steinberg::int32* done) override {
        return grant(wanted, done) ? MemoryStream::read(buffer, wanted, done)
                                   : Steinberg::kResultFalse;
    }
    Steinberg::tresult PLUGIN_API write(void* buffer, Steinberg::int32 wanted,
                                        Steinberg::int32* done) override {
        return grant(wanted, done) ? MemoryStream::write(buffer, wanted, done)
                                   : Steinberg::kResultFalse;
    }

    static constexpr i32 k_all = std::numeric_limits<i32>::max();

private:
    // Lowers `wanted` to the bytes that may be moved now; false if the call is to fail.
    bool grant(Steinberg::int32& wanted, Steinberg::int32* done) {
        if (done) *done = 0;
        if (wanted > 0 && budget == 0) return false;
        wanted = std::min({wanted, perCall, budget});
        budget -= wanted;
        return true;
    }

    i32 perCall = k_all;
    i32 budget = k_all;
};
