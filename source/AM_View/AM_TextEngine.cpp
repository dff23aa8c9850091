#include "AM_TextEngine.h"

#include "AM_AggRaster.h"
#include "AM_FontMeasures.h"
#include "AM_TextGlyphs.h"

#include <agg_conv_curve.h>
#include <agg_font_cache_manager.h>
#include <agg_font_freetype.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <set>
#include <tuple>

namespace {
using Engine = agg::font_engine_freetype_int32;
using Cache = agg::font_cache_manager<Engine>;

constexpr f64 k_largestMask = 96; // pixels of the em; larger glyphs are drawn each time
constexpr f64 k_limit = 1e6;

// The steps of the pen in a pixel: the font is that much wider, its glyphs are made narrow again.
i32 stepsOf(const AM_TextStyle& style) {
    return style.smooth ? 4 : 1;
}

// From which coverage on a pixel of hard text is in. A stem is about a twelfth of the em wide; in
// small text half of it still has to count, else one that lies between two columns is lost.
i32 hardEdge(f64 size) {
    return static_cast<i32>(std::clamp(size / 25, 0.2, 0.5) * 255 + 0.5);
}

// A glyph's outline, made narrow, at its place.
class GlyphOutline {
public:
    GlyphOutline(Cache::path_adaptor_type& path, f64 scaleX, f64 x, f64 y)
        : curves(path), scaleX(scaleX), x(x), y(y) {
        curves.approximation_scale(8);
    }
    void rewind(unsigned id) { curves.rewind(id); }
    unsigned vertex(f64* outX, f64* outY) {
        const unsigned command = curves.vertex(outX, outY);
        *outX = std::clamp(*outX * scaleX + x, -k_limit, k_limit);
        *outY = std::clamp(*outY + y, -k_limit, k_limit);
        return command;
    }

private:
    agg::conv_curve<Cache::path_adaptor_type> curves;
    f64 scaleX;
    f64 x;
    f64 y;
};

class MaskSink final : public AM_AggRaster::Sink {
public:
    explicit MaskSink(AM_TextMask& mask) : mask(mask) {}
    void covered(i32 x, i32 y, i32 count, const u8* covers) override {
        std::copy_n(covers, count, at(x, y));
    }
    void solid(i32 x, i32 y, i32 count, u8 cover) override { std::fill_n(at(x, y), count, cover); }

private:
    u8* at(i32 x, i32 y) {
        return mask.covers.data() + size_t(y - mask.top) * mask.width + (x - mask.left);
    }
    AM_TextMask& mask;
};

AM_TextMask makeMask(AM_AggRaster& raster) {
    const AM_PixelRect bounds = raster.getBounds();
    AM_TextMask mask;
    if (bounds.isEmpty()) return mask;
    mask.left = bounds.left;
    mask.top = bounds.top;
    mask.width = bounds.right - bounds.left;
    mask.height = bounds.bottom - bounds.top;
    mask.covers.assign(size_t(mask.width) * mask.height, 0);
    MaskSink sink(mask);
    raster.sweep(false, sink);
    return mask;
}
} // namespace

AM_TextCharacter AM_nextCharacter(const char* text) {
    const auto byte = [text](u32 i) { return static_cast<u8>(text[i]); };
    constexpr u32 unknown = 0xfffd;
    const u32 first = byte(0);
    if (first < 0x80) return {first < 0x20 || first == 0x7f ? u32(' ') : first, 1};
    const u32 bytes = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4) return {unknown, 1};
    u32 code = first & (0x7f >> bytes);
    for (u32 i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xc0) != 0x80) return {unknown, 1};
        code = code << 6 | (byte(i) & 0x3f);
    }
    const bool tooLong = bytes == 3 && code < 0x800;
    if (tooLong || (code >= 0xd800 && code < 0xe000)) return {unknown, 1};
    if (code > 0xffff) return {unknown, bytes};
    return {code < 0xa0 ? u32(' ') : code, bytes};
}

