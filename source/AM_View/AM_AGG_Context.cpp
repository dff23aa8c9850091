#include "AM_AGG_Context.h"

#include "AM_AGG_ContextTools.h"
#include "AM_Allocator.h"
#include "AM_Assert.h"
#include "AM_PixelOps.h"

#include <algorithm>

namespace {
// What sticks out of a pixel by less is not seen; it comes of the rounding of products.
constexpr f64 k_slack = 1.0 / 256;

i32 sideOf(f32 units, f32 scale) {
    const f64 side = std::ceil(f64(units) * scale - k_slack);
    return side >= 1 ? static_cast<i32>(std::min<f64>(side, AM_AGG_Context::k_maxSide)) : 0;
}
i32 toInt(f64 value) {
    return static_cast<i32>(std::clamp(value, -1e6, 1e6));
}
} // namespace

AM_AGG_Context::AM_AGG_Context(f32 width, f32 height, f32 scale, bool onScreen)
    : onScreen(onScreen), tools(std::make_unique<Tools>()) {
    setScale(scale, width, height);
}

AM_AGG_Context::~AM_AGG_Context() {
    freeBuffer();
}

// --- the buffer -----------------------------------------------------------------------

void AM_AGG_Context::freeBuffer() {
    AM_free(buffer);
    buffer = nullptr;
    pixels = {};
}

void AM_AGG_Context::makeBuffer() {
    freeBuffer();
    const i32 columns = sideOf(width, scale);
    const i32 rows = sideOf(height, scale);
    if (columns > 0 && rows > 0) {
        if (blit) pixels = blit->makeMap(columns, rows);
        const bool fits = pixels.width == columns && pixels.height == rows && pixels.pixels;
        if (!fits) {
            pixels = {};
            try {
                buffer = static_cast<u8*>(AM_ALLOC(size_t(columns) * rows * 4, 64));
                pixels = {buffer, columns, rows, columns * 4};
            } catch (const AM_AssertionError&) {
                // Logged; without a buffer nothing is drawn.
            }
        }
    }
    AM_PixelOps::clear(pixels, onScreen ? 0x000000ff : 0);
    beginDraw();
}

void AM_AGG_Context::setScale(f32 newScale, f32 newWidth, f32 newHeight) {
    if (!AM_areFinite(newScale, newWidth, newHeight)) return;
    const f32 held = std::clamp(newScale, 0.1f, 8.f);
    if (pixels.pixels && held == scale && newWidth == width && newHeight == height) return;
    scale = held;
    width = std::max(newWidth, 0.f);
    height = std::max(newHeight, 0.f);
    makeBuffer();
}

void AM_AGG_Context::setSize(f32 newWidth, f32 newHeight) {
    setScale(scale, newWidth, newHeight);
}

AM_PixelView AM_AGG_Context::getPixels(const AM_Rect& rect) {
    if (!AM_isFinite(rect)) return {};
    const AM_PixelRect part = toPixels(rect.movedBy(origin.x, origin.y));
    if (part.isEmpty()) return {};
    return {pixels.row(part.top) + part.left * 4, part.right - part.left, part.bottom - part.top,
            pixels.rowBytes};
}

// --- coordinates ----------------------------------------------------------------------

AM_DevicePoint AM_AGG_Context::toDevice(AM_Point point) const {
    return {(f64(point.x) + origin.x) * scale, (f64(point.y) + origin.y) * scale};
}

AM_Rect AM_AGG_Context::toDevice(const AM_Rect& rect) const {
    return {(rect.left + origin.x) * scale, (rect.top + origin.y) * scale, rect.width * scale,
            rect.height * scale};
}

AM_PixelRect AM_AGG_Context::toPixels(const AM_Rect& rect) const {
    const f64 right = (f64(rect.left) + rect.width) * scale;
    const f64 bottom = (f64(rect.top) + rect.height) * scale;
    return {std::max(toInt(std::floor(f64(rect.left) * scale + k_slack)), 0),
            std::max(toInt(std::floor(f64(rect.top) * scale + k_slack)), 0),
            std::min(toInt(std::ceil(right - k_slack)), pixels.width),
            std::min(toInt(std::ceil(bottom - k_slack)), pixels.height)};
}

void AM_AGG_Context::setOrigin(AM_Point offset) {
    if (AM_areFinite(offset.x, offset.y)) origin = offset;
}

// --- clips ----------------------------------------------------------------------------

void AM_AGG_Context::beginDraw() {
    clips.clear();
    clipsTooMany = 0;
    setClip(
        {0, 0, static_cast<f32>(pixels.width) / scale, static_cast<f32>(pixels.height) / scale});
}

void AM_AGG_Context::setClip(const AM_Rect& rect) {
    clip = rect;
    pixelClip = rect.isEmpty() ? AM_PixelRect{} : toPixels(rect);
}

void AM_AGG_Context::setGlobalClip(const AM_Rect& rect) {
    const AM_Rect whole{0, 0, static_cast<f32>(pixels.width) / scale,
                        static_cast<f32>(pixels.height) / scale};
    setClip(AM_isFinite(rect) ? rect.movedBy(origin.x, origin.y).intersect(whole) : AM_Rect{});
}

AM_Rect AM_AGG_Context::getGlobalClip() {
    return clip.movedBy(-origin.x, -origin.y);
}

void AM_AGG_Context::pushClip(const AM_Rect& rect) {
    if (clips.size() >= size_t(k_maxClips)) {
        ++clipsTooMany;
        return;
    }
    clips.push_back(clip);
    setClip(AM_isFinite(rect) ? rect.movedBy(origin.x, origin.y).intersect(clip) : AM_Rect{});
}

void AM_AGG_Context::popClip() {
    if (clipsTooMany > 0) {
        --clipsTooMany;
        return;
    }
    if (clips.empty()) return;
    const AM_Rect before = clips.back();
    clips.pop_back();
    setClip(before);
}

bool AM_AGG_Context::isClippedAway(const AM_Rect& rect) const {
    return pixelClip.isEmpty() || !AM_isFinite(rect) ||
           !rect.movedBy(origin.x, origin.y).intersects(clip);
}

// --- the window -----------------------------------------------------------------------

void AM_AGG_Context::setBlit(AM_IBlit* newBlit) {
    if (newBlit == blit) return;
    blit = newBlit;
    makeBuffer();
}

void AM_AGG_Context::flushToWindow(const AM_Rect& rect) {
    if (!blit || pixels.isEmpty() || rect.isEmpty() || !AM_isFinite(rect)) return;
    const u8* map = blit->getMapPixels();
    if (map && map != pixels.pixels) {
        AM_Log("ALERT! bitmapData != pixel_map->buf()");
        return;
    }
    const AM_PixelRect part = toPixels(rect);
    const bool tooBig = (f64(rect.left) + rect.width) * scale > pixels.width + 1 ||
                        (f64(rect.top) + rect.height) * scale > pixels.height + 1;
    if (tooBig && saidTooBig.first())
        AM_Log("Warning: The target rect is too big for the pixmap, this shouldn't happen. "
               "Clipping for now but...");
    if (!part.isEmpty())
        blit->blit(pixels, part.left, part.top, part.right - part.left, part.bottom - part.top);
}
