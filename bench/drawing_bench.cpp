// The picture of an editor drawn by our context and by Cairo's image backend beside each other, at
// scale 1 and 2. "times" is how many times faster ours is; "difference" what a channel of the two
// pictures differs by in the mean, in 255ths. "share" is what a thing costs of another: a repaint
// of one knob of the whole, a cached pane of a copy of its pixels; "known" the pane's of a drawing
// that knows beforehand which pixels are opaque.
#include "AM_PixelBlend.h"
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

// What a layer's pixels ask for, known beforehand: copies of opaque runs, the blend of the mixed.
// The least that drawing it can cost.
class KnownRuns {
public:
    explicit KnownRuns(const AM_PixelView& layer) : from(layer) {
        for (i32 y = 0; y < layer.height; ++y)
            for (i32 x = 0; x < layer.width; x += k_step)
                add(x, y, std::min(k_step, layer.width - x));
    }
    void draw(const AM_PixelView& to, i32 x, i32 y) const {
        for (const Run& run : runs) {
            const u8* const source = from.row(run.y) + 4 * run.x;
            u8* const target = to.row(y + run.y) + 4 * (x + run.x);
            if (run.isOpaque)
                std::memcpy(target, source, static_cast<size_t>(run.count) * 4);
            else
                AM_PixelOps::blendRow(target, source, run.count, 255, nullptr, k_blendNormal);
        }
        benchmark::DoNotOptimize(to.pixels);
    }

private:
    static constexpr i32 k_step = 8;
    struct Run {
        i32 x, y, count;
        bool isOpaque;
    };
    void add(i32 x, i32 y, i32 count) {
        bool opaque = true, none = true;
        for (i32 i = x; i < x + count; ++i) {
            opaque &= from.row(y)[4 * i + 3] == 255;
            none &= from.row(y)[4 * i + 3] == 0;
        }
        if (none) return;
        Run* const last = runs.empty() ? nullptr : &runs.back();
        if (last && last->y == y && last->x + last->count == x && last->isOpaque == opaque)
            last->count += count;
        else
            runs.push_back({x, y, count, opaque});
    }
    AM_PixelView from;
    std::vector<Run> runs;
};

// The pane with its shadow, or one that covers all of its rectangle.
void cachedPane(benchmark::State& state, bool opaque) {
    const f32 scale = static_cast<f32>(state.range(0));
    AM_AGG_Context screen(scene::k_width, scene::k_height, scale, true);
    const auto layer = scene::pane(scale);
    if (opaque) layer->clear(0x2c333bff);
    AM_AGG_Context copy(scene::k_width, scene::k_height, scale, false);
    const i32 x = static_cast<i32>(scene::k_pane.left * scale);
    const i32 y = static_cast<i32>(scene::k_pane.top * scale);
    const KnownRuns runs(layer->getPixels());
    const auto drawn = repeated(16, [&] { screen.drawOffscreen(layer.get(), scene::k_pane, 1); });
    const auto known = repeated(16, [&] { runs.draw(copy.getPixels(), x, y); });
    for (auto _ : state) {
        state.counters["share"] =
            costs(drawn,
                  repeated(16, [&] { copyRows(layer->getPixels(), copy.getPixels(), x, y); }))
                .ratio();
        copy.clear(0x000000ff);
        state.counters["known"] = costs(drawn, known).ratio();
    }
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
DRAWING_PART(lines, lines, lines);
DRAWING_PART(wave, wave, wave);
BENCHMARK(dirtyKnob)->Arg(1)->Arg(2)->Iterations(1);
BENCHMARK_CAPTURE(cachedPane, shadowed, false)->Arg(1)->Arg(2)->Iterations(1);
BENCHMARK_CAPTURE(cachedPane, opaque, true)->Arg(1)->Arg(2)->Iterations(1);
