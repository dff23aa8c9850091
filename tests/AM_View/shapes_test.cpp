#include "AM_AGG_Context.h"
#include "AM_ColoursList.h"
#include "AM_GraphicsList.h"
#include "AM_Shapes.h"
#include "ground/LogCapture.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>

namespace {

constexpr f64 k_pi = 3.14159265358979;

struct Set {
    const char* name;
    i32 id;
    const char* value;
};

class Shapes : public testing::Test {
protected:
    Shapes() {
        colours.addBuiltIns();
        list.setColours(&colours);
    }
    AM_Graphic* make(const char* type, std::initializer_list<Set> sets = {}) {
        AM_Graphic* shape = list.makeGraphic("", 0, type);
        for (const Set& set : sets)
            shape->setProperty(set.name, set.id, set.value);
        return shape;
    }
    // Everything that a shape of one opaque colour covers, in pixels.
    static f64 area(AM_Graphic& shape, i32 size, f32 value) {
        const f32 side = static_cast<f32>(size);
        AM_AGG_Context context(side, side, 1, false);
        shape.drawInRect(&context, {0, 0, side, side}, 1, value);
        f64 sum = 0;
        const AM_PixelView pixels = context.getPixels();
        for (i32 y = 0; y < size; ++y)
            for (i32 x = 0; x < size; ++x)
                sum += pixels.row(y)[4 * x + 3] / 255.0;
        return sum;
    }
    static std::vector<u8> picture(AM_Graphic& shape, const AM_Rect& rect, f32 value, f32 alpha = 1,
                                   f32 scale = 1) {
        AM_AGG_Context context(64, 64, scale, true);
        context.clear(0x335577ff);
        shape.drawInRect(&context, rect, alpha, value);
        const AM_PixelView pixels = context.getPixels();
        return {pixels.pixels, pixels.row(pixels.height - 1) + 4 * pixels.width};
    }
    AM_ColoursList colours;
    AM_GraphicsList list;
};

// The area that a shape has to cover, in parts of the square of half its size.
struct Area {
    const char* type;
    std::vector<Set> sets;
    f32 value;
    f64 area;
};

f64 ringArea(f64 inner, f64 outer, f64 degrees) {
    return (outer * outer - inner * inner) * k_pi * degrees / 360;
}

TEST_F(Shapes, coverTheAreaOfTheirOutlines) {
    const std::vector<Area> areas = {
        {"circ", {{"radius", 2, "0.2"}, {"radius", 3, "0.8"}}, 1, ringArea(0.2, 0.8, 270)},
        {"circ", {{"radius", 0, "0.3"}, {"radius", 2, "0.5"}}, 0.5, ringArea(0.4, 0.95, 135)},
        {"circ", {{"angles", 1, "-100"}}, 0, ringArea(0.7, 0.95, 100)},
        {"circ", {{"angles", 3, "359.6"}, {"radius", 2, "0"}}, 1, ringArea(0, 0.95, 360)},
        {"rotate tri",
         {{"innerRadius", 0, "0.2"}, {"outerRadius", 0, "1"}},
         0.3f,
         0.8 * 0.8 / std::sqrt(3.0)},
        {"star shape", {}, 0.2f, 5 * 0.5 * std::sin(k_pi / 5)},
        {"star shape",
         {{"numEdges", 0, "9"}, {"maxAngle", 0, "100"}},
         0.7f,
         9 * 0.5 * std::sin(k_pi / 9)},
        {"tick ring", {{"innerRadius", 0, "0.5"}, {"tickWidth", 0, "0.05"}}, 0, 11 * 0.45 * 0.05},
        {"tick ring",
         {{"shape", 0, "1"}, {"tickWidth", 0, "0.12"}, {"maxAngle", 0, "225"}},
         0,
         11 * k_pi * 0.06 * 0.06},
        {"tick ring",
         {{"divLen", 0, "0.3"}, {"divWidth", 0, "0.08"}},
         0,
         8 * 0.15 * 0.04 + 3 * 0.3 * 0.08},
    };
    for (const Area& wanted : areas)
        for (const i32 size : {32, 128, 1024}) {
            AM_Graphic* shape = make(wanted.type);
            for (const Set& set : wanted.sets)
                shape->setProperty(set.name, set.id, set.value);
            const f64 half = size / 2.0, found = area(*shape, size, wanted.value) / half / half;
            EXPECT_NEAR(found, wanted.area, wanted.area * (size > 100 ? 0.004 : 0.02))
                << wanted.type << " " << wanted.sets.size() << " at " << size;
        }
    const f64 corners = (4 - k_pi) * 10 * 10;
    AM_Graphic* box = make("rounded rect", {{"radius", 0, "10"}});
    EXPECT_NEAR(area(*box, 128, 0), 128 * 128 - corners, 1);
    box->setProperty("scalable", 0, "yes"); // its own size is 100
    EXPECT_NEAR(area(*box, 1000, 0), 1000 * 1000 - corners * 100, 20);
}

// Rectangles end on whole pixels wherever they are, and borders are whole pixels wide.
TEST_F(Shapes, rectanglesAreSharp) {
    AM_Graphic* box = make("captioned rect", {{"radius", 0, "0"},
                                              {"caption", 0, "7"},
                                              {"colour", 0, "white"},
                                              {"colour", 1, "red"},
                                              {"colour", 2, "blue"}});
    for (const f32 scale : {0.7f, 1.0f, 1.3f, 2.0f}) {
        AM_AGG_Context context(40, 40, scale, false);
        box->drawInRect(&context, {3.3f, 4.4f, 20.3f, 20.7f}, 1, 0);
        const AM_PixelView pixels = context.getPixels();
        std::map<u32, i32> counts;
        for (i32 y = 0; y < pixels.height; ++y)
            for (i32 x = 0; x < pixels.width; ++x) {
                const u8* p = pixels.row(y) + 4 * x;
                ++counts[AM_Rgba{p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f, p[3] / 255.0f}
                             .toWord()];
            }
        EXPECT_EQ(counts.size(), 4u) << scale; // three colours and nothing
        EXPECT_EQ(counts.count(0xff0000ff), 1u);
    }
}

TEST_F(Shapes, theShadowIsSoftAndFallsDown) {
    AM_Graphic* lolli = make("lolli rect", {{"shadowSize", 0, "10"}, {"shadowAlpha", 0, "0.8"}});
    AM_AGG_Context context(100, 100, 1, false);
    lolli->drawInRect(&context, {0, 0, 100, 100}, 1, 0);
    const AM_PixelView pixels = context.getPixels();
    const auto alphaAt = [&](i32 x, i32 y) { return i32(pixels.row(y)[4 * x + 3]); };
    // The box goes from 5 to 85.
    EXPECT_EQ(alphaAt(50, 84), 255);
    for (i32 y = 86; y < 99; ++y) {
        EXPECT_LE(alphaAt(50, y + 1), alphaAt(50, y));
        EXPECT_LE(alphaAt(50, y) - alphaAt(50, y + 1), 24); // no step
    }
    EXPECT_NEAR(alphaAt(50, 89), 0.4 * 255, 14); // half of it at the shadow's own edge
    EXPECT_LE(alphaAt(50, 99), 3);
    EXPECT_LT(alphaAt(50, 2), alphaAt(50, 88));
}

TEST_F(Shapes, showEveryChangeAndKeepWhatIsTheSame) {
    AM_Graphic* shape = make("circ", {{"colour", 0, "paint"}});
    const AM_Rect rect{3.5f, 2.25f, 50, 50};
    colours.setColour("paint", 0x00ff00ff);
    std::vector<std::vector<u8>> seen;
    const auto differs = [&](const char* what, const std::function<void()>& change,
                             f32 value = 0.5f) {
        change();
        seen.push_back(picture(*shape, rect, value));
        for (size_t i = 0; i + 1 < seen.size(); ++i)
            EXPECT_NE(seen[i], seen.back()) << what;
        EXPECT_EQ(picture(*shape, rect, value), seen.back()) << what;
    };
    differs("first", [] {});
    differs(
        "value", [] {}, 0.75f);
    differs("property", [&] { shape->setProperty("angles", 1, "30"); });
    differs("colour's value", [&] { colours.setColour("paint", 0x00fe00ff); });
    differs("stop", [&] { colours.setElement("a", "paint", 0xff00ffff, 0); });
    differs("second stop", [&] { colours.setElement("b", "paint", 0x0000ffff, 1); });
    differs("stop's place", [&] { colours.setElement("b", "paint", 0x0000ffff, 0.7f); });
    differs("track", [&] { shape->setProperty("colour", 1, "white"); });
    differs("other colour", [&] { shape->setProperty("colour", 0, "red"); });
    differs("no colour", [&] { shape->setProperty("colour", 0, "gone"); });
    EXPECT_NE(picture(*shape, rect.movedBy(0.5f, 0), 0.5f), seen.back());
    EXPECT_NE(picture(*shape, rect, 0.5f, 0.5f), seen.back());
    // The default of an unset slot is a colour of the script.
    shape->setProperty("colour", 0, "");
    differs("default", [&] { colours.setColour("defaultCirc0", 0x123456ff); });
}

// A shape too large to be kept is drawn at once, to the same effect.
TEST_F(Shapes, anySizeIsDrawn) {
    for (size_t i = 0; AM_shapeTypes[i]; ++i) {
        AM_Graphic* shape = make(AM_shapeTypes[i], {{"colour", 1, "red"}, {"colour", 2, "blue"}});
        for (const AM_Rect& rect :
             {AM_Rect{-4000, -4000, 9000, 9000}, AM_Rect{-1e30f, 0, 3e30f, 10},
              AM_Rect{0, 0, 1e-9f, 5}, AM_Rect{NAN, 0, 5, 5}, AM_Rect{0, 0, INFINITY, 5},
              AM_Rect{5, 5, -3, 2}, AM_Rect{60, 60, 500, 0.01f}}) {
            picture(*shape, rect, NAN);
            shape->hits(rect, {rect.left, rect.top}, INFINITY);
        }
        picture(*shape, {0, 0, 40, 40}, 0.5f, NAN);
        shape->drawInRect(nullptr, {0, 0, 40, 40}, 1, 1);
    }
    AM_Graphic* box = make("rounded rect");
    const std::vector<u8> large = picture(*box, {-2000, -2000, 4097, 4097}, 0);
    EXPECT_EQ(large, picture(*box, {-2000, -2000, 4096, 4096}, 0));
}

TEST_F(Shapes, areHitWhereTheyAreSeen) {
    AM_Graphic* ring = make("circ", {{"angles", 3, "180"}, {"angles", 2, "0"}});
    const AM_Rect rect{10, 20, 100, 100}; // centre 60, 70; the ring goes from 35 to 47.5
    EXPECT_TRUE(ring->hits(rect, {101, 70}, 1));
    EXPECT_FALSE(ring->hits(rect, {60, 70}, 1));
    EXPECT_FALSE(ring->hits(rect, {19, 70}, 1)); // the other half
    EXPECT_FALSE(ring->hits(rect, {109, 21}, 1));
    EXPECT_FALSE(ring->hits(rect, {101, 70}, 0)); // no arc at all
    EXPECT_TRUE(make("star shape")->hits(rect, {60, 70}, 0));
}

TEST_F(Shapes, propertiesAreHeldInTheirRanges) {
    LogCapture log;
    for (size_t i = 0; AM_shapeTypes[i]; ++i)
        for (const char* text : {"1e30", "-1e30", "0", "nan"}) {
            AM_Graphic* shape = make(AM_shapeTypes[i], {{"colour", 1, "red"}});
            AM_PropertyTable table;
            shape->getProperties(&table);
            for (const AM_Property& row : table)
                for (i32 id = -1; id < 5 && row.kind == AM_Property::k_float; ++id)
                    shape->setProperty(row.name, id, text);
            for (const AM_Property& row : table)
                if (row.kind == AM_Property::k_float) {
                    EXPECT_GE(*static_cast<f32*>(row.value), row.minimum) << row.name;
                    EXPECT_LE(*static_cast<f32*>(row.value), row.maximum) << row.name;
                }
            for (const f32 size : {1.0f, 33.0f, 64.0f})
                picture(*shape, {0, 0, size, size}, 0.5f);
        }
    EXPECT_FALSE(log.has("huh?"));
    EXPECT_TRUE(log.has("numTicks: 1024.00"));
    make("tick ring", {{"ticks", 0, "5"}});
    EXPECT_EQ(log.count("huh?"), 1);
}

} // namespace
