#include "AM_VirtualFile.h"

#include "AM_Assert.h"
#include "AM_Log.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <limits>
#include <string>

namespace {

// Counts the whole text and keeps its head.
class BoundedText final : public AM_STD::TextOutput {
public:
    explicit BoundedText(size_t capacity) : capacity(capacity) {}
    void put(const char* text, size_t length) override {
        kept.append(text, std::min(length, capacity - kept.size()));
        total += length;
    }
    size_t room() const noexcept override { return std::numeric_limits<i32>::max() - total; }

    size_t capacity;
    std::string kept;
    size_t total = 0;
};

void dropBrokenCharacter(std::string& text) {
    using Utf8 = boost::locale::utf::utf_traits<char>;
    size_t start = text.size();
    while (start > 0 && text.size() - start < Utf8::max_width && Utf8::is_trail(text[start - 1]))
        --start;
    if (start > 0) --start; // the head of the last character
    const char* at = text.data() + start;
    const char* const end = text.data() + text.size();
    if (Utf8::decode(at, end) == boost::locale::utf::incomplete) text.resize(start);
}

} // namespace

u8 AM_VirtualFile::getByte(i64 index) {
    if (hasError()) return 0;
    const char* content = getContentBuffer();
    if (content == nullptr) return 0;
    const i64 length = getContentSize();
    if (index < 0) index += length;
    return index >= 0 && index < length ? static_cast<u8>(content[index]) : 0;
}

void AM_VirtualFile::fprintv(i32 maxLength, const char* format, const AM_Arguments& arguments) {
    if (hasError()) return;
    BoundedText text(maxLength > 0 ? static_cast<size_t>(maxLength) - 1 : 0);
    AM_STD::formatTo(text, format, arguments);
    const bool isCut = text.total > text.capacity;
    if (isCut) dropBrokenCharacter(text.kept);
    if (!text.kept.empty()) write(text.kept.data(), static_cast<u32>(text.kept.size()));
    if (isCut)
        AM_Log("fprintv: length exceeded maxLen!: %d >= %d", static_cast<i32>(text.total),
               maxLength);
}

i64 AM_VirtualErrorFile::size() {
    AM_ASSERT(!hasError(), "!hasError()");
    return 0;
}

u32 AM_VirtualErrorFile::getDateModified(i32) {
    AM_ASSERT(!hasError(), "!hasError()");
    return 0;
}

bool AM_VirtualErrorFile::seek(i64, i32) {
    AM_ASSERT(!hasError(), "!hasError()");
    return true;
}

i64 AM_VirtualErrorFile::tell() {
    AM_ASSERT(!hasError(), "!hasError()");
    return -1;
}

u32 AM_VirtualErrorFile::write(const void*, u32) {
    AM_ASSERT(!hasError(), "!hasError()");
    return 0;
}

char* AM_VirtualErrorFile::getContentBuffer() {
    AM_ASSERT(!hasError(), "!hasError()");
    return nullptr;
}

i64 AM_VirtualErrorFile::getContentSize() {
    AM_ASSERT(!hasError(), "!hasError()");
    return 0;
}
