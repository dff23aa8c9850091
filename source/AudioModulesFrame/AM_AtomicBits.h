// A set of bits that any thread may set and one thread takes over word by word.
#pragma once

#include "AM_Take.h"
#include "AM_Types.h"

#include <atomic>
#include <memory>

class AM_AtomicBits {
public:
    static constexpr i32 k_bitsPerWord = 64;

    // Makes room for the bits 0 to `count` - 1, all clear; not while others use the set.
    void resize(i32 count) {
        words = (count + k_bitsPerWord - 1) / k_bitsPerWord;
        bits = std::make_unique<std::atomic<u64>[]>(static_cast<size_t>(words));
    }
    i32 numWords() const { return words; }

    // What the thread wrote before set() is seen by who takes the bit over.
    void set(i32 index) { word(index).fetch_or(mask(index), std::memory_order_release); }
    // Clears the bit and tells whether it was set.
    bool clear(i32 index) {
        if (!test(index)) return false;
        return (word(index).fetch_and(~mask(index), std::memory_order_acq_rel) & mask(index)) != 0;
    }
    bool test(i32 index) const {
        return (word(index).load(std::memory_order_acquire) & mask(index)) != 0;
    }
    // All bits of a word, which is clear afterwards. Bit b stands for index * 64 + b.
    u64 take(i32 wordIndex) {
        return AM_take(bits[static_cast<size_t>(wordIndex)]);
    }

private:
    static u64 mask(i32 index) { return u64{1} << (index % k_bitsPerWord); }
    std::atomic<u64>& word(i32 index) const {
        return bits[static_cast<size_t>(index / k_bitsPerWord)];
    }

    std::unique_ptr<std::atomic<u64>[]> bits;
    i32 words = 0;
};
static_assert(std::atomic<u64>::is_always_lock_free);
