// The picture of an editor drawn by our context and by Cairo's image backend beside each other, at
// scale 1 and 2. "times" is how many times faster ours is; "difference" what a channel of the two
// pictures differs by in the mean, in 255ths. "share" is what a thing costs of another: a repaint
// of one knob of the whole, a cached pane of a copy of its pixels.
#include "drawing/CairoScene.h"
#include "drawing/OurScene.h"
#include "Rounds.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

constexpr f64 k_mostDifference = 2;

// Silent: the log's lines would be part of what shapes and filters cost.
struct NoLog : AM_LogSink {
    void writeLine(std::string_view) override {}
};
[[maybe_unused]] NoLog noLog;
[[maybe_unused]] AM_LogSink* const logBefore = AM_setLogSink(&noLog);

struct Both {
    explicit Both(const benchmark::State& state)
        : ours(static_cast<f32>(state.range(0))), cairo(static_cast<f32>(state.range(0))) {
        for (i32 i = 0; i < scene::k_knobFrames; ++i) { // every cache is warm
            ours.repaint();
            cairo.repaint();
        }
    }
    OurScene ours;
    CairoScene cairo;
};

std::function<void()> repeated(i32 count, const std::function<void()>& what) {
    return [count, what] {
        for (i32 i = 0; i < count; ++i)
            what();
    };
}

void repaint(benchmark::State& state) {
    Both both(state);
    const f64 difference = both.cairo.differenceFrom(both.ours.context.getPixels());
    if (!(difference < k_mostDifference)) return state.SkipWithError("not the same picture");
    for (auto _ : state)
        state.counters["times"] = 1 / costs(repeated(4, [&] { both.ours.repaint(); }),
                                            repeated(4, [&] { both.cairo.repaint(); }))
                                          .ratio();
    state.counters["difference"] = difference;
}

using OurPart = void (OurScene::*)();
using CairoPart = void (CairoScene::*)();

// Every part is painted over what it painted before.
void part(benchmark::State& state, OurPart ourPart, CairoPart cairoPart) {
    Both both(state);
    for (auto _ : state)
        state.counters["times"] = 1 / costs(repeated(8, [&] { (both.ours.*ourPart)(); }),
                                            repeated(8, [&] { (both.cairo.*cairoPart)(); }))
                                          .ratio();
}

void dirtyKnob(benchmark::State& state) {
    OurScene ours(static_cast<f32>(state.range(0)));
    ours.repaint();
    constexpr i32 many = 32;
    const auto one = repeated(many, [&] {
        ours.context.pushClip(scene::knob(8));
        ours.repaint();
        ours.context.popClip();
    });
    for (auto _ : state)
        state.counters["share"] = costs(one, [&] { ours.repaint(); }).ratio() / many;
}

void copyRows(const AM_PixelView& from, const AM_PixelView& to, i32 x, i32 y) {
    for (i32 row = 0; row < from.height; ++row)
        std::memcpy(to.row(y + row) + 4 * x, from.row(row), static_cast<size_t>(from.width) * 4);
    benchmark::DoNotOptimize(to.pixels);
}

// The pane with its shadow, or one that covers all of its rectangle.
void cachedPane(benchmark::State& state, bool opaque) {
    const f32 scale = static_cast<f32>(state.range(0));
    AM_AGG_Context screen(scene::k_width, scene::k_height, scale, true);
    const auto layer = scene::pane(scale);
    if (opaque) layer->clear(0x2c333bff);
    AM_AGG_Context copy(scene::k_width, scene::k_height, scale, false);
    const i32 x = static_cast<i32>(scene::k_pane.left * scale);
    const i32 y = static_cast<i32>(scene::k_pane.top * scale);
    for (auto _ : state)
        state.counters["share"] =
            costs(repeated(16, [&] { screen.drawOffscreen(layer.get(), scene::k_pane, 1); }),
                  repeated(16, [&] { copyRows(layer->getPixels(), copy.getPixels(), x, y); }))
                .ratio();
}

} // namespace

BENCHMARK(repaint)->Arg(1)->Arg(2)->Iterations(1);
#define DRAWING_PART(name, ours, cairo)                                                            \
    BENCHMARK_CAPTURE(part, name, &OurScene::ours, &CairoScene::cairo)                             \
        ->Arg(1)                                                                                   \
        ->Arg(2)                                                                                   \
        ->Iterations(1)
DRAWING_PART(background, background, background);
DRAWING_PART(knobs, knobs, knobs);
DRAWING_PART(texts, texts, texts);
DRAWING_PART(shapes, shapes, shapes);
DRAWING_PART(shapeGraphics, shapeGraphics, shapes);
DRAWING_PART(pane, pane, pane);
BENCHMARK(dirtyKnob)->Arg(1)->Arg(2)->Iterations(1);
BENCHMARK_CAPTURE(cachedPane, shadowed, false)->Arg(1)->Arg(2)->Iterations(1);
BENCHMARK_CAPTURE(cachedPane, opaque, true)->Arg(1)->Arg(2)->Iterations(1);
