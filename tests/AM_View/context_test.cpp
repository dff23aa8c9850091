#include "AM_AGG_Context.h"
#include "AM_Graphic.h"
#include "AM_View/PixelBuffer.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {
constexpr f32 k_inf = std::numeric_limits<f32>::infinity();
constexpr f32 k_nan = std::numeric_limits<f32>::quiet_NaN();

u32 at(AM_Context& c, i32 x, i32 y) {
    const u8* p = c.getPixels().row(y) + x * 4;
    return u32(p[0]) << 24 | u32(p[1]) << 16 | u32(p[2]) << 8 | p[3];
}
u32 alphaAt(AM_Context& c, i32 x, i32 y) {
    return at(c, x, y) & 255;
}
// The covered area, of a context that was transparent and is painted opaque.
f64 coveredArea(AM_Context& c) {
    f64 sum = 0;
    for (i32 y = 0; y < c.getPixels().height; ++y)
        for (i32 x = 0; x < c.getPixels().width; ++x)
            sum += alphaAt(c, x, y);
    return sum / 255;
}
// Stops by location; they belong to the gradient.
std::unique_ptr<AM_Colour> gradientOf(std::vector<std::pair<f32, u32>> stops) {
    auto gradient = std::make_unique<AM_Colour>("gradient");
    for (const auto& [location, rgba] : stops)
        gradient->addStop(location, rgba);
    return gradient;
}
} // namespace

TEST(Context, RectAtWholeCoordinatesCoversItsPixelsOnly) {
    for (const i32 scale : {1, 2}) {
        for (const bool gradient : {false, true}) {
            AM_AGG_Context c(20, 16, f32(scale), false);
            const auto colour = gradientOf({{0, 0x204060ff}, {1, 0x204060ff}});
            c.setRGBA(0x204060ff);
            if (gradient) c.setColour(colour.get());
            c.fillRect({3, 4, 5, 6});
            for (i32 y = 0; y < 16 * scale; ++y)
                for (i32 x = 0; x < 20 * scale; ++x) {
                    const bool inside =
                        x >= 3 * scale && x < 8 * scale && y >= 4 * scale && y < 10 * scale;
                    ASSERT_EQ(at(c, x, y), inside ? 0x204060ffu : 0u) << x << ", " << y;
                }
        }
    }
}

TEST(Context, HairlinesThroughPixelMiddlesAreSharp) {
    AM_AGG_Context c(20, 20, 1, false);
    c.setRGBA(0xffffffff);
    c.drawLine({4.5f, 2}, {4.5f, 12});
    c.strokeRect({8.5f, 3.5f, 7, 9}, 1);
    for (i32 y = 0; y < 20; ++y)
        for (i32 x = 0; x < 20; ++x) {
            const bool line = x == 4 && y >= 2 && y < 12;
            const bool box = x >= 8 && x <= 15 && y >= 3 && y <= 12;
            const bool within = x > 8 && x < 15 && y > 3 && y < 12;
            ASSERT_EQ(alphaAt(c, x, y), line || (box && !within) ? 255u : 0u) << x << ", " << y;
        }
}

