#include "AM_ResampleTaps.h"

#include <algorithm>
#include <cmath>

namespace {

f32 bSpline(f32 x) {
    return x < 1 ? (4 + x * x * (3 * x - 6)) / 6 : (2 - x) * (2 - x) * (2 - x) / 6;
}
f32 catrom(f32 x) {
    return x < 1 ? 1 + x * x * (1.5f * x - 2.5f) : 2 + x * (x * (2.5f - 0.5f * x) - 4);
}
f32 mitchell(f32 x) {
    return x < 1 ? (16 + x * x * (21 * x - 36)) / 18 : (32 + x * (x * (36 - 7 * x) - 60)) / 18;
}

} // namespace

f32 AM_filterReach(AM_Resampling choice) {
    return choice == k_nearestNeighbour ? 0.5f : choice == k_bilinear ? 1.0f : 2.0f;
}

f32 AM_filterWeight(AM_Resampling choice, f32 x) {
    const f32 distance = std::abs(x);
    if (distance >= AM_filterReach(choice)) return 0;
    switch (choice) {
    case k_nearestNeighbour:
        return 1;
    case k_cubic:
    case k_cubic2Pass:
        return bSpline(distance);
    case k_catrom:
    case k_catrom2Pass:
        return catrom(distance);
    case k_mitchell:
    case k_mitchell2Pass:
        return mitchell(distance);
    default:
        return 1 - distance;
    }
}

void AM_ResampleTaps::make(AM_Resampling choice, i32 sourceSize, f64 origin, f64 size, i32 begin,
                           i32 end) {
    const f64 ratio = sourceSize / size;
    const bool nearest = choice == k_nearestNeighbour;
    const f64 widening = nearest ? 1 : std::clamp<f64>(ratio, 1, sourceSize);
    const f64 wanted = std::min<f64>(std::ceil(2 * widening * AM_filterReach(choice)), sourceSize);
    perPixel = (static_cast<i32>(wanted) + 1) & ~1;
    const size_t count = static_cast<size_t>(std::max(end - begin, 0));
    first.resize(count);
    weights.assign(count * static_cast<size_t>(perPixel), 0);
    for (i32 x = begin; x < end; ++x) {
        const f64 at = (x + 0.5 - origin) * ratio;
        if (nearest) {
            const i32 place = static_cast<i32>(std::clamp(std::floor(at), 0.0, sourceSize - 1.0));
            const i32 start = std::max(0, std::min(place, sourceSize - perPixel));
            first[static_cast<size_t>(x - begin)] = start;
            weights[static_cast<size_t>(x - begin) * static_cast<size_t>(perPixel) +
                    static_cast<size_t>(place - start)] = k_one;
        } else {
            makePixel(choice, sourceSize, at - 0.5, widening, x - begin);
        }
    }
    lowest = count == 0 ? 0 : *std::min_element(first.begin(), first.end());
    highest = count == 0 ? 0 : *std::max_element(first.begin(), first.end());
}

// Weights of places beyond the edges count for the pixels at the edges. They are rounded by their
// running sum, so that the whole is exact and no pixel bears the errors of all.
void AM_ResampleTaps::makePixel(AM_Resampling choice, i32 sourceSize, f64 centre, f64 widening,
                                i32 pixel) {
    const f64 reach = widening * AM_filterReach(choice);
    const i64 begin = static_cast<i64>(std::floor(centre - reach)) + 1;
    const i64 end = static_cast<i64>(std::ceil(centre + reach));
    const i32 start =
        static_cast<i32>(std::clamp<i64>(begin, 0, std::max(sourceSize - perPixel, 0)));
    exact.assign(static_cast<size_t>(perPixel), 0.0);
    f64 sum = 0;
    for (i64 i = begin; i < end; ++i) {
        const f64 distance = (static_cast<f64>(i) - centre) / widening;
        const f64 weight = AM_filterWeight(choice, static_cast<f32>(distance));
        const i64 place = std::clamp<i64>(i, 0, sourceSize - 1) - start;
        exact[static_cast<size_t>(std::min<i64>(place, perPixel - 1))] += weight;
        sum += weight;
    }
    first[static_cast<size_t>(pixel)] = start;
    i16* target = weights.data() + static_cast<size_t>(pixel) * static_cast<size_t>(perPixel);
    f64 running = 0;
    i32 given = 0;
    for (i32 k = 0; k < perPixel; ++k) {
        running += exact[static_cast<size_t>(k)];
        const i32 until = static_cast<i32>(std::lround(running / sum * k_one));
        target[k] = static_cast<i16>(until - given);
        given = until;
    }
}

const AM_ResampleTaps& AM_KeptTaps::get(AM_Resampling choice, i32 sourceSize, f64 origin, f64 size,
                                        i32 begin, i32 end) {
    Key key{choice, sourceSize, origin, size, begin, end};
    // At whole pixels the same image has the same weights everywhere.
    constexpr f64 farAway = 1e9;
    if (origin == std::floor(origin) && std::abs(origin) < farAway) {
        const i32 shift = static_cast<i32>(origin);
        key = {choice, sourceSize, 0, size, begin - shift, end - shift};
    }
    Entry* oldest = entries;
    for (Entry& entry : entries) {
        if (entry.lastUse > 0 && entry.key == key) {
            entry.lastUse = ++uses;
            return entry.taps;
        }
        if (entry.lastUse < oldest->lastUse) oldest = &entry;
    }
    oldest->lastUse = 0; // until it is made
    oldest->taps.make(choice, sourceSize, key.origin, size, key.begin, key.end);
    oldest->key = key;
    oldest->lastUse = ++uses;
    return oldest->taps;
}
