#include "AM_RowScaler.h"

#include "AM_PremultipliedRow.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace {

const __m128i* vectors(const void* from) {
    return static_cast<const __m128i*>(from);
}
__m128i* vectors(void* to) {
    return static_cast<__m128i*>(to);
}

__m128i weightPair(const i16* weights) {
    i32 both;
    std::memcpy(&both, weights, 4);
    return _mm_set1_epi32(both);
}

// Back from 14 bits of weight.
__m128i rounded(__m128i sum) {
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(AM_ResampleTaps::k_one / 2)), 14);
}

} // namespace

void AM_RowScaler::begin(const AM_PixelView& newImage, const AM_ScaledArea& area,
                         AM_Resampling choice) {
    image = newImage;
    width = area.right - area.left;
    isPositive = choice == k_nearestNeighbour || choice == k_bilinear || choice == k_cubic ||
                 choice == k_cubic2Pass;
    top = area.top;
    across = &keptAcross.get(choice, image.width, area.imageLeft, area.imageWidth, area.left,
                             area.right);
    down =
        &keptDown.get(choice, image.height, area.imageTop, area.imageHeight, area.top, area.bottom);
    firstColumn = across->lowest;
    const i32 reach = across->highest + across->perPixel - firstColumn;
    numColumns = std::min(reach, image.width - firstColumn);
    // Rows are padded to whole vectors; places that the image does not have are read, and weigh
    // nothing.
    source.assign(4 * static_cast<size_t>(reach), 0);
    stride = 4 * static_cast<size_t>((width + 1) & ~1);
    numRows = std::min(down->perPixel, k_maxRows);
    scaled.resize(std::max(scaled.size(), stride * static_cast<size_t>(numRows)));
    rowNumbers.assign(static_cast<size_t>(numRows), -1);
    result.resize(std::max(result.size(), stride));
}

const i16* AM_RowScaler::scaledRow(i32 sourceY) {
    const size_t slot = static_cast<size_t>(sourceY % numRows);
    i16* target = scaled.data() + slot * stride;
    if (rowNumbers[slot] == sourceY) return target;
    rowNumbers[slot] = sourceY;
    const i32 y = std::min(sourceY, image.height - 1);
    AM_PremultipliedRow::load(source.data(), image.row(y) + 4 * static_cast<size_t>(firstColumn),
                              numColumns);
    scaleAcross(source.data(), target);
    return target;
}

// One pixel, four 32-bit numbers with 14 bits of weight.
__m128i AM_RowScaler::pixelAcross(const i16* from, i32 x) const {
    const i16* pixels =
        from + 4 * static_cast<size_t>(across->first[static_cast<size_t>(x)] - firstColumn);
    const i16* weights = across->of(x);
    __m128i total = _mm_setzero_si128();
    for (i32 k = 0; k < across->perPixel; k += 2) {
        const __m128i two = _mm_loadu_si128(vectors(pixels + 4 * k));
        const __m128i mixed = _mm_unpacklo_epi16(two, _mm_srli_si128(two, 8));
        total = _mm_add_epi32(total, _mm_madd_epi16(mixed, weightPair(weights + k)));
    }
    return rounded(total);
}

void AM_RowScaler::scaleAcross(const i16* from, i16* target) const {
    if (across->perPixel == 2) return scaleAcrossByTwo(from, target);
    for (i32 x = 0; x < width; x += 2, target += 8) {
        const __m128i first = pixelAcross(from, x);
        const __m128i second = pixelAcross(from, std::min(x + 1, width - 1));
        _mm_storeu_si128(vectors(target), _mm_packs_epi32(first, second));
    }
}

