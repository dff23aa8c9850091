// Offscreen layers.
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
    c.drawOffscreen(&layer, {220, 10, 80, 80}, 0.5f);
    c.pushClip({20, 110, 60, 60});
    c.drawOffscreen(&layer, {10, 105, 80, 80}, 1);
    c.popClip();
    layer.multiplyAlpha(0.75f);
    c.drawOffscreen(&layer, {120, 105, 80, 80}, 1);
    layer.clearRect({20, 20, 20, 20});
    c.drawOffscreen(&layer, {220, 105, 80, 80}, 1);
}
} // namespace

std::vector<Scene> layerScenes() {
    return {{"layers-offscreen", "the same at once, through a layer, faded and clipped", 320, 200,
             offscreen}};
}
