#include "AM_ViewGraphicFilters.h"

#include "AM_AGG_Context.h"
#include "AM_View/PixelBuffer.h"
#include "ground/LogCapture.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace {

constexpr f32 k_side = 40;

// A square in the middle of nothing, of two greens so that every correction shows.
std::unique_ptr<AM_AGG_Context> makePane(f32 scale = 1) {
    auto pane = std::make_unique<AM_AGG_Context>(k_side, k_side, scale, false);
    pane->setRGBA(0x408060ff);
    pane->fillRect({10, 10, 20, 20});
    pane->setRGBA(0x509020ff);
    pane->fillRect({14, 14, 5, 5});
    return pane;
}

const u8* pixelAt(AM_Context& context, i32 x, i32 y) {
    return context.getPixels().row(y) + 4 * x;
}

std::unique_ptr<AM_AGG_Context> filtered(AM_ViewFilter& filter) {
    auto pane = makePane();
    filter.setParentBounds({0, 0, k_side, k_side});
    filter.applyFilter(pane.get());
    return pane;
}

struct Set {
    const char* property;
    const char* value;
};

} // namespace

TEST(Filters, everyPropertyShows) {
    using Make = std::function<std::unique_ptr<AM_ViewFilter>()>;
    struct Row {
        Make make;
        std::vector<Set> before; // what else it takes
        std::vector<Set> changes;
    };
    const Row rows[] = {{[] { return std::make_unique<AM_View_StandardFilter>(); },
                         {},
                         {{"alpha", "0.5"},
                          {"brightness", "0.2"},
                          {"contrast", "-0.3"},
                          {"gamma", "1.4"},
                          {"noise", "0.2"},
                          {"gauss", "2.35"},
                          {"hue", "0.3"},
                          {"saturation", "0.2"},
                          {"value", "0.2"},
                          {"Colour BlendMode", "multiply"}}},
                        {[] { return std::make_unique<AM_View_BumpFilter>(); },
                         {},
                         {{"highLight", "2"}, {"shade", "2"}}},
                        {[] { return std::make_unique<AM_View_Shadow>(); },
                         {{"shade", "0.5"}},
                         {{"angle", "120"},
                          {"distance", "7"},
                          {"blur", "0.2"},
                          {"alpha", "0.3"},
                          {"inside", "NO"},
                          {"ParentBounds", "NO"},
                          {"highLight", "1"},
                          {"shade", "2"},
                          {"depth", "0.9"},
                          {"softness", "0.1"}}},
                        {[] { return std::make_unique<AM_View_PNoise>(); },
                         {},
                         {{"Octaves", "3"},
                          {"Alpha", "1.5"},
                          {"Beta", "3"},
                          {"zoomX", "4"},
                          {"zoomY", "0"},
                          {"ParentBounds", "NO"}}}};
    AM_Colour colour("colour", 0xffc08080);
    for (const Row& row : rows) {
        const auto make = [&] {
            auto filter = row.make();
            if (filter->getNumColours() && std::strcmp(filter->getColourName(0), "NoiseGradient"))
                filter->setColour(0, &colour);
            for (const Set& set : row.before)
                filter->setProperty(set.property, 0, set.value);
            return filter;
        };
        const auto plain = make();
        AM_PropertyTable table;
        plain->getProperties(&table);
        EXPECT_EQ(table.size(), row.changes.size());
        const auto reference = bytesOf(*filtered(*plain));
        for (size_t i = 0; i < row.changes.size(); ++i) {
            EXPECT_STREQ(table[i].name, row.changes[i].property);
            const auto changed = make();
            changed->setProperty(row.changes[i].property, 0, row.changes[i].value);
            EXPECT_NE(bytesOf(*filtered(*changed)), reference) << row.changes[i].property;
        }
    }
}