TEST(Context, FillerReportsBridgesAndUnevenLines) {
    struct Sink : AM_ISpanSink {
        f64 area = 0;
        void span(i32, i32, i32 count, const u8* covers) override {
            for (i32 i = 0; i < count; ++i)
                area += covers[i] / 255.0;
        }
    };
    AM_ScanlineFiller filler;
    Sink sink;
    // A frame in one outline: out along the outer square, over a bridge, back along the inner one.
    const AM_DevicePoint frame[] = {{0, 0}, {20, 0}, {20, 20}, {0, 20}, {0, 0},
                                    {5, 5}, {5, 15}, {15, 15}, {15, 5}, {5, 5}};
    filler.begin();
    filler.addPolygon(frame, 10);
    AM_ScanlineFiller::Findings found = filler.fill({0, 0, 30, 30}, sink);
    EXPECT_TRUE(found.bridges);
    EXPECT_FALSE(found.uneven);
    EXPECT_NEAR(sink.area, 300, 0.01);

    filler.begin();
    sink.area = 0;
    filler.addLine({2, 0}, {2, 10});
    filler.addLine({6, 0}, {6, 10});
    filler.addLine({9, 5}, {9, 10});
    found = filler.fill({0, 0, 30, 30}, sink);
    EXPECT_TRUE(found.uneven);
    EXPECT_NEAR(sink.area, 40, 0.01);
    filler.begin();
    for (i32 i = 0; i < 40000; ++i)
        filler.addLine({f64(i % 977), -1e30}, {k_nan, f64(i % 31)});
    filler.fill({0, 0, 300, 40}, sink);

    LogCapture log;
    AM_AGG_Context c(30, 30, 1, false);
    const auto step = gradientOf({{0, 0x000000ff}, {0.5f, 0x808080ff}, {0.5f, 0xffffffff}});
    std::vector<AM_Point> points;
    for (const AM_DevicePoint& p : frame)
        points.push_back({f32(p.x), f32(p.y)});
    c.setColour(step.get());
    c.fillPolygon(points.data(), 10);
    c.fillPolygonGradient(points.data(), 10);
    EXPECT_EQ(log.count("found bridge segments"), 1);
    EXPECT_EQ(log.count("out of order or same"), 1);
}

TEST(Context, ArcsCloseAt359Point6Degrees) {
    const auto drawn = [](f32 inner, f32 end) {
        AM_AGG_Context c(60, 60, 1, false);
        c.setRGBA(0xffffffff);
        c.fillArc({30, 30}, inner, 25, 0, end);
        return bytesOf(c);
    };
    for (const f32 inner : {0.f, 12.f}) {
        EXPECT_EQ(drawn(inner, 359.6f), drawn(inner, 360));
        EXPECT_EQ(drawn(inner, 1e9f), drawn(inner, 360));
        EXPECT_NE(drawn(inner, 359.5f), drawn(inner, 360));
        EXPECT_EQ(drawn(inner, 0), std::vector<u8>(60 * 60 * 4, 0));
    }
}

// The mean of each column follows the gradient to a fraction of a byte's unit.
TEST(Context, GradientsHaveNoBands) {
    AM_AGG_Context c(512, 16, 1, true);
    const auto gradient = gradientOf({{0, 0x646464ff}, {1, 0x686868ff}});
    const AM_Point from{0, 0}, to{512, 0};
    c.setGradientAxis(&from, &to);
    c.setColour(gradient.get());
    c.fillRect({0, 0, 512, 16});
    for (i32 x = 0; x < 512; x += 8) {
        f64 sum = 0;
        for (i32 i = 0; i < 128; ++i)
            sum += at(c, x + i % 8, i / 8) >> 24;
        EXPECT_NEAR(sum / 128, 100 + 4 * (x + 4) / 512.0, 0.06) << x;
    }
}

TEST(Context, BlendsStraightColours) {
    AM_AGG_Context c(4, 1, 1, false);
    c.setRGBA(0xff000080);
    c.fillRect({0, 0, 2, 1});
    EXPECT_EQ(at(c, 0, 0), 0xff000080u);
    c.setRGBA(0x0000ff80);
    c.fillRect({1, 0, 2, 1});
    // The upper one counts with its alpha, the lower one with what that leaves.
    const f64 over = 128 / 255.0, under = over * (1 - over), all = over + under;
    EXPECT_EQ(at(c, 1, 0) >> 24, std::lround(255 * under / all));
    EXPECT_EQ(at(c, 1, 0) >> 8 & 255, std::lround(255 * over / all));
    EXPECT_EQ(at(c, 1, 0) & 255, std::lround(255 * all));
    EXPECT_EQ(at(c, 2, 0), 0x0000ff80u);
}

