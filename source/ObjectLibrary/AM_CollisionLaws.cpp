#include "AM_CollisionLaws.h"

#include "AM_Log.h"
#include "DSP_SVF.h"

#include <algorithm>
#include <array>

namespace {

constexpr i32 k_tableSize = 80000;
constexpr i32 k_secondOrderLimit = 20000;
constexpr i32 k_primerSize = 8192;
constexpr i32 k_maxDraws = 200000;
constexpr u32 k_noSum = 0xffffffff;
constexpr u32 k_startCollisions = 0xfffffff;
constexpr u16 k_emptyPlace = 1000;

// How many primes below 90 divide a number; the primes themselves count 0.
constexpr std::array<u16, k_primerSize> makePrimeFactorCounts() {
    std::array<u16, k_primerSize> counts{};
    for (i32 n = 2; n < 90; ++n) {
        if (counts[n] != 0) continue;
        for (i32 m = 2 * n; m < k_primerSize; m += n)
            ++counts[m];
    }
    return counts;
}
constexpr std::array<u16, k_primerSize> primeFactorCounts = makePrimeFactorCounts();

i32 drawInt(AM_ModelGenerator& generator, f32 lo, f32 hi) {
    return static_cast<i32>(generator.random(lo, hi));
}

void raise(u16& mark, u16 limit) {
    if (mark < limit) ++mark;
}

} // namespace

AM_CollisionLaws::AM_CollisionLaws()
    : markTable(k_tableSize + 2), marks(markTable.data() + 1), sums(k_tableSize) {
}

u32 AM_CollisionLaws::draw(AM_ModelGenerator& generator, i32 law, AM_DelayLengths& lengths) {
    AM_Log("Seed %d", generator.seed);
    const f32 r1 = generator.random(0.0f, 1.0f);
    const f32 r2 = generator.random(0.0f, 1.0f);
    Range range;
    range.hi = r1 * r1 * 7000.0f + 1000.0f;
    range.lo = (r2 * r2 * 40.0f + 1.0f) * (range.hi * 0.01f);
    for (i32& length : lengths)
        length = drawInt(generator, range.lo, range.hi);
    std::fill(markTable.begin(), markTable.end(), u16{0});

    u32 tests = 0;
    switch (law) {
    case k_lawFirstOrder:
        tests = firstOrder(generator, range, lengths);
        break;
    case k_lawSecondOrder:
        tests = secondOrder(generator, range, lengths);
        break;
    case k_lawPrimer:
        tests = primer(generator, range, lengths);
        break;
    case k_lawChromatic:
        chromatic(generator, lengths);
        break;
    default:
        tests = doublettesInRange(generator, range, lengths);
        break;
    }
    AM_Log("collisionLaw ran %d tests", tests);
    return tests;
}

u32 AM_CollisionLaws::doublettesInRange(AM_ModelGenerator& generator, Range range,
                                        AM_DelayLengths& lengths) {
    const i32 width = drawInt(generator, 1.0f, 15.0f);
    AM_Log("DoublettesInRange %f", static_cast<f32>(width));
    const auto markAround = [&](i32 length) {
        const i32 t = length / width;
        marks[t - 1] = marks[t] = marks[t + 1] = 1;
    };
    u32 tests = 0;
    markAround(lengths[0]);
    // The last length stays as drawn.
    for (i32 i = 1; i < k_numDelays - 1; ++i) {
        for (i32 tries = 0; tries < 1000; ++tries) {
            if (marks[lengths[i] / width] == 0) break;
            ++tests;
            lengths[i] = drawInt(generator, range.lo, range.hi);
        }
        markAround(lengths[i]);
    }
    return tests;
}

u32 AM_CollisionLaws::sumOfMultiples(i32 step) const {
    u32 sum = 0;
    for (i32 m = step; m < k_tableSize; m += step)
        sum += marks[m];
    return sum;
}

template <class Cost>
i32 AM_CollisionLaws::search(AM_ModelGenerator& generator, Range range, u32& count, u32 patience,
                             u32& tests, Cost costOf) {
    u32 cost = k_startCollisions;
    i32 d = 0;
    for (i32 draws = 0; draws < k_maxDraws && count / patience < cost; ++draws) {
        d = drawInt(generator, range.lo, range.hi);
        if (marks[d] != 0) continue;
        ++count;
        ++tests;
        cost = costOf(d, count / patience);
    }
    return d;
}

// What is kept of a sum that was broken off is less than the sum, so it serves as long as the limit
// stays below it.
template <class Sum>
u32 AM_CollisionLaws::sumOnce(i32 d, u32 limit, Sum sumOf) {
    if (sums[d] == k_noSum || sums[d] <= limit) sums[d] = sumOf();
    return sums[d];
}

u32 AM_CollisionLaws::firstOrder(AM_ModelGenerator& generator, Range range,
                                 AM_DelayLengths& lengths) {
    AM_Log("CollisionFirstOrder");
    u32 tests = 0;
    for (i32& length : lengths) {
        std::fill(sums.begin(), sums.end(), k_noSum);
        u32 attempts = 0;
        length = search(generator, range, attempts, 5, tests, [&](i32 d, u32 limit) {
            return sumOnce(d, limit, [&] { return sumOfMultiples(d); });
        });
        for (i32 m = length; m < k_tableSize; m += length)
            raise(marks[m], 0xffff);
    }
    return tests;
}

