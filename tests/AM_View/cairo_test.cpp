// What we draw beside what Cairo draws.
#include "AM_ShapeOutline.h"
#include "AM_TextFonts.h"
#include "AM_View/CairoPair.h"
#include "AM_View/PixelBuffer.h"

#include <cairo-ft.h>

#include <cmath>
#include <numbers>

namespace {
f64 radians(f64 degrees) {
    return degrees * std::numbers::pi / 180;
}
void addStop(AM_Colour* gradient, cairo_pattern_t* pattern, f32 location, u32 rgba) {
    gradient->addStop(location, rgba);
    const AM_Rgba c = AM_Rgba::fromWord(rgba);
    if (pattern) cairo_pattern_add_color_stop_rgba(pattern, location, c.r, c.g, c.b, c.a);
}
std::string name(const char* what, i64 row, f64 detail = 0) {
    return what + std::to_string(row) + ", " + std::to_string(detail);
}

// With Anti-Grain's filler, and with our own, which gradients go through.
template <class Ours, class Theirs>
void compare(const Bounds& solid, const Bounds& gradient, const std::string& what, const Ours& ours,
             const Theirs& theirs) {
    for (const Frame& frame : k_frames)
        for (const bool isGradient : {false, true}) {
            CairoPair pair(frame);
            AM_Colour even("even");
            for (const f32 end : {0.f, 1.f})
                addStop(&even, nullptr, end, frame.ink);
            if (isGradient) pair.ours.setColour(&even);
            ours(pair.ours);
            theirs(pair.theirs);
            pair.check(isGradient ? gradient : solid, what + (isGradient ? ", gradient" : ""));
        }
}
void addLines(cairo_t* c, const std::vector<AM_Point>& points) {
    cairo_new_sub_path(c);
    for (const AM_Point& p : points)
        cairo_line_to(c, p.x, p.y);
}
void strokeOf(cairo_t* c, f32 width) { // 0 for an area
    cairo_set_line_width(c, width);
    width > 0 ? cairo_stroke(c) : cairo_fill(c);
}
} // namespace

TEST(Cairo, arcs) {
    struct Row {
        AM_Point centre;
        f32 inner, outer, start, end;
    };
    const Row rows[] = {
        {{50, 50}, 0, 40, 0, 360},          {{50.3f, 49.6f}, 0, 25.25f, 0, 360},
        {{50.7f, 50.2f}, 0, 3, 0, 360},     {{50.25f, 50.5f}, 0, 1.1f, 0, 360},
        {{50, 50}, 12, 40, 10, 370},        {{49.3f, 51.8f}, 32.5f, 33.75f, 0, 360},
        {{48.4f, 51.3f}, 0, 33, 20, 100},   {{50, 50}, 0, 33, 270, 90},
        {{50, 50}, 0, 33, 100, 20},         {{50.1f, 50.9f}, 20, 38, -135, 135},
        {{50, 50}, 30, 14, 350, 370},       {{50, 50}, 38.5f, 40, -135, -100},
        {{50.5f, 50.5f}, 3, 5, 33, 200},    {{50, 350}, 280, 320, -20, 20},
        {{1050, 50.3f}, 0, 1000, 180, 360}, {{30, 30}, 10, 20, 725, 1000},
    };
    const Bounds bounds{1.0, 10};
    for (const Row& r : rows)
        compare(
            bounds, bounds, name("arc ", &r - rows),
            [&r](AM_Context& c) { c.fillArc(r.centre, r.inner, r.outer, r.start, r.end); },
            [&r](cairo_t* c) {
                const f64 start = radians(r.start - 90.0), end = radians(r.end - 90.0);
                cairo_arc(c, r.centre.x, r.centre.y, r.outer, start, end);
                if (r.end - r.start >= 360) cairo_new_sub_path(c);
                cairo_arc_negative(c, r.centre.x, r.centre.y, r.inner, end, start);
                cairo_fill(c);
            });
}