struct AM_TextEngine::Parts {
    // Anti-Grain's pools must not overflow: they would copy over themselves.
    static constexpr u32 k_maxStyles = 96;
    struct Fonts {
        Engine engine{k_maxStyles + 1};
        Cache cache{engine, k_maxStyles + 1};
        std::set<std::tuple<std::string, f64, bool>> styles;
    };
    std::mutex mutex;
    std::unique_ptr<Fonts> fonts = std::make_unique<Fonts>();
    AM_TextGlyphs glyphs;
    AM_AggRaster raster;
    AM_TextStyle wanted;
    AM_TextStyle current; // of the engine
    bool loaded = false;
    std::map<std::string, AM_FontMeasures> measured;

    const AM_FontMeasures& measures(const std::string& file);
    // Makes a style the wanted one; false if it has no font.
    bool begin(const AM_TextStyle& style);
    // Sets the engine to the wanted style. That is slow, so only what is not kept calls for it.
    bool select();
    AM_TextGlyph& glyph(AM_TextGlyphs::Glyphs& known, u32 code);
    void outline(u32 code, f64 x, f64 y);
    const AM_TextMask& mask(AM_TextGlyph& glyph, u32 code, i32 phase);
    // How far the pen moves between two glyphs, in steps.
    f64 kerning(AM_TextGlyph& glyph, u32 before);
    // Calls `each(code, glyph, pen)` for each character, with the pen in steps, until it is false;
    // returns where the pen ends.
    template <class Each>
    f64 walk(const char* text, const Each& each);
};

const AM_FontMeasures& AM_TextEngine::Parts::measures(const std::string& file) {
    if (const auto known = measured.find(file); known != measured.end()) return known->second;
    constexpr size_t many = 64;
    if (measured.size() >= many) measured.clear();
    return measured.try_emplace(file, file).first->second;
}

bool AM_TextEngine::Parts::begin(const AM_TextStyle& style) {
    wanted = style;
    wanted.size = style.size > 1 ? std::min(style.size, 4096.0) : 1;
    return glyphs.has(wanted) || select();
}

bool AM_TextEngine::Parts::select() {
    if (loaded && current == wanted) return true;
    const AM_TextStyle& style = wanted;
    fonts->styles.insert({style.file, style.size, style.smooth});
    if (fonts->styles.size() > k_maxStyles) fonts = std::make_unique<Fonts>();
    Engine& engine = fonts->engine;
    loaded = !style.file.empty() && engine.load_font(style.file.c_str(), 0, agg::glyph_ren_outline);
    if (!loaded) return false;
    current = style;
    engine.flip_y(true);
    engine.hinting(true);
    engine.resolution(72); // so that sizes between whole pixels count
    engine.height(style.size);
    engine.width(style.size * stepsOf(style));
    raster.setHardEdge(style.smooth ? 0 : hardEdge(style.size));
    return true;
}

AM_TextGlyph& AM_TextEngine::Parts::glyph(AM_TextGlyphs::Glyphs& known, u32 code) {
    const auto [entry, isNew] = known.try_emplace(code);
    AM_TextGlyph& glyph = entry->second;
    if (!isNew || !select()) return glyph;
    const agg::glyph_cache* found = fonts->cache.glyph(code);
    if (!found) return glyph;
    glyph.index = found->glyph_index;
    glyph.advance = found->advance_x;
    // Smooth text has the same width at all scales; hard edges stand on whole pixels.
    const std::optional<f64> exact = measures(wanted.file).getAdvance(glyph.index);
    if (wanted.smooth && exact) glyph.advance = *exact * wanted.size * stepsOf(wanted);
    const f64 largest = wanted.size * 4 + 16; // some fonts' outlines go far
    glyph.large = wanted.size > k_largestMask ||
                  found->bounds.x2 - found->bounds.x1 > largest * stepsOf(wanted) ||
                  found->bounds.y2 - found->bounds.y1 > largest;
    return glyph;
}

void AM_TextEngine::Parts::outline(u32 code, f64 x, f64 y) {
    if (!select()) return;
    const agg::glyph_cache* found = fonts->cache.glyph(code);
    if (!found) return;
    fonts->cache.init_embedded_adaptors(found, 0, 0);
    GlyphOutline outline(fonts->cache.path_adaptor(), 1.0 / stepsOf(wanted), x, y);
    raster.addPath(outline);
}

