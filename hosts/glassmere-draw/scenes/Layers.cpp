// Offscreen layers.
#include "AM_Colour.h"
#include "Scene.h"

namespace {
void paintLayer(AM_Context& layer) {
    layer.setRGBA(0x64c8ffff);
    layer.fillArc({40, 40}, 0, 36, 0, 360);
    layer.setRGBA(0xff9050a0);
    layer.fillRect({30, 30, 46, 40});
    layer.setRGBA(0xffffffff);
    layer.setFontSize(13);
    layer.drawText("layer", {0, 0, 80, 80}, 1, 1);
}

// Drawn at once, through a layer, and through layers that become transparent.
void offscreen(AM_Context& c) {
    c.setRGBA(0x2e3540ff);
    for (i32 i = 0; i < 20; ++i)
        c.fillRect({static_cast<f32>(i) * 16, 0, 8, 200});
    c.setOrigin({10, 10});
    paintLayer(c);
    c.setOrigin({});
    AM_AGG_Context layer(80, 80, c.getScale(), false);
    paintLayer(layer);
    c.drawOffscreen(&layer, {120, 10, 80, 80}, 1);
    c.drawOffscreen(&layer, {230, 10, 80, 80}, 0.5f);
    c.pushClip({20, 110, 60, 60});
    c.drawOffscreen(&layer, {10, 105, 80, 80}, 1);
    c.popClip();
    layer.multiplyAlpha(0.75f);
    c.drawOffscreen(&layer, {120, 105, 80, 80}, 1);
    layer.clearRect({20, 20, 20, 20});
    c.drawOffscreen(&layer, {230, 105, 80, 80}, 1);
}

// Red, green and blue discs that overlap, or a soft white one.
void paintDiscs(AM_Context& layer) {
    constexpr u32 colours[] = {0xe04040ff, 0x40c060ff, 0x4070f0ff};
    for (i32 i = 0; i < 3; ++i) {
        layer.setRGBA(colours[i]);
        const f32 x = static_cast<f32>(i % 2);
        layer.fillArc({30 + x * 20, i == 2 ? 52.f : 28.f}, 0, 24, 0, 360);
    }
}

void paintSpot(AM_Context& layer) {
    AM_Colour gradient("spot");
    gradient.addStop(0, 0xfff0a0ff);
    gradient.addStop(1, 0xfff0a000);
    layer.setColour(&gradient);
    layer.fillRect({10, 10, 60, 60});
    layer.resetColour();
}

// Keeps what is flushed, as a window would.
class Window : public AM_IBlit {
public:
    explicit Window(AM_Context& newTarget) : target(newTarget) {}
    void blit(const AM_PixelView& pixels, i32 left, i32 top, i32 width, i32 height) override {
        const AM_PixelView part{pixels.row(top) + 4 * left, width, height, pixels.rowBytes};
        const f32 scale = target.getScale();
        AM_ImagePlacement how;
        how.target = {static_cast<f32>(left) / scale, static_cast<f32>(top) / scale,
                      static_cast<f32>(width) / scale, static_cast<f32>(height) / scale};
        target.drawImage(part, how);
    }

private:
    AM_Context& target;
};

struct Operation {
    const char* name;
    void (*apply)(AM_Context& layer, AM_Context& spot);
};
const Operation k_operations[] = {
    {"as it was", [](AM_Context&, AM_Context&) {}},
    {"add", [](AM_Context& c, AM_Context& spot) { c.blendFromAdd(&spot, 1); }},
    {"combine", [](AM_Context& c, AM_Context& spot) { c.combine(&spot); }},
    {"mask", [](AM_Context& c, AM_Context& spot) { c.mask(&spot); }},
    {"fade 0.6", [](AM_Context& c, AM_Context&) { c.fade(0.6f); }},
    {"clear", [](AM_Context& c, AM_Context&) { c.clear(0x40709080); }},
    {"half the size",
     [](AM_Context& c, AM_Context&) {
         c.setSize(40, 40);
         paintDiscs(c);
     }},
    {"half the scale", [](AM_Context& c, AM_Context&) {
         c.setScale(c.getScale() / 2, 80, 80);
         paintDiscs(c);
     }}};

// Layers as a whole; and what of them goes to a window.
void wholes(AM_Context& c) {
    c.setRGBA(0x2e3540ff);
    for (i32 i = 0; i < 23; ++i)
        c.fillRect({static_cast<f32>(i) * 20, 0, 10, 200});
    c.setFontSize(9);
    const auto label = [&c](const char* text, f32 x, f32 y) {
        c.setRGBA(k_sceneInk);
        c.drawText(text, {x, y + 82, 80, 14}, k_alignCentre, k_alignCentre);
    };
    i32 number = 0;
    for (const Operation& operation : k_operations) {
        AM_AGG_Context layer(80, 80, c.getScale(), false);
        AM_AGG_Context spot(80, 60, c.getScale(), false);
        paintDiscs(layer);
        paintSpot(spot);
        operation.apply(layer, spot);
        const AM_Point place{10 + static_cast<f32>(number % 4) * 90,
                             2 + static_cast<f32>(number / 4) * 100};
        const f32 ratio = c.getScale() / layer.getScale(); // places count in the layer's scale
        c.drawOffscreen(&layer, {place.x * ratio, place.y * ratio, 80, 80}, 1);
        label(operation.name, place.x, place.y);
        ++number;
    }
    AM_AGG_Context layer(80, 80, c.getScale(), false);
    Window window(c);
    layer.setBlit(&window);
    paintDiscs(layer);
    c.setOrigin({370, 2});
    layer.flushToWindow({0, 0, 38, 80});
    layer.flushToWindow({42, 20, 38, 60});
    layer.setBlit(nullptr);
    c.setOrigin({});
    label("flushed parts", 370, 2);
}
} // namespace

std::vector<Scene> layerScenes() {
    return {{"layers-offscreen", "the same at once, through a layer, faded and clipped", 320, 200,
             offscreen},
            {"layers-wholes", "added, masked, faded, cleared, of other sizes, flushed", 460, 200,
             wholes}};
}
