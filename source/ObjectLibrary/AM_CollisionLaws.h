// Draws the lengths of the 64 delay lines, by laws that look for lengths whose echoes
// do not fall on each other, and arranges them over the matrices.
#pragma once

#include "AM_ModelGenerator.h"
#include "AM_Types.h"

#include <vector>

inline constexpr i32 k_numDelays = 64;
using AM_DelayLengths = i32[k_numDelays];

enum AM_CollisionLaw : i32 {
    k_lawDoublettes = 0,
    k_lawFirstOrder = 1,
    k_lawSecondOrder = 2,
    k_lawPrimer = 3,
    k_lawChromatic = 4,
};

// The laws and their work tables. One thread at a time, never the audio thread.
class AM_CollisionLaws {
public:
    AM_CollisionLaws();

    // Draws 64 lengths in samples by `law` (unknown: 0) and returns how many draws were tested.
    // A slot for which no draw satisfies the law takes the 200000th.
    u32 draw(AM_ModelGenerator& generator, i32 law, AM_DelayLengths& lengths);

    // Spreads the lengths over `numMatrices` matrices of `matrixSize` lines: 0 as they are; 1
    // rising, then evenly; others evenly, each matrix mixing short and long lines.
    void arrange(i32 arrangement, i32 numMatrices, i32 matrixSize, AM_DelayLengths& lengths);

private:
    struct Range {
        f32 lo;
        f32 hi;
    };
    u32 doublettesInRange(AM_ModelGenerator& generator, Range range, AM_DelayLengths& lengths);
    u32 firstOrder(AM_ModelGenerator& generator, Range range, AM_DelayLengths& lengths);
    u32 secondOrder(AM_ModelGenerator& generator, Range range, AM_DelayLengths& lengths);
    u32 primer(AM_ModelGenerator& generator, Range range, AM_DelayLengths& lengths);
    void chromatic(AM_ModelGenerator& generator, AM_DelayLengths& lengths);

    // Draws until `count`, raised by each draw without a mark, is `patience` times what the last
    // one costs; returns that draw.
    template <class Cost>
    i32 search(AM_ModelGenerator& generator, Range range, u32& count, u32 patience, u32& tests,
               Cost costOf);
    // The sum for draw `d`, formed at its first time in a slot.
    template <class Sum>
    u32 sumOnce(i32 d, u32 limit, Sum sumOf);
    u32 sumOfMultiples(i32 step) const;
    u32 sumOfPairs(i32 d, const i32* earlier, i32 count, u32 limit) const;
    void markPairs(i32 d, const i32* earlier, i32 count);
    void sortLengths(AM_DelayLengths& lengths, i32 (&sorted)[k_numDelays]);

    // marks has one entry in front of it for the neighbour of 0.
    std::vector<u16> markTable;
    u16* marks;
    // Sums already formed for the slot in hand, by draw; the laws' marks stand still meanwhile.
    std::vector<u32> sums;
};