// Both series of a pair go by the same step, so they are walked together. Breaks off once the sum
// is beyond the limit: by how much does not matter.
u32 AM_CollisionLaws::sumOfPairs(i32 d, const i32* earlier, i32 count, u32 limit) const {
    u32 sum = 0;
    for (i32 j = 0; j < count && sum <= limit; ++j) {
        const i32 step = d + earlier[j];
        i32 low = std::min(d, earlier[j]);
        i32 high = std::max(d, earlier[j]);
        for (; high < k_secondOrderLimit; low += step, high += step)
            sum += marks[low] + marks[high];
        if (low < k_secondOrderLimit) sum += marks[low];
    }
    return sum;
}

void AM_CollisionLaws::markPairs(i32 d, const i32* earlier, i32 count) {
    for (i32 m = d; m < k_secondOrderLimit; m += d)
        raise(marks[m], 0xff);
    for (i32 j = 0; j < count; ++j) {
        const i32 step = d + earlier[j];
        for (i32 m = d; m < k_secondOrderLimit; m += step)
            raise(marks[m], 0xffff);
        for (i32 m = earlier[j]; m < k_secondOrderLimit; m += step)
            raise(marks[m], 0xffff);
    }
}

u32 AM_CollisionLaws::secondOrder(AM_ModelGenerator& generator, Range range,
                                  AM_DelayLengths& lengths) {
    AM_Log("CollisionSecondOrder");
    u32 tests = 0;
    for (i32 i = 0; i < k_numDelays; ++i) {
        std::fill(sums.begin(), sums.end(), k_noSum);
        u32 threshold = static_cast<u32>(i * i);
        lengths[i] = search(generator, range, threshold, 1, tests, [&](i32 d, u32 limit) {
            return sumOnce(d, limit, [&] { return sumOfPairs(d, lengths, i, limit); });
        });
        AM_Log("maxCollisions %d", threshold);
        markPairs(lengths[i], lengths, i);
    }
    return tests;
}

u32 AM_CollisionLaws::primer(AM_ModelGenerator& generator, Range range, AM_DelayLengths& lengths) {
    AM_Log("Collision Primer");
    u32 tests = 0;
    for (i32& length : lengths) {
        u32 attempts = 0;
        length = search(generator, range, attempts, 10, tests,
                        [](i32 d, u32) -> u32 { return primeFactorCounts[d]; });
        raise(marks[length], 0xffff);
    }
    return tests;
}

void AM_CollisionLaws::chromatic(AM_ModelGenerator& generator, AM_DelayLengths& lengths) {
    AM_Log("Chromatic");
    // Periods at an internal rate of 40 kHz of 64 semitones, note 69 being 110 Hz.
    const i32 base = drawInt(generator, 20.0f, 50.0f);
    for (i32 i = 0; i < k_numDelays; ++i) {
        const f32 x = static_cast<f32>(i + base - 69) * 0.083333336f;
        const f32 frequency = 110.0f * AM_fastExp2(x);
        i32 slot = drawInt(generator, 0.0f, 64.0f);
        while (marks[slot & 63] != 0)
            ++slot;
        slot &= 63;
        marks[slot] = 1;
        lengths[slot] = static_cast<i32>(40000.0f / frequency);
        AM_Log("delay %d -> %f", slot, frequency);
    }
}

void AM_CollisionLaws::sortLengths(AM_DelayLengths& lengths, i32 (&sorted)[k_numDelays]) {
    std::fill_n(marks, k_tableSize, k_emptyPlace);
    for (i32 i = 0; i < k_numDelays; ++i) {
        i32 place = lengths[i];
        if (place < 0 || place >= k_tableSize - k_numDelays) {
            AM_Log("delays[ %d ] is %d", i, place);
            place = std::clamp(place, 0, k_tableSize - k_numDelays);
        }
        while (marks[place] != k_emptyPlace)
            ++place;
        marks[place] = static_cast<u16>(i);
        lengths[i] = place;
    }
    i32 found = 0;
    for (i32 place = 0; found < k_numDelays; ++place)
        if (marks[place] != k_emptyPlace) sorted[found++] = place;
}

void AM_CollisionLaws::arrange(i32 arrangement, i32 numMatrices, i32 matrixSize,
                               AM_DelayLengths& lengths) {
    if (arrangement == 0) return;
    i32 sorted[k_numDelays];
    sortLengths(lengths, sorted);
    const auto reportOnes = [&] {
        for (i32 i = 0; i < k_numDelays; ++i)
            if (lengths[i] == 1) AM_Log("ALERT! delays[ %d ] == 1", i);
    };
    if (arrangement == 1) {
        AM_Log("Rising");
        std::fill(std::begin(lengths), std::end(lengths), 1);
        for (i32 r = 0; r < numMatrices; ++r)
            for (i32 c = 0; c < matrixSize; ++c)
                lengths[r * matrixSize + c] = sorted[(r & 0xfe) * matrixSize + (r & 1) + 2 * c];
        reportOnes();
        // Goes on: of the rising order only what the next one does not touch survives, the last
        // four lines of the six-line family.
    }
    AM_Log("Evenly");
    const i32 half = matrixSize / 2;
    for (i32 r = 0; r < numMatrices; ++r) {
        i32* row = lengths + r * matrixSize;
        for (i32 c = 0; c < half; ++c)
            row[c] = sorted[r + c * matrixSize];
        for (i32 c = 0; c < matrixSize - half; ++c)
            row[half + c] = sorted[k_numDelays - 1 - r - c * matrixSize];
    }
    reportOnes();
}