const AM_TextMask& AM_TextEngine::Parts::mask(AM_TextGlyph& glyph, u32 code, i32 phase) {
    AM_TextMask& mask = glyph.masks[phase];
    if (glyph.made[phase]) return mask;
    glyph.made[phase] = true;
    raster.begin();
    outline(code, phase / 4.0, 0);
    mask = makeMask(raster);
    glyphs.count(mask.covers.size());
    return mask;
}

f64 AM_TextEngine::Parts::kerning(AM_TextGlyph& glyph, u32 before) {
    const auto [entry, isNew] = glyph.kerning.try_emplace(before, 0.0);
    if (!isNew) return entry->second;
    glyphs.count(AM_TextGlyph::k_kerningBytes);
    const f64 steps =
        measures(wanted.file).getKerning(before, glyph.index) * wanted.size * stepsOf(wanted);
    return entry->second = wanted.smooth ? steps : std::round(steps);
}

template <class Each>
f64 AM_TextEngine::Parts::walk(const char* text, const Each& each) {
    AM_TextGlyphs::Glyphs& known = glyphs.of(wanted);
    f64 pen = 0;
    u32 before = 0;
    while (*text != '\0') {
        const AM_TextCharacter character = AM_nextCharacter(text);
        AM_TextGlyph& found = glyph(known, character.code);
        if (before && found.index) pen += kerning(found, before);
        if (!each(character, found, pen)) break;
        pen += found.advance;
        before = found.index;
        text += character.bytes;
    }
    return pen;
}

AM_TextEngine::AM_TextEngine() : parts(std::make_unique<Parts>()) {
}

AM_TextEngine::~AM_TextEngine() = default;

AM_TextEngine& AM_TextEngine::get() {
    static AM_TextEngine engine;
    return engine;
}

bool AM_TextEngine::canLoad(const std::string& file) {
    const std::lock_guard lock(parts->mutex);
    parts->wanted = {file, 12, true};
    return parts->select();
}

f64 AM_TextEngine::getWidth(const AM_TextStyle& style, const char* text) {
    const std::lock_guard lock(parts->mutex);
    if (!text || !parts->begin(style)) return 0;
    const auto all = [](const AM_TextCharacter&, const AM_TextGlyph&, f64) { return true; };
    return parts->walk(text, all) / stepsOf(style);
}

AM_TextEngine::Metric AM_TextEngine::getMetric(const std::string& file) {
    const std::lock_guard lock(parts->mutex);
    return parts->measures(file).getMetric();
}

bool AM_TextEngine::draw(const AM_TextStyle& style, const char* text, f64 x, i32 baseline,
                         const AM_PixelView& pixels, const AM_PixelRect& clip,
                         const AM_Pixel& colour) {
    const std::lock_guard lock(parts->mutex);
    if (!text || clip.isEmpty() || !parts->begin(style)) return true;
    const i32 steps = stepsOf(style);
    bool complete = true;
    const f64 end = f64(clip.right) * steps + style.size * steps; // nothing reaches back so far
    const f64 begin = std::round(std::clamp(x, -k_limit, k_limit) * steps);
    const auto each = [&](const AM_TextCharacter& character, AM_TextGlyph& glyph, f64 pen) {
        complete &= glyph.index != 0;
        const i32 place = static_cast<i32>(std::round(begin + pen));
        if (place > end) return false;
        const i32 whole = place >= 0 ? place / steps : -((-place + steps - 1) / steps);
        const i32 phase = place - whole * steps;
        if (!glyph.large) {
            parts->mask(glyph, character.code, phase).draw(pixels, clip, whole, baseline, colour);
            return true;
        }
        parts->raster.begin(clip);
        parts->outline(character.code, f64(place) / steps, baseline);
        parts->raster.draw(pixels, colour, false);
        return true;
    };
    parts->walk(text, each);
    return complete;
}
