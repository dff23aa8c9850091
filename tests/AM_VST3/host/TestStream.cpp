#include "TestStream.h"

#include <algorithm>

using Steinberg::int32;
using Steinberg::tresult;

TestStream::TestStream(std::string_view bytes) {
    // The stream's own write() takes its source as one that might be written to.
    if (!bytes.empty())
        MemoryStream::write(const_cast<char*>(bytes.data()), static_cast<int32>(bytes.size()),
                            nullptr);
    rewind();
}

TestStream& TestStream::limitCalls(i32 bytes) {
    perCall = bytes;
    return *this;
}

TestStream& TestStream::failAfter(i64 bytes) {
    budget = bytes;
    return *this;
}

std::string TestStream::bytes() const {
    const auto* data = getData();
    return data ? std::string(data, static_cast<size_t>(getSize())) : std::string();
}

int32 TestStream::grant(int32 wanted) {
    if (wanted > 0 && budget == 0) return -1;
    const auto granted = static_cast<int32>(std::min<i64>({wanted, perCall, budget}));
    budget -= std::max(granted, 0);
    return granted;
}

tresult TestStream::read(void* buffer, int32 wanted, int32* done) {
    if (done) *done = 0;
    const int32 granted = grant(wanted);
    return granted < 0 ? Steinberg::kResultFalse : MemoryStream::read(buffer, granted, done);
}

tresult TestStream::write(void* buffer, int32 wanted, int32* done) {
    if (done) *done = 0;
    const int32 granted = grant(wanted);
    return granted < 0 ? Steinberg::kResultFalse : MemoryStream::write(buffer, granted, done);
}