// A line that comes back on itself is left out: its two coverages of a pixel add up.
TEST(Cairo, lines) {
    const std::vector<AM_Point> lines[] = {
        {{10, 12}, {90, 31.7f}},
        {{10.5f, 80}, {55.25f, 8}},
        {{20, 20.3f}, {80, 20.3f}},
        {{20.5f, 10}, {20.5f, 90}},
        {{10, 80}, {30, 15}, {42, 85}, {50, 12}, {57, 88}, {64, 50}, {90, 50}, {91, 20}},
        {{50, 25}, {80, 30}, {40, 80}, {20, 20}, {50, 25}},
        {{10, 85}}}; // where a curve begins
    const Bounds bounds{1.0, 20};
    for (const std::vector<AM_Point>& line : lines)
        for (const f32 width : {1.f, 1.5f, 3.f, 10.f})
            compare(
                bounds, bounds, name("line ", &line - lines, f64(width)),
                [&](AM_Context& c) {
                    std::vector<AM_Point> points = line;
                    if (line.size() == 1)
                        AM_ShapeOutline::addCurve(&points, line[0], {40, -35}, {94, 85}, 0.01f);
                    c.strokeLines(points.data(), i32(points.size()), width);
                },
                [&](cairo_t* c) {
                    addLines(c, line);
                    if (line.size() == 1) cairo_curve_to(c, 30, 5, 58, 5, 94, 85); // as a cubic
                    strokeOf(c, width);
                });
}

TEST(Cairo, boxes) {
    const AM_Rect box{14.3f, 21.6f, 70.25f, 44.5f};
    const Bounds bounds{0.6, 10};
    for (const f32 width : {0.f, 1.f, 2.5f, 50.f}) {
        compare(
            bounds, bounds, name("box ", 0, f64(width)),
            [&](AM_Context& c) { width > 0 ? c.strokeRect(box, width) : c.fillRect(box); },
            [&](cairo_t* c) {
                cairo_rectangle(c, box.left, box.top, box.width, box.height);
                cairo_set_line_join(c, CAIRO_LINE_JOIN_MITER);
                strokeOf(c, width);
            });
        const f32 line = width + 0.5f;
        compare(
            bounds, bounds, name("circle ", 0, f64(line)),
            [&](AM_Context& c) {
                c.strokeCircle({50.2f, 49.1f}, 30, line);
            },
            [&](cairo_t* c) {
                cairo_arc(c, 50.2f, 49.1f, 30, 0, radians(360));
                cairo_close_path(c);
                strokeOf(c, line);
            });
        const f32 r = 0.5f + width * 0.4f;
        compare(
            bounds, bounds, name("corners ", 0, f64(r)),
            [&](AM_Context& c) {
                const AM_Outline all = AM_ShapeOutline::roundRect(box, r, 0.02f / c.getScale());
                c.fillPolygon(all.data(), i32(all.size()));
            },
            [&](cairo_t* c) {
                for (i32 i = 0; i < 4; ++i) // from the left upper one on
                    cairo_arc(c, i % 3 ? box.right() - r : box.left + r,
                              i > 1 ? box.bottom() - r : box.top + r, r, radians(180 + 90 * i),
                              radians(270 + 90 * i));
                cairo_fill(c);
            });
    }
}

// The last ones are random. Where lines cross, Anti-Grain adds up the windings of a pixel before it
// takes the odd ones, so that the pixel may be wrong; our own filler is exact.
TEST(Cairo, polygons) {
    std::vector<AM_Path> paths = {
        {{{{12.2f, 10.7f}, {88.1f, 43.3f}, {30.6f, 92.4f}}}},
        {{{{10, 10}, {90, 12}, {88, 90}, {9, 87}}, {{30.5f, 30}, {62, 33.3f}, {45, 70}}}},
        {{{{10, 50}, {90, 53.3f}, {90, 53.9f}}}},
        {{{{50, 8}, {76, 88}, {8, 38}, {92, 38}, {24, 88}}}}};
    std::mt19937 random(5);
    const auto any = [&random] { return f32(random() % 1400) / 10 - 20; };
    for (u32 left = 20; left > 0; --left) {
        paths.emplace_back().polygons.resize(1 + random() % 3);
        for (std::vector<AM_Point>& polygon : paths.back().polygons)
            for (u32 i = 3 + random() % 9; i > 0; --i)
                polygon.push_back({any(), any()});
    }
    for (const AM_Path& path : paths) {
        const bool crosses = &path - paths.data() > 2;
        const Bounds bounds{0.4, 12}, rough{1.2, 255};
        compare(
            crosses ? rough : bounds, bounds, name("polygon ", &path - paths.data()),
            [&path](AM_Context& c) { c.fillPath(path, *c.getColour()); },
            [&path](cairo_t* c) {
                for (const std::vector<AM_Point>& polygon : path.polygons)
                    addLines(c, polygon);
                cairo_fill(c);
            });
    }
}

