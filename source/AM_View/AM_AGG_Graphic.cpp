#include "AM_AGG_Graphic.h"

#include "AM_Context.h"
#include "AM_Log.h"

#include <cmath>
#include <exception>

bool AM_AGG_Graphic::getHasAlpha() {
    load();
    return hasAlpha;
}

f32 AM_AGG_Graphic::getWidth() {
    load();
    return width;
}

f32 AM_AGG_Graphic::getHeight() {
    load();
    return height;
}

i32 AM_AGG_Graphic::load() {
    // A file that can't be read is not tried again with every paint.
    if (!isLoaded() && pngFileName[0]) {
        AM_PngImagePtr read;
        try {
            read = AM_PngCache::shared().get(pngFileName, screenGamma);
        } catch (const std::exception& error) {
            AM_Log("Can't read '%s': %s", pngFileName, error.what());
        }
        adopt(read);
    }
    return image ? 0 : 1;
}

void AM_AGG_Graphic::adopt(const AM_PngImagePtr& newImage) {
    runs.reset();
    image = newImage;
    failed = !image;
    if (!image) return;
    width = static_cast<f32>(image->width);
    height = static_cast<f32>(image->height);
    hasAlpha = image->hasAlpha;
}

void AM_AGG_Graphic::unload() {
    runs.reset();
    image.reset();
    failed = false;
}

AM_PixelView AM_AGG_Graphic::getPixels() {
    load();
    return image ? image->view() : AM_PixelView();
}

void AM_AGG_Graphic::drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32) {
    const AM_PixelView pixels = getPixels();
    if (!context || pixels.isEmpty()) return;
    AM_ImagePlacement placement;
    placement.target = rect;
    placement.alpha = alpha;
    context->drawImage(pixels, placement);
}

bool AM_AGG_Graphic::hits(const AM_Rect& rect, AM_Point at, f32) {
    const AM_PixelView pixels = getPixels();
    if (pixels.isEmpty() || rect.isEmpty() || !rect.contains(at)) return false;
    if (!image->hasAlpha) return true;
    if (!runs)
        runs = std::make_unique<AM_ViewCompressedImageData>(pixels,
                                                            AM_ViewCompressedImageData::k_refer);
    const auto place = [](f32 offset, f32 extent, i32 count) {
        return static_cast<i32>(offset / extent * static_cast<f32>(count));
    };
    return runs->hitTest(place(at.x - rect.left, rect.width, pixels.width),
                         place(at.y - rect.top, rect.height, pixels.height));
}
