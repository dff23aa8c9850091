#include "AM_Resample.h"

#include "AM_PixelBlend.h"
#include "AM_PremultipliedRow.h"

#include <algorithm>
#include <cmath>
#include <cstring>

const char AM_resamplingLabels[k_numResamplings][32] = {
    "Nearest Neighbour", "Bilinear",    "Cubic",        "Catrom",
    "Mitchell",          "Cubic 2pass", "Catrom 2pass", "Mitchell 2pass"};

namespace {

// Nothing of an editor is this large or this far away.
constexpr f64 k_farAway = 1e6;
// Differences that nobody sees.
constexpr f64 k_snap = 1.0 / 512;
// Work buffers for rotation have no side longer than this.
constexpr f64 k_maxScaledSide = 4096;

f64 snapped(f64 x) {
    const f64 whole = std::round(x);
    return std::abs(x - whole) < k_snap ? whole : x;
}

bool isWhole(f64 x) {
    return x == std::floor(x);
}

bool isReasonable(const AM_Rect& rect) {
    const f64 numbers[] = {rect.left, rect.top, rect.width, rect.height};
    for (const f64 number : numbers)
        if (!(std::abs(number) < k_farAway)) return false;
    return rect.width >= static_cast<f32>(k_snap) && rect.height >= static_cast<f32>(k_snap);
}

// A copy of the image, turned clockwise; its pixels are in `store`.
AM_PixelView turned(const AM_PixelView& image, i32 quarters, std::vector<u8>& store) {
    const bool upright = quarters == 2;
    AM_PixelView result;
    result.width = upright ? image.width : image.height;
    result.height = upright ? image.height : image.width;
    result.rowBytes = 4 * result.width;
    const size_t bytes = static_cast<size_t>(result.rowBytes) * static_cast<size_t>(result.height);
    store.resize(std::max(store.size(), bytes));
    result.pixels = store.data();
    for (i32 y = 0; y < result.height; ++y)
        for (i32 x = 0; x < result.width; ++x) {
            const i32 fromX = quarters == 1   ? y
                              : quarters == 2 ? image.width - 1 - x
                                              : image.width - 1 - y;
            const i32 fromY = quarters == 1   ? image.height - 1 - x
                              : quarters == 2 ? image.height - 1 - y
                                              : x;
            std::memcpy(result.row(y) + 4 * static_cast<size_t>(x),
                        image.row(fromY) + 4 * static_cast<size_t>(fromX), 4);
        }
    return result;
}

AM_PixelRect met(const AM_PixelRect& a, const AM_PixelRect& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

AM_PixelRect around(f64 left, f64 top, f64 right, f64 bottom) {
    return {static_cast<i32>(std::floor(left)), static_cast<i32>(std::floor(top)),
            static_cast<i32>(std::ceil(right)), static_cast<i32>(std::ceil(bottom))};
}

// The choice without its two passes.
AM_Resampling onePass(AM_Resampling choice) {
    if (choice < k_nearestNeighbour || choice >= k_numResamplings) return k_bilinear;
    return choice >= k_cubic2Pass ? static_cast<AM_Resampling>(choice - 3) : choice;
}

} // namespace

void AM_Resampler::draw(const AM_PixelView& target, const AM_PixelRect& clip,
                        const AM_PixelView& image, const AM_ImagePlacement& how,
                        AM_Resampling resampling) {
    if (target.isEmpty() || image.isEmpty() || !isReasonable(how.target)) return;
    if (!std::isfinite(how.angle) || (how.mask && how.mask->isEmpty())) return;
    Job job{};
    job.target = target;
    job.clip = met(clip, {0, 0, target.width, target.height});
    job.image = image;
    if (how.mask) job.mask = *how.mask;
    job.left = snapped(how.target.left);
    job.top = snapped(how.target.top);
    job.width = snapped(static_cast<f64>(how.target.left) + how.target.width) - job.left;
    job.height = snapped(static_cast<f64>(how.target.top) + how.target.height) - job.top;
    job.alpha = AM_PixelOps::alphaByte(how.alpha);
    job.mode = how.blend;
    job.resampling = resampling;
    if (job.clip.isEmpty() || job.alpha == 0 || !(job.width > 0 && job.height > 0)) return;
    const f64 angle = how.angle - 360.0 * std::floor(how.angle / 360.0);
    const i32 quarters = static_cast<i32>(angle / 90) & 3;
    if (angle != 90.0 * quarters && angle < 360) return drawRotated(job, angle);
    if (quarters) turnQuarters(job, quarters);
    drawStraight(job);
}

void AM_Resampler::turnQuarters(Job& job, i32 quarters) {
    job.image = turned(job.image, quarters, turnedImage);
    if (!job.mask.isEmpty()) job.mask = turned(job.mask, quarters, turnedMask);
    if (quarters == 2) return;
    const f64 shift = (job.width - job.height) / 2;
    job.left = snapped(job.left + shift);
    job.top = snapped(job.top - shift);
    std::swap(job.width, job.height);
}

void AM_Resampler::drawStraight(const Job& job) {
    const f64 right = job.left + job.width;
    const f64 bottom = job.top + job.height;
    const AM_PixelRect clip = met(job.clip, around(job.left, job.top, right, bottom));
    if (clip.isEmpty()) return;
    const AM_ScaledArea area{clip.left, clip.top, clip.right, clip.bottom,
                             job.left,  job.top,  job.width,  job.height};
    if (!job.mask.isEmpty()) maskRows.begin(job.mask, area, k_bilinear);
    columnCover.clear();
    if (!isWhole(job.left) || !isWhole(right))
        for (i32 x = clip.left; x < clip.right; ++x)
            columnCover.push_back(static_cast<u8>(AM_pixelShare(x, job.left, right) * 255.0 + 0.5));
    const bool unscaled = isWhole(job.left) && isWhole(job.top) && job.width == job.image.width &&
                          job.height == job.image.height;
    if (!unscaled) return drawScaled(job, area);
    const size_t skipped = 4 * static_cast<size_t>(clip.left - static_cast<i32>(job.left));
    const bool masked = !job.mask.isEmpty(); // else every pixel counts whole
    for (i32 y = clip.top; y < clip.bottom; ++y) {
        const u8* source = job.image.row(y - static_cast<i32>(job.top)) + skipped;
        AM_PixelOps::blendRow(job.target.row(y) + 4 * static_cast<size_t>(clip.left), source,
                              clip.right - clip.left, job.alpha,
                              masked ? coverOfRow(job, area, y) : nullptr, job.mode);
    }
}

void AM_Resampler::drawScaled(const Job& job, const AM_ScaledArea& area) {
    imageRows.begin(job.image, area, onePass(job.resampling));
    for (i32 y = area.top; y < area.bottom; ++y)
        AM_PremultipliedRow::blend(job.target.row(y) + 4 * static_cast<size_t>(area.left),
                                   imageRows.row(y), area.right - area.left, job.alpha,
                                   coverOfRow(job, area, y), job.mode);
}

// Null where every pixel of the row counts whole.
const u8* AM_Resampler::coverOfRow(const Job& job, const AM_ScaledArea& area, i32 y) {
    const f64 share = AM_pixelShare(y, job.top, job.top + job.height);
    const u32 rowCover = static_cast<u32>(share * 255.0 + 0.5);
    const bool masked = !job.mask.isEmpty();
    if (rowCover == 255 && !masked) return columnCover.empty() ? nullptr : columnCover.data();
    const size_t count = static_cast<size_t>(area.right - area.left);
    cover.resize(std::max(cover.size(), count));
    const i16* maskRow = masked ? maskRows.row(y) : nullptr;
    for (size_t x = 0; x < count; ++x) {
        u32 value = rowCover;
        if (!columnCover.empty()) value = AM_PixelOps::times255(value, columnCover[x]);
        if (maskRow)
            value = AM_PixelOps::times255(value, static_cast<u32>(maskRow[4 * x + 3] + 32) >> 6);
        cover[x] = static_cast<u8>(value);
    }
    return cover.data();
}

void AM_Resampler::drawRotated(Job job, f64 angle) {
    const f64 middleX = job.left + job.width / 2;
    const f64 middleY = job.top + job.height / 2;
    const f64 reach = std::hypot(job.width, job.height) / 2 + 1;
    job.clip =
        met(job.clip, around(middleX - reach, middleY - reach, middleX + reach, middleY + reach));
    if (job.clip.isEmpty()) return;
    scaleFirst(job);
    rotation.draw({job.target, job.clip, job.image, job.mask, job.left, job.top, job.width,
                   job.height, angle, job.alpha, job.mode, job.resampling});
}

// Replaces the image by one of the target's size, where that is called for.
void AM_Resampler::scaleFirst(Job& job) {
    const AM_Resampling choice = onePass(job.resampling);
    const bool twoPass = choice != job.resampling && job.resampling >= k_cubic2Pass;
    const bool reduced = choice != k_nearestNeighbour &&
                         (job.width < job.image.width || job.height < job.image.height);
    job.resampling = choice;
    if (!twoPass && !reduced) return;
    f64 width = std::ceil(job.width);
    f64 height = std::ceil(job.height);
    if (!twoPass) {
        width = std::min<f64>(width, job.image.width);
        height = std::min<f64>(height, job.image.height);
    }
    width = std::min(width, k_maxScaledSide);
    height = std::min(height, k_maxScaledSide);
    AM_PixelView scaled;
    scaled.width = static_cast<i32>(width);
    scaled.height = static_cast<i32>(height);
    scaled.rowBytes = 4 * scaled.width;
    const size_t bytes = static_cast<size_t>(scaled.rowBytes) * static_cast<size_t>(scaled.height);
    scaledImage.resize(std::max(scaledImage.size(), bytes));
    scaled.pixels = scaledImage.data();
    imageRows.begin(job.image, {0, 0, scaled.width, scaled.height, 0, 0, width, height}, choice);
    for (i32 y = 0; y < scaled.height; ++y)
        AM_PremultipliedRow::store(scaled.row(y), imageRows.row(y), scaled.width);
    job.image = scaled;
    // Scaled once already: the smoothing filters would smooth again.
    if (choice != k_bilinear) job.resampling = k_catrom;
}