TEST(Context, PaintIsAColourAGradientOrNone) {
    LogCapture log;
    AM_AGG_Context c(10, 10, 1, false);
    const AM_Point triangle[] = {{0, 0}, {9, 0}, {0, 9}};
    c.setColour(nullptr);
    c.fillPolygon(triangle, 3);
    c.fillPolygonGradient(triangle, 3);
    c.fillRect({0, 0, 10, 10});
    c.fillArc({5, 5}, 0, 5, 0, 360);
    EXPECT_EQ(log.count("PaintColour is NULL"), 2);
    EXPECT_EQ(coveredArea(c), 0);
    const auto gradient = gradientOf({{0.2f, 0x102030ff}, {0.8f, 0xffffffff}});
    c.setColour(gradient.get());
    EXPECT_EQ(c.getColour(), gradient.get());
    EXPECT_EQ(c.getPlainColour().toWord(), 0x102030ffu);
    c.resetColour();
    EXPECT_EQ(c.getColour()->getRgba().toWord(), 0x102030ffu);
    c.drawGraphic(nullptr, {0, 0, 5, 5}, 0, 1);
    EXPECT_TRUE(log.has("Graphic is NULL"));
}

TEST(Context, ClipsAndOriginMeet) {
    AM_AGG_Context c(40, 40, 2, false);
    c.setRGBA(0xffffffff);
    c.setOrigin({10, 0});
    EXPECT_EQ(c.getGlobalClip().left, -10);
    c.setGlobalClip({5, 5, 100, 10});
    c.pushClip({0, 0, 15, 100});
    c.fillRect({-100, -100, 300, 300});
    for (i32 i = 0; i < 80 * 80; ++i) {
        const i32 x = i % 80, y = i / 80;
        const bool inside = x >= 30 && x < 50 && y >= 10 && y < 30;
        ASSERT_EQ(alphaAt(c, x, y), inside ? 255u : 0u) << x << ", " << y;
    }
    c.setRGBA(0xff0000ff);
    c.pushClip({0, 50, 10, 10}); // nothing is left
    const std::vector<u8> before = bytesOf(c);
    c.fillRect({0, 0, 30, 30});
    c.fillArc({10, 10}, 0, 30, 0, 360);
    c.strokeCircle({10, 10}, 4, 3);
    c.drawText("text", {0, 0, 30, 30}, 1, 1);
    c.drawLine({0, 0}, {30, 30});
    EXPECT_EQ(bytesOf(c), before);
    c.popClip();
    c.popClip();
    EXPECT_EQ(c.getGlobalClip().right(), 30);
    for (i32 i = 0; i < 5000; ++i)
        c.pushClip({0, 0, 20, 20});
    for (i32 i = 0; i < 6000; ++i)
        c.popClip();
    EXPECT_EQ(c.getGlobalClip().right(), 30);
}

TEST(Context, LayersGoPixelOnPixel) {
    const auto paint = [](AM_Context& c) {
        c.setRGBA(0x3080ffc0);
        c.fillArc({10, 10}, 4, 9.3f, 20, 300);
    };
    for (const f32 scale : {1.f, 2.f}) {
        AM_AGG_Context whole(30, 30, scale, false), onto(30, 30, scale, false);
        AM_AGG_Context layer(20, 20, scale, false);
        whole.setOrigin({4, 7});
        paint(whole);
        paint(layer);
        onto.setOrigin({1, 2});
        onto.drawOffscreen(&layer, {3, 5, 20, 20}, 1);
        EXPECT_EQ(bytesOf(onto), bytesOf(whole));
        onto.drawOffscreen(&onto, {0, 0, 30, 30}, 1);
        onto.drawOffscreen(nullptr, {0, 0, 30, 30}, 1);
        onto.drawOffscreen(&layer, {k_nan, k_inf, 30, 30}, 1);
        EXPECT_EQ(bytesOf(onto), bytesOf(whole));
    }
    AM_AGG_Context plain(30, 30, 1, false), twice(5, 5, 2, false);
    twice.clear(0xff0000ff);
    plain.drawOffscreen(&twice, {6, 4, 5, 5}, 0.5f);
    EXPECT_EQ(at(plain, 12, 8), 0xff00007fu);
    EXPECT_EQ(at(plain, 21, 17), 0xff00007fu);
    EXPECT_EQ(at(plain, 11, 8) | at(plain, 12, 7) | at(plain, 22, 17), 0u);
}