TEST(Filters, standardFilterAtItsDefaultsChangesNothing) {
    AM_View_StandardFilter filter;
    EXPECT_EQ(bytesOf(*filtered(filter)), bytesOf(*makePane()));
    EXPECT_EQ(filter.getBounds().width, 128);
    EXPECT_EQ(filter.getBounds().height, 32);
    EXPECT_EQ(std::strncmp(filter.getName(), "Standard Filter ", 16), 0);
    EXPECT_TRUE(filter.getObjectFlags() & AM_ViewFilter::k_runsOffscreen);
}

TEST(Filters, shadowFallsByTheAngleOutsideAndInside) {
    for (const f32 scale : {1.0f, 2.0f}) {
        AM_View_Shadow shadow;
        shadow.setProperty("angle", 0, "90"); // to the right
        shadow.setProperty("distance", 0, "5");
        shadow.setProperty("blur", 0, "0");
        shadow.setProperty("inside", 0, "NO");
        const i32 unit = static_cast<i32>(scale);
        auto pane = makePane(scale);
        LogCapture log;
        shadow.applyFilter(pane.get());
        EXPECT_EQ(log.take(),
                  (Lines{"h/v 5.000000 0.000000",
                         scale == 1 ? "painting Shadow 5 0" : "painting Shadow 10 0",
                         scale == 1 ? "done painting Shadow 5 0" : "done painting Shadow 10 0"}));
        EXPECT_EQ(pixelAt(*pane, 34 * unit, 20 * unit)[3], 204);
        EXPECT_EQ(pixelAt(*pane, 34 * unit, 20 * unit)[1], 0);
        EXPECT_EQ(pixelAt(*pane, 35 * unit, 20 * unit)[3], 0);
        EXPECT_EQ(pixelAt(*pane, 8 * unit, 20 * unit)[3], 0);
        EXPECT_EQ(pixelAt(*pane, 29 * unit, 20 * unit)[1], 0x80);
        pane = makePane(scale);
        shadow.setProperty("inside", 0, "YES");
        shadow.setProperty("highLight", 0, "1");
        shadow.applyFilter(pane.get());
        EXPECT_EQ(log.count("done painting Highlight -"), 1);
        EXPECT_NEAR(pixelAt(*pane, 11 * unit, 20 * unit)[1], 0x80 * 0.2, 1);
        EXPECT_EQ(pixelAt(*pane, 22 * unit, 20 * unit)[1], 0x80);
        EXPECT_EQ(pixelAt(*pane, 27 * unit, 20 * unit)[1], 255);
        EXPECT_EQ(pixelAt(*pane, 34 * unit, 20 * unit)[3], 0);
    }
}

TEST(Filters, bumpIsLitFromTheUpperLeft) {
    AM_View_BumpFilter bump;
    LogCapture log;
    const auto pane = filtered(bump);
    EXPECT_EQ(log.take(), (Lines{"start bump", "finish bump"}));
    EXPECT_GT(pixelAt(*pane, 10, 20)[1], 0x80);
    EXPECT_GT(pixelAt(*pane, 20, 10)[1], 0x80);
    EXPECT_LT(pixelAt(*pane, 29, 20)[1], 0x80);
    EXPECT_LT(pixelAt(*pane, 20, 29)[1], 0x80);
    EXPECT_EQ(pixelAt(*pane, 22, 22)[1], 0x80);
    // The edges of a buffer are none of a shape.
    AM_AGG_Context full(8, 8, 1, false);
    full.clear(0x408060ff);
    const auto before = bytesOf(full);
    bump.applyFilter(&full);
    EXPECT_EQ(bytesOf(full), before);
}