void AM_RowScaler::scaleAcrossByTwo(const i16* from, i16* target) const {
    const i32* first = across->first.data();
    const i16* weights = across->weights.data();
    for (i32 x = 0; x < width; ++x, weights += 2, target += 4) {
        const __m128i two =
            _mm_loadu_si128(vectors(from + 4 * static_cast<size_t>(first[x] - firstColumn)));
        const __m128i mixed = _mm_unpacklo_epi16(two, _mm_srli_si128(two, 8));
        const __m128i pixel = rounded(_mm_madd_epi16(mixed, weightPair(weights)));
        _mm_storel_epi64(vectors(target), _mm_packs_epi32(pixel, pixel));
    }
}

const i16* AM_RowScaler::row(i32 y) {
    const i32 index = y - top;
    const i32 first = down->first[static_cast<size_t>(index)];
    const i16* weights = down->of(index);
    const i16* rows[k_maxRows];
    // All of the weight may be on one row, most of all where nothing is scaled.
    if (down->perPixel == 2 && isPositive)
        for (i32 k = 0; k < 2; ++k)
            if (weights[k] == AM_ResampleTaps::k_one) return scaledRow(first + k);
    const bool atOnce = down->perPixel <= k_maxRows;
    if (!atOnce) sums.assign(stride, 0);
    for (i32 done = 0; done < down->perPixel; done += k_maxRows) {
        const i32 count = std::min(down->perPixel - done, k_maxRows);
        for (i32 k = 0; k < count; ++k)
            rows[k] = scaledRow(first + done + k);
        if (count == 2 && isPositive)
            mixTwo(rows[0], rows[1], weights[1]);
        else if (atOnce)
            combine(rows, weights, count);
        else
            sum(rows, weights + done, count);
    }
    if (!atOnce) finish();
    if (!isPositive) AM_PremultipliedRow::clamp(result.data(), width);
    return result.data();
}

// Weights that are not negative and sum up to one: b's is `weight`.
void AM_RowScaler::mixTwo(const i16* a, const i16* b, i32 weight) {
    // Twice the difference times twice the weight, over 65536.
    const __m128i share = _mm_set1_epi16(static_cast<short>(2 * weight));
    for (size_t x = 0; x < stride; x += 8) {
        const __m128i from = _mm_loadu_si128(vectors(a + x));
        const __m128i difference = _mm_sub_epi16(_mm_loadu_si128(vectors(b + x)), from);
        const __m128i moved = _mm_mulhi_epi16(_mm_add_epi16(difference, difference), share);
        _mm_storeu_si128(vectors(result.data() + x), _mm_add_epi16(from, moved));
    }
}

void AM_RowScaler::combine(const i16* const* rows, const i16* weights, i32 count) {
    const __m128i first = weightPair(weights);
    for (size_t x = 0; x < stride; x += 8) {
        __m128i low = _mm_setzero_si128();
        __m128i high = low;
        for (i32 k = 0; k < count; k += 2) {
            const __m128i a = _mm_loadu_si128(vectors(rows[k] + x));
            const __m128i b = _mm_loadu_si128(vectors(rows[k + 1] + x));
            const __m128i w = k ? weightPair(weights + k) : first;
            low = _mm_add_epi32(low, _mm_madd_epi16(_mm_unpacklo_epi16(a, b), w));
            high = _mm_add_epi32(high, _mm_madd_epi16(_mm_unpackhi_epi16(a, b), w));
        }
        _mm_storeu_si128(vectors(result.data() + x), _mm_packs_epi32(rounded(low), rounded(high)));
    }
}

void AM_RowScaler::sum(const i16* const* rows, const i16* weights, i32 count) {
    for (i32 k = 0; k < count; ++k) {
        const i32 weight = weights[k];
        const i16* row = rows[k];
        for (size_t x = 0; x < stride; ++x)
            sums[x] += row[x] * weight;
    }
}

void AM_RowScaler::finish() {
    for (size_t x = 0; x < stride; ++x) {
        const i32 value = (sums[x] + AM_ResampleTaps::k_one / 2) >> 14;
        result[x] = static_cast<i16>(std::clamp(value, -32768, 32767));
    }
}