TEST(Context, FlushesWholePixelsInsideOfTheMap) {
    struct Window : AM_IBlit {
        std::vector<u8> bytes;
        bool wrong = false;
        std::vector<std::array<i32, 4>> calls;
        AM_PixelView makeMap(i32 width, i32 height) override {
            bytes.assign(size_t(width) * height * 4, 7);
            return {bytes.data(), width, height, width * 4};
        }
        const u8* getMapPixels() override { return bytes.data() + (wrong ? 4 : 0); }
        void blit(const AM_PixelView&, i32 left, i32 top, i32 width, i32 height) override {
            calls.push_back({left, top, width, height});
        }
    } window;
    LogCapture log;
    AM_AGG_Context c(100, 50, 1.3f, true);
    c.setBlit(&window);
    EXPECT_EQ(c.getPixels().pixels, window.bytes.data());
    EXPECT_EQ(at(c, 129, 64), 0xffu);
    c.flushToWindow({0, 0, 100, 50});
    c.flushToWindow({-5, -5, 15.5f, 10});
    EXPECT_FALSE(log.has("too big"));
    c.flushToWindow({90, 40, 20, 20});
    EXPECT_TRUE(log.has("Warning: The target rect is too big for the pixmap, this shouldn't "
                        "happen. Clipping for now but..."));
    for (const AM_Rect& rect : {AM_Rect{200, 0, 5, 5}, AM_Rect{k_nan, 0, 5, 5}, AM_Rect{}})
        c.flushToWindow(rect);
    const std::vector<std::array<i32, 4>> expected = {
        {0, 0, 130, 65}, {0, 0, 14, 7}, {117, 52, 13, 13}};
    EXPECT_EQ(window.calls, expected);
    window.wrong = true;
    c.flushToWindow({0, 0, 10, 10});
    EXPECT_TRUE(log.has("ALERT! bitmapData != pixel_map->buf()"));
    EXPECT_EQ(window.calls.size(), 3u);
}

TEST(Context, SizesAreHeldAndWithoutPixelsNothingIsDrawn) {
    AM_AGG_Context c(100, 50, 1, false);
    c.setSize(1e9f, 2);
    EXPECT_EQ(c.getPixels().width, 8192);
    c.setScale(1000, 10, 10);
    EXPECT_EQ(c.getScale(), 8);
    EXPECT_EQ(c.getPixels().width, 80);
    c.setSize(k_nan, 10);
    EXPECT_EQ(c.getPixels().width, 80);
    EXPECT_EQ(c.getPixels({2, 3, 1, 1}).pixels, c.getPixels().row(24) + 16 * 4);
    EXPECT_TRUE(c.getPixels({-5, 3, 5, 1}).isEmpty());
    for (const f32 side : {0.f, -4.f}) {
        c.setSize(side, 10);
        EXPECT_TRUE(c.getPixels().isEmpty());
        c.fillRect({0, 0, 10, 10});
        c.drawText("text", {0, 0, 10, 10}, 0, 0);
        c.clear(0xffffffff);
        c.gaussBlur(9);
        c.multiplyAlpha(0.5f);
    }
}