TEST(Filters, noiseTakesTheColoursAndStaysInItsArea) {
    AM_Colour gradient("gradient");
    gradient.addStop(0, 0xff0000ff);
    gradient.addStop(1, 0xff00ffff);
    AM_View_PNoise noise;
    noise.setColour(0, &gradient);
    noise.setProperty("ParentBounds", 0, "NO");
    noise.setBounds({-3, 5, 13, 11});
    AM_AGG_Context pane(k_side, k_side, 1, false);
    noise.applyFilter(&pane);
    for (i32 y = 0; y < 40; ++y)
        for (i32 x = 0; x < 40; ++x) {
            const bool inside = x < 10 && y >= 5 && y < 16;
            const u8* pixel = pixelAt(pane, x, y);
            ASSERT_EQ(pixel[0], inside ? 255 : 0) << x << " " << y;
            ASSERT_EQ(pixel[1], 0);
            ASSERT_EQ(pixel[3], inside ? 255 : 0);
        }
}

TEST(Filters, standUpToNothingAndToNonsense) {
    LogCapture log;
    AM_View_BumpFilter bump;
    bump.drawOverlay(nullptr);
    AM_View_Shadow shadow;
    shadow.paintShadow(nullptr);
    EXPECT_EQ(log.take(),
              (Lines{"Bump on NULL", "AM_View_Shadow::paintShadow without OffScreenContext"}));
    AM_View_StandardFilter standard;
    AM_View_PNoise noise;
    AM_AGG_Context empty(0, 0, 1, false);
    AM_AGG_Context pane(30, 20, 1.3f, false);
    const f32 numbers[] = {-1e30f, -5, 0, 1e-20f, 7.5f, 1e30f, INFINITY, NAN};
    for (AM_ViewFilter* filter :
         std::initializer_list<AM_ViewFilter*>{&bump, &shadow, &standard, &noise}) {
        filter->applyFilter(nullptr);
        filter->applyFilter(&empty);
        AM_PropertyTable table;
        filter->getProperties(&table);
        for (const char* value : {"-1e30", "1e30", "nan", "inf", "", "NO"}) {
            for (const AM_Property& row : table) {
                filter->setProperty(row.name, 0, value);
                if (row.kind == AM_Property::k_float) {
                    const f32 number = *static_cast<f32*>(row.value);
                    EXPECT_TRUE(number >= row.minimum && number <= row.maximum) << row.name;
                }
            }
            for (const f32 a : numbers)
                for (const f32 b : numbers) {
                    filter->setBounds({a, b, b, a});
                    filter->setParentBounds({b, 1, 9, a});
                    filter->applyFilter(&pane);
                }
        }
        filter->setProperty("absent", 0, "1");
        filter->setProperty(nullptr, 0, nullptr);
        filter->setColour(-1, nullptr);
        EXPECT_EQ(filter->getColour(99), nullptr);
    }
    EXPECT_TRUE(log.has("has no property absent"));
}

TEST(Filters, lookTheSameAtEveryScale) {
    AM_View_Shadow shadow;
    shadow.setProperty("inside", 0, "NO");
    shadow.setProperty("blur", 0, "0.7");
    AM_View_StandardFilter standard;
    standard.setProperty("gauss", 0, "4.5");
    AM_View_PNoise noise;
    noise.setProperty("Octaves", 0, "3");
    for (AM_ViewFilter* filter :
         std::initializer_list<AM_ViewFilter*>{&shadow, &standard, &noise}) {
        const auto small = filtered(*filter);
        const auto large = makePane(3);
        filter->applyFilter(large.get());
        f64 difference = 0;
        for (i32 y = 0; y < 40; ++y)
            for (i32 x = 0; x < 40; ++x)
                for (i32 c = 1; c < 4; c += 2) // green, as far as it shows, and alpha
                    difference += std::abs(pixelAt(*small, x, y)[c] * pixelAt(*small, x, y)[3] -
                                           pixelAt(*large, 3 * x + 1, 3 * y + 1)[c] *
                                               pixelAt(*large, 3 * x + 1, 3 * y + 1)[3]) /
                                  255.0;
        EXPECT_LT(difference / 3200, 1.5) << filter->getName();
    }
}
