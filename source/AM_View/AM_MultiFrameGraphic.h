// A strip of images, of which the value or the time picks one.
#pragma once

#include "AM_PngGraphic.h"

#include <vector>

class AM_MultiFrameGraphic : public AM_Graphic {
public:
    static constexpr i32 k_maxFrames = 1024; // that a scan takes
    static constexpr u32 k_redraw = 47;      // message to the control: draw again at the next step
    static constexpr u32 k_redrawGroup = 0x800;

    const char* getTypeName() override { return "multi frame"; }
    // Of the first frame.
    f32 getWidth() override;
    f32 getHeight() override;
    bool getHasAlpha() override;
    // All frames; 1 if one fails.
    i32 load() override;
    // Of a strip of n frames the one at trunc((n - 1) * value + 0.5); with morph, between the ends,
    // the two neighbours mixed by distance. Of an animated one the current time picks the frame,
    // and the control gets k_redraw.
    void drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value) override;
    bool hits(const AM_Rect& rect, AM_Point at, f32 value) override;
    // "morph", 0 to 1, and "animated".
    void getProperties(AM_PropertyTable* table) override;

    // Makes `child` the last frame and owns it. Add in the order of names.
    void add(AM_Tree* child) override;
    i32 getFrameCount() const { return static_cast<i32>(getNumChildren()); }
    // Null outside of 0 to getFrameCount() - 1, and for a child that is no bitmap.
    AM_PngGraphic* getFrame(i32 index) const;
    void setMorph(f32 newMorph);
    void setAnimated(bool is) { animated = is; }
    bool isAnimated() const { return animated; }
    // In runs of the whole strip: 0 is its beginning, and so is 1.
    void setCurrentTime(f32 time);

private:
    i32 frameFor(f32 value) const;
    bool drawMorph(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 position);

    f32 morph = 0;
    bool animated = false;
    f32 currentTime = 0;
    std::vector<u8> mixed; // kept from paint to paint
};