// Nothing that a caller passes reaches beyond the buffer or hangs.
TEST(Context, HostileArgumentsAreHarmless) {
    AM_AGG_Context c(32, 32, 1.3f, false);
    const f32 values[] = {k_nan, k_inf, -k_inf, 0, -1, 1e30f, -1e30f, 3e9f, 1e-30f, 7.5f};
    const auto gradient = gradientOf({{0, 0x000000ff}, {1, 0xffffff00}});
    std::mt19937 random(3);
    const auto any = [&] { return values[random() % 10]; };
    for (i32 i = 0; i < 4000; ++i) {
        const AM_Rect rect{any(), any(), any(), any()};
        const AM_Point a{any(), any()}, b{any(), any()}, points[4] = {a, b, {any(), any()}, {3, 4}};
        c.setGlobalClip(i % 3 ? AM_Rect{0, 0, 30, 30} : rect);
        if (i % 2) c.setColour(gradient.get());
        c.setGradientAxis(&a, i % 5 ? &b : nullptr);
        c.fillRect(rect);
        c.fillPolygon(points, 4);
        c.fillPolygonGradient(points, i % 5);
        c.drawLine(a, b);
        c.setLineWidth(any());
        c.strokeLines(points, i % 5, any());
        c.strokeRect(rect, any());
        c.fillArc(a, any(), any(), any(), any());
        c.strokeCircle(b, any(), any());
        c.setRGBAF(any(), any(), any(), any());
        c.pushClip(rect);
        c.setFontSize(std::min(any(), 400.f));
        c.drawText("Any", rect, i32(random()), i32(random()));
        c.fitFontSize("Any", rect, any());
        c.popClip();
        c.clearRect(rect);
        c.drawImage(c.getPixels(rect), {rect, any(), any(), k_blendNormal, nullptr});
        c.setOrigin(a);
        c.setOrigin({});
    }
    // Around the same pixels more often than sums of coverage have room for.
    std::vector<AM_Point> loops;
    for (i32 i = 0; i < 40000; ++i)
        loops.insert(loops.end(), {{3.5f, 3}, {8.5f, 3}, {8.5f, 3.8f}, {3.5f, 3.8f}});
    c.beginDraw();
    c.fillPolygon(loops.data(), static_cast<i32>(loops.size()));
    c.setPaint(nullptr);
    c.fillPolygon(nullptr, 5);
    c.strokeLines(nullptr, 5, 1);
    c.drawText(nullptr, {0, 0, 9, 9}, 0, 0);
    c.blendFrom(nullptr, 1, 99);
    c.combine(nullptr);
    EXPECT_EQ(c.getPixels().width, 42);
}

// However many pixels go through a loop at once, each becomes what it would alone.
TEST(Context, BlendsRunsAsSinglePixels) {
    std::mt19937 random(11);
    for (i32 round = 0; round < 400; ++round) {
        const bool opaque = round % 2 == 0;
        u8 run[67 * 4], covers[67], colours[67 * 4];
        for (u8& byte : run)
            byte = u8(random());
        for (u8& byte : colours)
            byte = u8(random());
        for (i32 i = 0; i < 67; ++i) {
            covers[i] = random() % 3 ? u8(random()) : random() % 2 ? 255 : 0;
            if (opaque || random() % 4 == 0) run[i * 4 + 3] = 255;
        }
        const AM_Pixel colour{u8(random()), u8(random()), u8(random()),
                              random() % 2 ? u8(255) : u8(random())};
        for (i32 kind = 0; kind < 3; ++kind) {
            std::vector<u8> alone(run, run + sizeof run), together = alone;
            for (i32 i = 0; i < 67; ++i) {
                const u8* c = colours + i * 4;
                const AM_Pixel own{c[0], c[1], c[2], c[3]};
                AM_blendPixel(&alone[size_t(i) * 4], kind == 2 ? own : colour,
                              kind == 0 ? covers[0] : covers[i]);
            }
            if (kind == 0) AM_blendSolid(together.data(), 67, colour, covers[0]);
            if (kind == 1) AM_blendCovered(together.data(), 67, colour, covers);
            if (kind == 2) AM_blendColours(together.data(), 67, colours, covers);
            ASSERT_EQ(alone, together) << round << ", " << kind;
        }
    }
}
