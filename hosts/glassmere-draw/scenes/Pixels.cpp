// What is done to whole buffers: blend modes, blurs, corrections; and images at other sizes.
#include "AM_Colour.h"
#include "Scene.h"

namespace {
void label(AM_Context& c, const char* text, const AM_Rect& rect) {
    c.setRGBA(k_sceneInk);
    c.setFontSize(9);
    c.drawText(text, rect, 1, 1);
}

// Red to green to blue from left to right, lighter to the bottom, cut out as a disc.
void paintBackdrop(AM_Context& c, f32 size) {
    AM_Colour gradient("rainbow");
    gradient.addStop(0, 0xd02030ff);
    gradient.addStop(0.5f, 0x40c040ff);
    gradient.addStop(1, 0x2050e0ff);
    const AM_Point from{0, 0};
    const AM_Point to{size, 0};
    c.setGradientAxis(&from, &to);
    c.setColour(&gradient);
    c.fillArc({size / 2, size / 2}, 0, size / 2 - 1, 0, 360);
    c.setGradientAxis(nullptr, nullptr);
    c.resetColour();
}

// A band that goes from black to white in steps, a translucent orange, and nothing.
void paintSource(AM_Context& c, f32 size) {
    AM_Colour steps("steps");
    for (i32 i = 0; i < 16; ++i) {
        const u32 grey = static_cast<u32>(i / 2) * 255 / 7;
        steps.addStop(static_cast<f32>((i + 1) / 2) / 8, grey * 0x01010100u | 0xff);
    }
    const AM_Point from{0, 0};
    const AM_Point to{size, 0};
    c.setGradientAxis(&from, &to);
    c.setColour(&steps);
    c.fillRect({0, size / 5, size, size / 5});
    c.setGradientAxis(nullptr, nullptr);
    c.setRGBA(0xff902080);
    c.fillRect({0, size * 0.55f, size, size / 5});
}

void blendModes(AM_Context& c) {
    constexpr f32 size = 70;
    for (i32 mode = 1; mode < k_numBlendModes; ++mode) {
        AM_AGG_Context layer(size, size, c.getScale(), false);
        AM_AGG_Context source(size, size, c.getScale(), false);
        paintBackdrop(layer, size);
        paintSource(source, size);
        layer.blendFrom(&source, 1, mode);
        const f32 x = 8 + static_cast<f32>((mode - 1) % 5) * 80;
        const f32 y = 8 + static_cast<f32>((mode - 1) / 5) * 96;
        c.drawOffscreen(&layer, {x, y, size, size}, 1);
        label(c, AM_blendModeLabels[mode], {x, y + size, size, 16});
    }
}

void paintPicture(AM_Context& c, f32 size) {
    paintBackdrop(c, size);
    c.setRGBA(0xffffffff);
    c.setFontSize(size / 4);
    c.drawText("Ag", {0, 0, size, size}, 1, 1);
    c.setRGBA(0x000000ff);
    c.fillRect({size * 0.3f, size * 0.7f, size * 0.4f, 3});
}

struct Operation {
    const char* name;
    void (*apply)(AM_Context& layer, f32 scale);
};
const Operation k_operations[] = {
    {"as it was", [](AM_Context&, f32) {}},
    {"blurX 0.7", [](AM_Context& c, f32) { c.blurX(0.7f); }},
    {"blurY 0.7", [](AM_Context& c, f32) { c.blurY(0.7f); }},
    {"gauss 2", [](AM_Context& c, f32 scale) { c.gaussBlur(1 + scale); }},
    {"gauss 5", [](AM_Context& c, f32 scale) { c.gaussBlur(1 + 4 * scale); }},
    {"noise 0.3", [](AM_Context& c, f32) { c.noise(0.3f); }},
    {"brighter", [](AM_Context& c, f32) { c.brightnessContrast(0.25f, 0); }},
    {"contrast", [](AM_Context& c, f32) { c.brightnessContrast(0, 0.4f); }},
    {"gamma 0.5", [](AM_Context& c, f32) { c.gammaCorrect(0.5f); }},
    {"gamma 2", [](AM_Context& c, f32) { c.gammaCorrect(2); }},
    {"hue 0.33", [](AM_Context& c, f32) { c.saturate(0.3333f, 0, 0); }},
    {"grey", [](AM_Context& c, f32) { c.saturate(0, -1, 0); }},
    {"value -0.5", [](AM_Context& c, f32) { c.saturate(0, 0, -0.5f); }},
    {"tint",
     [](AM_Context& c, f32) {
         c.tint({1, 0.6f, 0.1f, 1}, 0.6f, k_blendColour);
     }},
    {"alpha 0.4", [](AM_Context& c, f32) { c.multiplyAlpha(0.4f); }},
};

void operations(AM_Context& c) {
    constexpr f32 size = 70;
    i32 number = 0;
    for (const Operation& operation : k_operations) {
        // Room for what a blur spreads.
        AM_AGG_Context layer(size + 24, size + 24, c.getScale(), false);
        layer.setOrigin({12, 12});
        paintPicture(layer, size);
        operation.apply(layer, c.getScale());
        const f32 x = static_cast<f32>(number % 5) * 96;
        const f32 y = static_cast<f32>(number / 5) * 106;
        c.drawOffscreen(&layer, {x, y, 0, 0}, 1);
        label(c, operation.name, {x, y + size + 22, size + 24, 14});
        ++number;
    }
}

// Hairlines, a transparent surrounding and letters.
void paintSample(AM_Context& c) {
    c.setRGBA(0xe0e4e8ff);
    c.fillArc({20, 20}, 0, 19, 0, 360);
    c.setRGBA(0x1a2430ff);
    for (i32 i = 0; i < 10; ++i)
        c.fillRect({10 + static_cast<f32>(i) * 2, 8, 1, 8});
    c.setFontSize(11);
    c.drawText("Rz8", {0, 14, 40, 14}, 1, 1);
    c.setRGBA(0xc03020ff);
    c.fillArc({20, 33}, 0, 4, 0, 360);
}

void resampling(AM_Context& c) {
    AM_AGG_Context sample(40, 40, 1, false);
    paintSample(sample);
    const AM_PixelView image = sample.getPixels();
    for (i32 i = 0; i < k_numResamplings; ++i) {
        c.setResampling(static_cast<AM_Resampling>(i));
        const f32 x = 4 + static_cast<f32>(i % 4) * 150;
        const f32 y = 4 + static_cast<f32>(i / 4) * 124;
        AM_ImagePlacement how;
        how.target = {x, y, 100, 100};
        c.drawImage(image, how);
        how.target = {x + 105, y, 28, 28};
        c.drawImage(image, how);
        how.target = {x + 102, y + 33, 40, 40};
        how.angle = 30;
        c.drawImage(image, how);
        how.target = {x + 108, y + 78, 22.5f, 22.5f};
        how.angle = -60;
        c.drawImage(image, how);
        label(c, AM_resamplingLabels[i], {x, y + 104, 140, 14});
    }
    c.setResampling(k_bilinear);
}

void imagePlacements(AM_Context& c) {
    AM_AGG_Context sample(60, 60, c.getScale(), false);
    paintPicture(sample, 60);
    AM_AGG_Context shape(30, 30, c.getScale(), false);
    shape.setRGBA(0xffffffff);
    shape.fillArc({15, 15}, 6, 15, 0, 360);
    const AM_PixelView mask = shape.getPixels();
    for (i32 i = 0; i < 12; ++i) {
        AM_ImagePlacement how;
        how.target = {8 + static_cast<f32>(i % 6) * 76, 8 + static_cast<f32>(i / 6) * 76, 60, 60};
        how.angle = static_cast<f32>(i) * 30;
        how.alpha = i % 3 == 2 ? 0.5f : 1;
        how.blend = i % 4 == 3 ? k_blendScreen : k_blendNormal;
        if (i % 2) how.mask = &mask;
        c.drawImage(sample.getPixels(), how);
    }
}
} // namespace

std::vector<Scene> pixelScenes() {
    return {{"pixels-blend", "the blend modes", 406, 200, blendModes},
            {"pixels-operations", "blurs, noise and corrections", 480, 324, operations},
            {"pixels-resampling", "an image enlarged, reduced and rotated", 604, 252, resampling},
            {"pixels-placement", "an image turned, masked, faded and blended", 464, 156,
             imagePlacements}};
}
