#include "AM_Parameter.h"

#include "AM_Assert.h"

#include <cstring>

namespace {

// Copies up to N characters; the rest stays zero, so a name of N characters has no terminator.
template <size_t N>
void copyName(char (&target)[N], const char* text) {
    if (text) std::memcpy(target, text, strnlen(text, N));
}

} // namespace

ParameterInfo::ParameterInfo(const char* shortText, const char* longText, u32 kindWord, f32 minimum,
                             f32 maximum, f32 defaultTo)
    : kind(kindWord), minValue(minimum), maxValue(maximum), defaultValue(defaultTo) {
    copyName(shortName, shortText);
    copyName(longName, longText);
}

ParameterInfo ParameterInfo::withFlags(u32 flagWord) const {
    ParameterInfo copy = *this;
    copy.flags |= flagWord;
    return copy;
}

void ParameterInfo::storeTo(ParameterInfo& target) const {
    AM_ASSERT((flags & k_flagModSource) == 0 || kind == k_integer, "ModSources must be integers!");
    target = *this;
}

void ParameterInfo::copyShortName(char (&out)[9]) const {
    std::memcpy(out, shortName, sizeof shortName);
    out[8] = 0;
}

bool ParameterInfo::hasShortName(const char* text) const {
    const size_t length = strnlen(shortName, sizeof shortName);
    return std::strlen(text) == length && std::memcmp(text, shortName, length) == 0;
}
