#include "AM_LetterPicker.h"

#include "AM_ModelGenerator.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {
std::atomic<u32> wordA{4803964};
std::atomic<u32> wordB{2302764};
} // namespace

void AM_LetterPicker::step() {
    const u32 a = wordA.load(std::memory_order_relaxed) + 859219139u;
    wordA.store(a, std::memory_order_relaxed);
    wordB.store((wordB.load(std::memory_order_relaxed) ^ 574767u) + a, std::memory_order_relaxed);
}

char AM_LetterPicker::pick(const char* text) {
    step();
    const i32 length = static_cast<i32>(std::strlen(text));
    const f32 fraction = AM_fractionOfBits(wordB.load(std::memory_order_relaxed));
    return text[std::min(static_cast<i32>(fraction * static_cast<f32>(length)), length - 1)];
}