TEST(Cairo, gradients) {
    struct Row {
        AM_Point from, to;
        std::vector<std::pair<f32, u32>> stops;
    };
    const Row rows[] = {
        {{50, 10}, {50, 90}, {{0, 0xff8000ff}, {1, 0x0040ffff}}},
        {{10, 10}, {90, 90}, {{0.1f, 0xffffffff}, {0.4f, 0x203040ff}, {0.9f, 0xff0000ff}}},
        {{70, 20.5f}, {35, 31}, {{0, 0x00ff0000}, {0.5f, 0x0000ffff}, {1, 0xff0000a0}}},
        {{40, 50}, {45.5f, 50}, {{0, 0x000000ff}, {1, 0xffffffff}}}};
    for (const Frame& frame : k_frames)
        for (const Row& row : rows) {
            CairoPair pair(frame);
            AM_Colour gradient("gradient");
            cairo_pattern_t* const pattern =
                cairo_pattern_create_linear(row.from.x, row.from.y, row.to.x, row.to.y);
            for (const auto& [location, rgba] : row.stops)
                addStop(&gradient, pattern, location, rgba);
            pair.ours.setColour(&gradient);
            if (&row != rows) pair.ours.setGradientAxis(&row.from, &row.to); // else top to bottom
            pair.ours.fillArc({50, 50}, 0, 40, 0, 360);
            cairo_set_source(pair.theirs, pattern);
            cairo_arc(pair.theirs, 50, 50, 40, 0, radians(360));
            cairo_fill(pair.theirs);
            cairo_pattern_destroy(pattern);
            pair.check({0.5, 10}, name("gradient ", &row - rows));
        }
}

// Widths at every size; pictures where that is whole pixels, with the font's own hints. Ours stand
// on quarters of a pixel and on whole baselines; kerning is what Cairo leaves out.
TEST(Cairo, texts) {
    const char* const texts[] = {"Feedback",
                                 "Pre-Delay 12.5 ms",
                                 "0.0 dB",
                                 "AVATo Ly",
                                 "Modulation 0.35 Hz",
                                 "Gr\xc3\xb6\xc3\x9f 100 %",
                                 "illicit",
                                 "WWWMMM",
                                 "The quick brown fox jumps",
                                 "Mix",
                                 "early reflections",
                                 "-24.5"};
    const auto onQuarter = [](f64 x) { return std::round(x * 4) / 4; };
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ASSERT_EQ(FT_Init_FreeType(&library), 0);
    ASSERT_EQ(FT_New_Face(library, AM_TextFonts::find("", "Vera").c_str(), 0, &face), 0);
    cairo_font_face_t* const font = cairo_ft_font_face_create_for_ft_face(face, 0);
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    for (const f32 scale : {0.7f, 1.f, 1.3f, 2.f})
        for (const f32 size : {8.f, 9.5f, 11.f, 14.f, 18.f, 24.f, 33.f, 48.f}) {
            const f64 pixels = f64(size) * scale;
            const bool whole = pixels == std::floor(pixels);
            cairo_font_options_set_hint_style(options, whole ? CAIRO_HINT_STYLE_FULL
                                                             : CAIRO_HINT_STYLE_NONE);
            for (const char* const& text : texts) {
                CairoPair pair({scale, {}});
                cairo_t* const c = pair.theirs;
                cairo_identity_matrix(c);
                cairo_set_font_face(c, font);
                cairo_set_font_options(c, options);
                cairo_set_font_size(c, pixels);
                cairo_glyph_t* glyphs = nullptr;
                i32 count = 0;
                cairo_scaled_font_text_to_glyphs(cairo_get_scaled_font(c), 0, 0, text, -1, &glyphs,
                                                 &count, nullptr, nullptr, nullptr);
                FT_Vector kerning{};
                f64 shift = 0;
                for (i32 i = 1; i < count; glyphs[i++].x += shift) {
                    FT_Get_Kerning(face, u32(glyphs[i - 1].index), u32(glyphs[i].index),
                                   FT_KERNING_UNSCALED, &kerning);
                    shift += pixels * f64(kerning.x) / face->units_per_EM;
                }
                cairo_text_extents_t extents;
                cairo_glyph_extents(c, glyphs, count, &extents);
                pair.ours.setFontSize(size);
                const f32 width = pair.ours.getTextWidth(text);
                EXPECT_NEAR(f64(width) * scale, extents.x_advance, 0.05) << text << ", " << pixels;
                const i32 align = i32(&text - texts) % 3;
                const AM_Rect rect{3.1f, 7.7f, width + 7.3f, 80};
                const AM_Context::FontMetric metric = pair.ours.getFontMetric();
                const f64 left = onQuarter((rect.left + 7.3 * align / 2) * scale);
                const f64 top = rect.top + (rect.height - metric.height) * align / 2;
                for (i32 i = 0; i < count; ++i)
                    glyphs[i] = {glyphs[i].index, onQuarter(left + glyphs[i].x),
                                 std::round((top + metric.ascent) * scale)};
                cairo_glyph_path(c, glyphs, count);
                cairo_glyph_free(glyphs);
                cairo_path_t* const path = cairo_copy_path(c);
                cairo_new_path(c);
                cairo_scale(c, pair.over, pair.over);
                cairo_append_path(c, path);
                cairo_path_destroy(path);
                cairo_set_fill_rule(c, CAIRO_FILL_RULE_WINDING);
                cairo_fill(c);
                pair.ours.drawText(text, rect, align, align);
                if (whole) pair.check({1.2, 18}, text + name(", ", align, pixels));
            }
        }
    cairo_font_options_destroy(options);
    cairo_font_face_destroy(font);
    FT_Done_Face(face);
    FT_Done_FreeType(library);
}

