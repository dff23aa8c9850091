// The four filters of panes.
#pragma once

#include "AM_ViewFilter.h"

#include <array>

// Corrects the whole buffer. In this order, each only if it changes anything: brightness and
// contrast, gamma, hue with saturation and value, gauss, noise, the overlay colour, alpha.
class AM_View_StandardFilter : public AM_ViewFilter {
public:
    AM_View_StandardFilter();
    void getProperties(AM_PropertyTable* table) override;
    void applyFilter(AM_Context* context) override;

private:
    f32 alpha = 1;
    f32 brightness = 0;
    f32 contrast = 0;
    f32 gamma = 1;
    f32 noise = 0;
    f32 gauss = 1; // view units
    f32 hue = 0;
    f32 saturation = 0;
    f32 value = 0;
    i32 blendMode = 0;
};

// Lets the shapes of the whole buffer stand out, lit from the upper left, by the slopes of their
// alpha one view unit around.
class AM_View_BumpFilter : public AM_ViewFilter {
public:
    AM_View_BumpFilter();
    void getProperties(AM_PropertyTable* table) override;
    void applyFilter(AM_Context* context) override;
    // The same for a pane that draws its overlay: null is logged.
    virtual void drawOverlay(AM_Context* context);

private:
    f32 highLight = 0.5f;
    f32 shade = 0.5f;
};

// A shadow that the shapes cast by the angle and the distance, outside below them, or inside onto
// them. The highlight is the same on the opposite side. With `shade` the shapes get slanted rims:
// `depth` times 10 view units wide, dark where the shadow falls, of the highlight's colour and
// strength where it does not, with edges of the given softness.
class AM_View_Shadow : public AM_ViewFilter {
public:
    AM_View_Shadow();
    void getProperties(AM_PropertyTable* table) override;
    void applyFilter(AM_Context* context) override;
    void paintShadow(AM_Context* context) override;

private:
    // Right and down are the shadow's direction.
    void paintRelief(const Area& area, f32 right, f32 down);
    u32 getHighlight() const;

    f32 angle = 45;
    f32 distance = 3;
    f32 blur = 0.5f;
    f32 alpha = 0.8f;
    bool inside = true;
    bool useParentBounds = true;
    f32 highLight = 0;
    f32 shade = 0;
    f32 depth = 0.5f;
    f32 softness = 0.5f;
};

// Fills its area with noise in the colours of a gradient. Each octave weighs 1 / Alpha of the one
// before it and is Beta times finer; at zoom 1 the first has features of 64 view units.
class AM_View_PNoise : public AM_ViewFilter {
public:
    AM_View_PNoise();
    void getProperties(AM_PropertyTable* table) override;
    void applyFilter(AM_Context* context) override;

private:
    using Bytes = std::array<u8, 4>;
    std::array<Bytes, 256> makeTable() const;

    i32 octaves = 8;
    f32 alpha = 2;
    f32 beta = 2;
    f32 zoomX = 1;
    f32 zoomY = 1;
    bool useParentBounds = true;
};
