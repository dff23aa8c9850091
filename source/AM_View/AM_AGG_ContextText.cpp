// Text of the drawing context.
#include "AM_AGG_Context.h"
#include "AM_AGG_ContextTools.h"
#include "AM_Font.h"
#include "AM_Text.h"
#include "AM_TextEngine.h"
#include "AM_TextFonts.h"

#include <algorithm>

void AM_AGG_Context::setFont(AM_Font* font) {
    fontIsFound = true;
    if (!font) {
        fontFile = AM_TextFonts::find("", "Vera");
        return;
    }
    fontFile = AM_TextFonts::find(font->path, font->getName());
    if (font->path.empty()) font->path = fontFile;
    setFontSize(font->getSize());
}

void AM_AGG_Context::setFontSize(f32 size) {
    if (std::isfinite(size)) fontSize = std::clamp(size, 1.f, 1000.f);
}

bool AM_AGG_Context::getStyle(AM_TextStyle* style) {
    if (!fontIsFound) {
        const f32 size = fontSize;
        setFont(nullptr);
        fontSize = size;
    }
    if (fontFile.empty()) {
        if (saidNoFont.first()) AM_Log("No load font, arrrgh!\n");
        return false;
    }
    *style = {fontFile, f64(fontSize) * scale, smoothText};
    return true;
}

f32 AM_AGG_Context::getTextWidth(const char* text) {
    AM_TextStyle style;
    if (!text || !*text || !getStyle(&style)) return 0;
    return static_cast<f32>(AM_TextEngine::get().getWidth(style, text) / scale);
}

const char* AM_AGG_Context::ellipsise(const char* text, f32 maxWidth) {
    if (!text || !(maxWidth > 0)) return "";
    const f32 whole = getTextWidth(text);
    if (whole <= maxWidth) return text;
    // The text may be what this gave back the last time.
    const std::string copy(text, strnlen(text, 4 * sizeof shortened));
    const size_t count = AM_STD::countCharacters(text);
    f64 kept = static_cast<f64>(count);
    if (whole > 8) kept = std::min(kept, kept * maxWidth / (whole - 8));
    // In proportion at first; a wide beginning may need more.
    const size_t most = std::clamp(static_cast<size_t>(kept), size_t{3}, sizeof shortened);
    for (size_t left = std::min(most, count); left > 0; --left) {
        AM_STD::ellipsise(shortened, copy.c_str(), left);
        if (getTextWidth(shortened) <= maxWidth) return shortened;
    }
    return "";
}

void AM_AGG_Context::drawText(const char* text, const AM_Rect& rect, i32 hAlign, i32 vAlign) {
    if (!text || !*text || rect.isEmpty() || isClippedAway(rect)) return;
    AM_TextStyle style;
    if (!getStyle(&style)) return;
    AM_TextEngine& engine = AM_TextEngine::get();
    const AM_Rect device = toDevice(rect);
    const char* shown = text;
    f64 wide = engine.getWidth(style, text);
    if (wide > device.width) {
        shown = ellipsise(text, rect.width);
        wide = engine.getWidth(style, shown);
    }
    const AM_TextEngine::Metric metric = engine.getMetric(fontFile);
    const f64 free = device.width - wide;
    const f64 x = device.left + free * std::clamp(hAlign, 0, 2) / 2;
    const f64 below = device.height - metric.height * style.size;
    const f64 baseline =
        device.top + below * std::clamp(vAlign, 0, 2) / 2 + metric.ascent * style.size;
    const i32 line = static_cast<i32>(std::floor(std::clamp(baseline, -1e6, 1e6) + 0.5));
    if (!engine.draw(style, shown, x, line, pixels, pixelClip, getPixelColour()) &&
        saidNoGlyph.first())
        AM_Log("no glyph...\n");
}

AM_Context::FontMetric AM_AGG_Context::getFontMetric() {
    AM_TextStyle style;
    if (!getStyle(&style)) return {0, 0, 0};
    const AM_TextEngine::Metric metric = AM_TextEngine::get().getMetric(fontFile);
    return {static_cast<f32>(metric.ascent) * fontSize, static_cast<f32>(metric.descent) * fontSize,
            static_cast<f32>(metric.height) * fontSize};
}

f32 AM_AGG_Context::fitFontSize(const char* text, const AM_Rect& rect, f32 largest) {
    setFontSize(largest);
    if (!text || !*text || !AM_isFinite(rect)) return fontSize;
    // Quarters, so that few sizes of a font are in use.
    const auto held = [](f32 size) { return std::clamp(std::floor(size * 4) / 4, 1.f, 1000.f); };
    const f32 lines = getFontMetric().height / fontSize; // of an em
    if (lines > 0) setFontSize(std::min(fontSize, held(rect.height / lines)));
    constexpr i32 many = 20;
    i32 tries = 0;
    while (fontSize > 1) {
        const f32 wide = getTextWidth(text);
        if (wide <= rect.width) break;
        if (++tries > many) {
            AM_Log("lots of iterations...");
            break;
        }
        setFontSize(
            std::min(held(fontSize * std::max(rect.width, 0.f) / wide), held(fontSize - 0.25f)));
    }
    return fontSize;
}
