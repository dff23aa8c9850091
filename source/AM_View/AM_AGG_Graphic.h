// A bitmap as AM_AGG_Context draws it.
#pragma once

#include "AM_PngGraphic.h"
#include "AM_ViewCompressedImageData.h"

#include <memory>

class AM_AGG_Graphic : public AM_PngGraphic {
public:
    bool getHasAlpha() override;
    // Of the picture, in its pixels.
    f32 getWidth() override;
    f32 getHeight() override;
    i32 load() override;
    void drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value) override;
    bool hits(const AM_Rect& rect, AM_Point at, f32 value) override;
    AM_PixelView getPixels() override;
    bool isLoaded() override { return image || failed; }
    void adopt(const AM_PngImagePtr& newImage) override;
    void unload() override;

private:
    AM_PngImagePtr image;
    std::unique_ptr<AM_ViewCompressedImageData> runs; // of the image, once somebody clicks on it
    bool failed = false;
};
