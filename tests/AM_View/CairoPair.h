// The same picture by us and by Cairo. Cairo counts a pixel's rows in fifteenths, so shapes and
// text are drawn four times as large there: sixteen of its pixels make one.
#pragma once

#include "AM_AGG_Context.h"

#include <cairo.h>

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

// Coordinates and colours of a picture.
struct Frame {
    f32 scale;
    AM_Point origin;
    u32 ink = 0xffffffff, ground = 0x000000ff;
    AM_Rect clip{-100, -100, 900, 900};
};
constexpr Frame k_frames[] = {{1, {}},
                              {2, {}},
                              {1.3f, {3.3f, -2.6f}},
                              {0.7f, {-1.25f, 5.5f}},
                              {1, {0.5f, 0.25f}, 0x40c0ff90, 0x806020ff, {6.5f, 2.75f, 66, 70}}};
// In 255ths: the mean error of a channel over the box of what either draws and a pixel around it,
// and the worst.
struct Bounds {
    f64 mean;
    i32 worst;
};

// Both with the same size, ground, paint and coordinates; `over` of Cairo's pixels are beside each
// other in one of ours.
struct CairoPair {
    explicit CairoPair(const Frame& frame, i32 over = 4)
        : ours(100, 100, frame.scale, true), over(over), frame(frame) {
        const i32 side = ours.getPixels().width * over;
        surface.reset(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, side, side),
                      cairo_surface_destroy);
        owner.reset(theirs = cairo_create(surface.get()), cairo_destroy);
        ours.clear(frame.ground);
        ours.setOrigin(frame.origin);
        for (const u32 rgba : {frame.ground, frame.ink}) {
            ours.setRGBA(rgba);
            const AM_Rgba c = ours.getPlainColour();
            cairo_set_source_rgba(theirs, c.r, c.g, c.b, c.a);
            if (rgba == frame.ground) cairo_paint(theirs);
        }
        cairo_scale(theirs, frame.scale * over, frame.scale * over);
        cairo_translate(theirs, frame.origin.x, frame.origin.y);
        ours.setGlobalClip(frame.clip);
        cairo_rectangle(theirs, frame.clip.left, frame.clip.top, frame.clip.width,
                        frame.clip.height);
        cairo_clip(theirs);
        cairo_set_tolerance(theirs, 0.01);
        cairo_set_fill_rule(theirs, CAIRO_FILL_RULE_EVEN_ODD);
        cairo_set_line_join(theirs, CAIRO_LINE_JOIN_ROUND);
    }
    // 0 to 255, red first.
    static i32 channel(u32 rgba, i32 i) { return i32(rgba >> (24 - 8 * i) & 255); }
    i32 theirChannel(i32 x, i32 y, i32 c) const {
        const u8* const data = cairo_image_surface_get_data(surface.get());
        const i32 stride = cairo_image_surface_get_stride(surface.get());
        i32 sum = over * over / 2;
        u32 word;
        for (i32 i = 0; i < over * over; ++i) {
            const u8* const row = data + i64(y * over + i / over) * stride;
            std::memcpy(&word, row + 4 * (x * over + i % over), 4);
            sum += channel(word, c + 1);
        }
        return sum / (over * over);
    }
    void check(const Bounds& bounds, const std::string& what) {
        cairo_surface_flush(surface.get());
        const AM_PixelView view = ours.getPixels();
        f64 sum = 0;
        i32 worst = 0, at = 0, left = view.width, top = view.height, right = -1, bottom = -1;
        for (i32 i = 0; i < view.width * view.height * 3; ++i) {
            const i32 x = i / 3 % view.width, y = i / 3 / view.width, c = i % 3;
            const i32 a = view.row(y)[4 * x + c], b = theirChannel(x, y, c);
            sum += std::abs(a - b);
            if (std::abs(a - b) > worst) worst = std::abs(a - b), at = i / 3;
            if (const i32 under = channel(frame.ground, c); a == under && b == under) continue;
            left = std::min(left, x), right = std::max(right, x);
            top = std::min(top, y), bottom = std::max(bottom, y);
        }
        SCOPED_TRACE(what + ", scale " + std::to_string(frame.scale));
        ASSERT_GE(right, left) << "nothing is drawn";
        EXPECT_LE(sum / (3.0 * (right + 3 - left) * (bottom + 3 - top)), bounds.mean);
        EXPECT_LE(worst, bounds.worst) << "at " << at % view.width << ", " << at / view.width;
    }

    AM_AGG_Context ours;
    i32 over;
    Frame frame;
    std::shared_ptr<cairo_surface_t> surface;
    std::shared_ptr<cairo_t> owner;
    cairo_t* theirs;
};
