// Text.
#include "AM_Font.h"
#include "Scene.h"

#include <cmath>

namespace {
void sizes(AM_Context& c) {
    f32 y = 6;
    for (const f32 size : {7.f, 8.f, 9.f, 10.f, 11.f, 12.f, 14.f, 18.f, 24.f}) {
        c.setFontSize(size);
        const f32 height = std::ceil(size * 1.2f);
        c.drawText("Decay 2.45 s  \xe2\x88\x92"
                   "12.5 dB",
                   {10, y, 300, height}, 0, 0);
        y += height + 4;
    }
}

// The baseline stays where it is for each text; quarters of a pixel on the left, none on the right.
void modes(AM_Context& c) {
    for (i32 mode = 0; mode < 2; ++mode) {
        c.setAntiAlias(mode == 0);
        const f32 left = 10 + static_cast<f32>(mode) * 155;
        for (i32 i = 0; i < 8; ++i) {
            c.setFontSize(11);
            c.drawText("illil Wave AVATAR 0.25",
                       {left + static_cast<f32>(i) * 0.25f, 8 + static_cast<f32>(i) * 15, 150, 15},
                       0, 0);
        }
        c.setFontSize(24);
        c.drawText(mode == 0 ? "Smooth" : "Hard", {left, 140, 150, 40}, 0, 1);
    }
}

// Words do not touch their frame.
AM_Rect inside(const AM_Rect& box) {
    return {box.left + 4.5f, box.top + 1.5f, box.width - 9, box.height - 3};
}

void alignment(AM_Context& c) {
    const char* words[] = {"left", "centre", "right"};
    AM_Font font("Vera", 12);
    for (i32 v = 0; v < 3; ++v)
        for (i32 h = 0; h < 3; ++h) {
            const AM_Rect box{10.5f + static_cast<f32>(h) * 102, 10.5f + static_cast<f32>(v) * 61,
                              95, 55};
            c.setRGBA(0x5a6472ff);
            c.strokeRect(box, 1);
            c.setRGBA(k_sceneInk);
            c.setFont(&font);
            c.drawText(words[h], inside(box), h, v);
        }
}

void ellipsis(AM_Context& c) {
    c.setFontSize(11);
    for (i32 i = 0; i < 9; ++i) {
        const AM_Rect box{10.5f, 8.5f + static_cast<f32>(i) * 21, 300 - static_cast<f32>(i) * 34,
                          16};
        c.setRGBA(0x5a6472ff);
        c.strokeRect(box, 1);
        c.setRGBA(k_sceneInk);
        const char* text =
            "Large Hall, dark, slow modulation \xe2\x80\x93 gro\xc3\x9f und sch\xc3\xb6n";
        const AM_Rect line = inside(box);
        c.drawText(i % 2 ? c.ellipsise(text, line.width) : text, line, 0, 1);
    }
}

void fitting(AM_Context& c) {
    const char* words[] = {"A", "Room", "Concert Hall", "Concert Hall, far away"};
    for (i32 i = 0; i < 4; ++i) {
        const AM_Rect box{10.5f, 10.5f + static_cast<f32>(i) * 46, 140 - static_cast<f32>(i) * 15,
                          38};
        for (i32 side = 0; side < 2; ++side) {
            const AM_Rect here{box.left + static_cast<f32>(side) * 155, box.top, box.width,
                               box.height - static_cast<f32>(side) * 20};
            c.setRGBA(0x5a6472ff);
            c.strokeRect(here, 1);
            c.setRGBA(k_sceneInk);
            c.fitFontSize(words[i], inside(here), 60);
            c.drawText(words[i], inside(here), 1, 1);
        }
    }
}

// Ascent, baseline and descent as the metric says.
void metrics(AM_Context& c) {
    c.setFontSize(48);
    const AM_Rect box{15, 8, 290, 80};
    const auto metric = c.getFontMetric();
    c.setRGBA(0x5a6472ff);
    c.setLineWidth(1);
    const f32 baseline = std::round(box.top + metric.ascent);
    for (const f32 y : {baseline - metric.ascent, baseline, baseline + metric.descent})
        c.drawLine({10, std::round(y) + 0.5f}, {310, std::round(y) + 0.5f});
    c.setRGBA(k_sceneInk);
    c.drawText("\xc3\x85ngstr\xc3\xb6mly", box, 0, 0);
    c.setRGBA(0x64c8ffff);
    c.fillRect({box.left, 74, c.getTextWidth("\xc3\x85ngstr\xc3\xb6mly"), 3});
    c.setFontSize(100);
    c.setRGBAF(1, 0.8f, 0.3f, 0.5f);
    c.drawText("Rg&", {10, 76, 300, 120}, 1, 1);
}
} // namespace

std::vector<Scene> textScenes() {
    return {{"text-sizes", "sizes from 7 to 24", 320, 200, sizes},
            {"text-modes", "smooth on quarters of a pixel, and hard", 320, 200, modes},
            {"text-alignment", "all alignments", 320, 200, alignment},
            {"text-ellipsis", "shortened to the width", 320, 200, ellipsis},
            {"text-fitting", "sizes that fit", 320, 200, fitting},
            {"text-metrics", "ascent, baseline, descent and width", 320, 200, metrics}};
}