// Premultiplied there, straight here, with a colour of their own for the transparent pixels.
TEST(Cairo, images) {
    struct Row {
        AM_Resampling ours;
        cairo_filter_t theirs;
        f64 waves; // radians a pixel
        std::vector<f32> zooms, angles;
        Bounds bounds;
    };
    const Row rows[] = {
        {k_nearestNeighbour, CAIRO_FILTER_NEAREST, 0.7, {0.73f, 1.37f, 2, 3}, {0}, {0.2, 4}},
        {k_nearestNeighbour, CAIRO_FILTER_NEAREST, 0.1, {0.73f, 1.37f}, {33, 200}, {0.4, 16}},
        {k_bilinear, CAIRO_FILTER_BILINEAR, 0.7, {1, 1.3f, 2, 3}, {0, 90, 33, 200}, {0.7, 16}},
        {k_bilinear, CAIRO_FILTER_GOOD, 0.1, {0.35f, 0.5f, 0.7f}, {0, 90, 33, 200}, {1.0, 16}}};
    for (const Row& row : rows)
        for (const bool opaque : {false, true}) {
            PixelBuffer image(40, 30);
            u8 bytes[40 * 30 * 4];
            for (i32 i = 0; i < 40 * 30; ++i) {
                const i32 x = i % 40, y = i / 40;
                const auto wave = [&](i32 at) { return u8(128 + 127 * std::sin(at * row.waves)); };
                const f64 edge = (13 - std::hypot((x - 19.5) / 1.3, y - 14.5)) * row.waves;
                Pixel& p = image.at(x, y);
                p = {wave(x), wave(y), u8(6 * x), u8(255 * std::clamp(edge, 0.0, 1.0))};
                if (opaque) p[3] = 255;
                if (p[3] == 0) p = {255, 0, 255, 0};
                u32 word = p[3];
                for (size_t c = 0; c < 3; ++c)
                    word = word << 8 | u32(std::lround(p[c] * p[3] / 255.0));
                std::memcpy(bytes + 4 * i, &word, 4);
            }
            const std::shared_ptr<cairo_surface_t> surface(
                cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_ARGB32, 40, 30, 160),
                cairo_surface_destroy);
            for (const f32 zoom : row.zooms)
                for (const f32 angle : row.angles) {
                    CairoPair pair({1, {-0.75f, 0}, 0, 0x5a6b7cff}, 1);
                    cairo_t* const c = pair.theirs;
                    pair.ours.setResampling(row.ours);
                    pair.ours.drawImage(
                        image.view(),
                        {{50 - 20 * zoom, 50 - 15 * zoom, 40 * zoom, 30 * zoom}, 1, angle});
                    cairo_translate(c, 50, 50);
                    cairo_rotate(c, radians(angle));
                    cairo_scale(c, zoom, zoom);
                    cairo_set_source_surface(c, surface.get(), -20, -15);
                    cairo_pattern_set_filter(cairo_get_source(c), row.theirs);
                    cairo_pattern_set_extend(cairo_get_source(c), CAIRO_EXTEND_PAD);
                    cairo_rectangle(c, -20, -15, 40, 30);
                    cairo_fill(c);
                    pair.check(row.bounds, name("image ", &row - rows, f64(zoom)) +
                                               name(", ", opaque, f64(angle)));
                }
        }
}
