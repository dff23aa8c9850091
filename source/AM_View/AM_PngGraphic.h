// A bitmap from a PNG file.
#pragma once

#include "AM_Graphic.h"
#include "AM_PngCache.h"

// Reads its file when it is first asked for the picture or its size. What can't be read stays empty
// and draws nothing.
class AM_PngGraphic : public AM_Graphic {
public:
    static constexpr i32 k_maxPath = 256; // with the terminating zero

    const char* getTypeName() override { return "png"; }
    // Takes the file's name, in UTF-8, and forgets the picture. False for one of 256 bytes or more,
    // which is logged.
    virtual bool setFile(const char* path);
    const char* getFile() const { return pngFileName; }
    // The gamma of the screen: a new one forgets the picture.
    virtual void setScreenGamma(f32 gamma);
    f32 getScreenGamma() const { return screenGamma; }
    // The picture, read if need be; empty if it can't be.
    virtual AM_PixelView getPixels() = 0;
    // True if the picture need not be read any more, be it that it can't.
    virtual bool isLoaded() = 0;
    // Takes a picture that was read elsewhere; null for one that could not be.
    virtual void adopt(const AM_PngImagePtr& image) = 0;
    // Forgets the picture; the next use reads it again.
    virtual void unload() = 0;

protected:
    char pngFileName[k_maxPath] = "";
    f32 screenGamma = k_neutralScreenGamma;
};
