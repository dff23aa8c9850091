// Shapes by size, value and property, gradients, and strips of images.
#include "AM_AGG_Graphic.h"
#include "AM_ColoursList.h"
#include "AM_GraphicsList.h"
#include "AM_MultiFrameGraphic.h"
#include "AM_Shapes.h"
#include "Scene.h"

#include <memory>

namespace {

struct Setting {
    const char* name;
    i32 id;
    const char* value;
};
using Settings = std::vector<Setting>;

// Colours and graphics as an editor has them.
struct Lists {
    Lists() {
        colours.addBuiltIns();
        colours.setColour("amber", 0xffb040ff);
        colours.setElement("top", "amber", 0xffe2a0ff, 0);
        colours.setElement("bottom", "amber", 0xd8701cff, 1);
        colours.setColour("slate", 0x3a4452ff);
        colours.setElement("light", "slate", 0x55627400 | 0xff, 0);
        colours.setElement("dark", "slate", 0x2c3440ff, 1);
        colours.setColour("edge", 0x8a97a8ff);
        colours.setColour("band", 0x3f7fb0ff);
        colours.setColour("faint", 0xffffff28);
        graphics.setColours(&colours);
    }
    AM_Graphic* make(const char* type, const Settings& settings) {
        AM_Graphic* const shape = graphics.makeGraphic("", 0, type);
        for (const Setting& setting : settings)
            shape->setProperty(setting.name, setting.id, setting.value);
        return shape;
    }
    AM_ColoursList colours;
    AM_GraphicsList graphics;
};

// The seven, as a plain editor would set them.
const std::pair<const char*, Settings> k_plain[] = {
    {"circ", {{"colour", 0, "amber"}, {"colour", 1, "faint"}}},
    {"rotate tri", {{"colour", 0, "amber"}}},
    {"rounded rect", {{"colour", 0, "slate"}, {"colour", 1, "edge"}, {"scalable", 0, "yes"}}},
    {"lolli rect", {{"colour", 0, "amber"}, {"colour", 1, "edge"}, {"scalable", 0, "yes"}}},
    {"captioned rect",
     {{"colour", 0, "slate"},
      {"colour", 1, "edge"},
      {"colour", 2, "band"},
      {"scalable", 0, "yes"}}},
    {"star shape", {{"colour", 0, "amber"}, {"maxAngle", 0, "144"}}},
    {"tick ring",
     {{"colour", 0, "greyA0"},
      {"colour", 1, "amber"},
      {"divWidth", 0, "0.07"},
      {"divLen", 0, "0.22"}}}};

void sizes(AM_Context& c) {
    Lists lists;
    f32 x = 8;
    for (const auto& [type, settings] : k_plain) {
        AM_Graphic* const shape = lists.make(type, settings);
        shape->drawInRect(&c, {x, 8, 128, 128}, 1, 0.7f);
        shape->drawInRect(&c, {x, 144, 64, 64}, 1, 0.7f);
        shape->drawInRect(&c, {x + 72, 144, 32, 32}, 1, 0.7f);
        shape->drawInRect(&c, {x + 72, 184, 48, 24}, 1, 0.7f);
        x += 136;
    }
}

void values(AM_Context& c) {
    Lists lists;
    f32 y = 8;
    for (const auto& [type, settings] : k_plain) {
        AM_Graphic* const shape = lists.make(type, settings);
        for (i32 i = 0; i <= 8; ++i) {
            const f32 value = static_cast<f32>(i) / 8;
            c.drawGraphic(shape, {8 + 48 * static_cast<f32>(i), y, 40, 40}, value, 1);
        }
        y += 48;
    }
}

void properties(AM_Context& c) {
    Lists lists;
    const std::pair<const char*, Settings> variants[] = {
        {"circ", {{"colour", 0, "amber"}, {"radius", 2, "0"}, {"angles", 3, "360"}}},
        {"circ",
         {{"colour", 0, "amber"}, {"angles", 2, "0"}, {"angles", 0, "0"}, {"angles", 3, "-200"}}},
        {"star shape", {{"colour", 0, "amber"}, {"edgeBow", 0, "0.5"}}},
        {"star shape", {{"colour", 0, "amber"}, {"edgeBow", 0, "-0.5"}}},
        {"star shape", {{"colour", 0, "amber"}, {"cornerRadius", 0, "0.2"}, {"numEdges", 0, "8"}}},
        {"star shape",
         {{"colour", 0, "amber"},
          {"colour", 1, "edge"},
          {"outlineWidth", 0, "0.08"},
          {"numEdges", 0, "3"}}},
        {"star shape", {{"colour", 0, "amber"}, {"numEdges", 0, "60"}}},
        {"lolli rect",
         {{"colour", 0, "slate"},
          {"radius", 0, "40"},
          {"shadowSize", 0, "12"},
          {"shadowAlpha", 0, "0.9"}}},
        {"lolli rect", {{"colour", 0, "slate"}, {"border", 0, "0"}, {"shadowSize", 0, "5"}}},
        {"rounded rect", {{"colour", 0, "slate"}, {"colour", 1, "faint"}, {"border", 0, "6"}}},
        {"captioned rect",
         {{"colour", 0, "slate"},
          {"colour", 2, "band"},
          {"radius", 0, "20"},
          {"caption", 0, "12"}}},
        {"tick ring",
         {{"shape", 0, "1"},
          {"tickWidth", 0, "0.1"},
          {"colour", 0, "grey60"},
          {"colour", 1, "amber"}}},
        {"tick ring", {{"numTicks", 0, "61"}, {"tickWidth", 0, "0.02"}, {"maxAngle", 0, "225"}}},
        {"tick ring", {{"numTicks", 0, "25"}, {"innerRadius", 0, "0.4"}, {"colour", 1, "amber"}}}};
    f32 x = 8, y = 8;
    for (const auto& [type, settings] : variants) {
        lists.make(type, settings)->drawInRect(&c, {x, y, 88, 88}, 1, 0.6f);
        x += 96;
        if (x > 620) x = 8, y += 96;
    }
}

// A frame of a strip: a disc with a bright spot that goes round, soft at its edges.
AM_PngImagePtr makeFrame(AM_Graphic& ring, AM_Graphic& pointer, f32 value) {
    AM_AGG_Context c(64, 64, 1, false);
    ring.drawInRect(&c, {2, 2, 60, 60}, 1, 1);
    pointer.drawInRect(&c, {2, 2, 60, 60}, 1, value);
    const AM_PixelView pixels = c.getPixels();
    AM_PngImage image;
    image.width = pixels.width;
    image.height = pixels.height;
    image.hasAlpha = true;
    for (i32 y = 0; y < pixels.height; ++y)
        image.pixels.insert(image.pixels.end(), pixels.row(y), pixels.row(y) + 4 * pixels.width);
    return std::make_shared<const AM_PngImage>(std::move(image));
}

// Five frames at 17 values: the nearest, and below mixed with its neighbour.
void strips(AM_Context& c) {
    Lists lists;
    AM_Graphic* const disc = lists.make(
        "circ",
        {{"colour", 0, "slate"}, {"radius", 2, "0"}, {"radius", 3, "0.9"}, {"angles", 3, "360"}});
    AM_Graphic* const pointer =
        lists.make("rotate tri",
                   {{"colour", 0, "amber"}, {"innerRadius", 0, "0.35"}, {"outerRadius", 0, "0.7"}});
    AM_MultiFrameGraphic strip;
    for (i32 i = 0; i < 5; ++i) {
        auto frame = std::make_unique<AM_AGG_Graphic>();
        frame->adopt(makeFrame(*disc, *pointer, static_cast<f32>(i) / 4));
        strip.add(frame.release());
    }
    for (const f32 y : {8.f, 80.f}) {
        for (i32 i = 0; i <= 16; ++i)
            strip.drawInRect(&c, {8 + 56 * static_cast<f32>(i), y, 52, 52}, 1,
                             static_cast<f32>(i) / 16);
        strip.setMorph(1);
    }
}

} // namespace

std::vector<Scene> graphicScenes() {
    return {
        {"graphics-shapes", "the shapes at 128, 64 and 32 units, and flat", 960, 216, sizes},
        {"graphics-values", "the shapes at nine values", 440, 344, values},
        {"graphics-properties", "what the numbers of shapes do", 680, 200, properties},
        {"graphics-strips", "a strip of five frames, and the same with morph", 966, 140, strips}};
}
