// Whole buffers and images of the drawing context.
#include "AM_AGG_Context.h"
#include "AM_AGG_ContextTools.h"
#include "AM_Graphic.h"
#include "AM_PixelOps.h"

#include <algorithm>
#include <functional>

namespace {
AM_PixelView pixelsOf(AM_Context* context) {
    return context ? context->getPixels() : AM_PixelView{};
}
} // namespace

void AM_AGG_Context::drawOffscreen(AM_Context* source, const AM_Rect& rect, f32 alpha) {
    if (!source || source == this || pixelClip.isEmpty()) return;
    if (!AM_areFinite(rect.left, rect.top)) return;
    const AM_PixelView layer = source->getPixels();
    if (layer.isEmpty()) return;
    const auto place = [&](f32 at, f32 offset) {
        const f64 pixel = f64(offset) * scale + f64(at) * source->getScale();
        return static_cast<i32>(std::floor(std::clamp(pixel, -1e6, 1e6) + 0.5));
    };
    const i32 x = place(rect.left, origin.x);
    const i32 y = place(rect.top, origin.y);
    const i32 left = std::max(x, pixelClip.left);
    const i32 right = std::min(x + layer.width, pixelClip.right);
    const i32 bottom = std::min(y + layer.height, pixelClip.bottom);
    if (left >= right) return;
    const u32 part = AM_PixelOps::alphaByte(alpha);
    for (i32 row = std::max(y, pixelClip.top); row < bottom; ++row)
        AM_PixelOps::blendRow(pixels.row(row) + left * 4, layer.row(row - y) + (left - x) * 4,
                              right - left, part, nullptr, k_blendNormal);
}

void AM_AGG_Context::multiplyAlpha(f32 alpha) {
    AM_PixelOps::multiplyAlpha(pixels, alpha);
}

void AM_AGG_Context::clear(u32 rgba) {
    AM_PixelOps::clear(pixels, rgba);
}

void AM_AGG_Context::blendFrom(AM_Context* source, f32 alpha, i32 mode) {
    AM_PixelOps::blend(pixels, pixelsOf(source), alpha, mode);
}

void AM_AGG_Context::blendFromAdd(AM_Context* source, f32 alpha) {
    AM_PixelOps::blendAdd(pixels, pixelsOf(source), alpha);
}

void AM_AGG_Context::combine(AM_Context* source) {
    if (source) AM_PixelOps::combine(pixels, source->getPixels());
}

void AM_AGG_Context::clearRect(const AM_Rect& rect) {
    const AM_PixelView part = getPixels(rect);
    AM_PixelOps::clear(part, 0);
}

void AM_AGG_Context::fade(f32 amount) {
    AM_PixelOps::fade(pixels, amount);
}

void AM_AGG_Context::blurX(f32 strength) {
    AM_PixelOps::blurX(pixels, strength);
}

void AM_AGG_Context::blurY(f32 strength) {
    AM_PixelOps::blurY(pixels, strength);
}

void AM_AGG_Context::gaussBlur(f32 radius) {
    AM_PixelOps::gaussBlur(pixels, radius);
}

void AM_AGG_Context::noise(f32 amount) {
    AM_PixelOps::noise(pixels, amount);
}

void AM_AGG_Context::brightnessContrast(f32 brightness, f32 contrast) {
    AM_PixelOps::brightnessContrast(pixels, brightness, contrast);
}

void AM_AGG_Context::gammaCorrect(f32 gamma) {
    AM_PixelOps::gammaCorrect(pixels, gamma);
}

void AM_AGG_Context::saturate(f32 hue, f32 saturation, f32 value) {
    AM_PixelOps::saturate(pixels, hue, saturation, value);
}

void AM_AGG_Context::tint(const AM_Rgba& colour, f32 amount, i32 mode) {
    AM_PixelOps::tint(pixels, colour, amount, mode);
}

void AM_AGG_Context::mask(AM_Context* source) {
    AM_PixelOps::mask(pixels, pixelsOf(source));
}

void AM_AGG_Context::setResampling(AM_Resampling newResampling) {
    if (newResampling >= 0 && newResampling < k_numResamplings) resampling = newResampling;
}

void AM_AGG_Context::drawGraphic(AM_Graphic* graphic, const AM_Rect& rect, f32 value, f32 alpha) {
    if (!graphic) {
        AM_Log("Graphic is NULL");
        return;
    }
    if (rect.isEmpty() || isClippedAway(rect)) return;
    graphic->drawInRect(this, rect, alpha, value);
}

void AM_AGG_Context::drawImage(const AM_PixelView& image, const AM_ImagePlacement& placement) {
    if (image.isEmpty() || pixelClip.isEmpty() || !AM_isFinite(placement.target)) return;
    const auto isOwn = [this](const AM_PixelView& view) {
        const std::less<const u8*> before;
        return !before(view.pixels, pixels.pixels) &&
               before(view.pixels, pixels.pixels + size_t(pixels.rowBytes) * pixels.height);
    };
    if (isOwn(image) || (placement.mask && isOwn(*placement.mask))) return;
    AM_ImagePlacement how = placement;
    how.target = toDevice(placement.target);
    tools->resampler.draw(pixels,
                          {pixelClip.left, pixelClip.top, pixelClip.right, pixelClip.bottom}, image,
                          how, resampling);
}
