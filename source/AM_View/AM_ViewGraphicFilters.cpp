#include "AM_ViewGraphicFilters.h"

#include "AM_Context.h"
#include "AM_GradientNoise.h"
#include "AM_Log.h"
#include "AM_PixelOps.h"
#include "AM_ShadowLayer.h"
#include "AM_Text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

constexpr f32 k_widestRim = 10;
constexpr f32 k_noiseCell = 64;
// Sums of octaves seldom come near the ends.
constexpr f32 k_noiseGain = 0.8f;

// Numbers of the default names.
std::atomic<i32> numStandardFilters{0};
std::atomic<i32> numBumps{0};
std::atomic<i32> numShadows{0};
std::atomic<i32> numPNoises{0};

AM_Property floatRow(const char* name, f32* value, f32 minimum, f32 maximum, f32 standard,
                     f32 step) {
    AM_Property row{AM_Property::k_float, "", nullptr, value, minimum, maximum, standard, step};
    AM_STD::copyText(row.name, name);
    return row;
}

AM_Property intRow(const char* name, i32* value, f32 minimum, f32 maximum, f32 standard,
                   const char (*labels)[32] = nullptr) {
    AM_Property row{AM_Property::k_int, "", labels, value, minimum, maximum, standard, 1};
    AM_STD::copyText(row.name, name);
    return row;
}

AM_Property boolRow(const char* name, bool* value) {
    AM_Property row{AM_Property::k_bool, "", nullptr, value, 0, 1, 1, 1};
    AM_STD::copyText(row.name, name);
    return row;
}

// The boxes of that blur are as wide, by their variance, as the view units' are.
f32 gaussInPixels(f32 gauss, f32 scale) {
    const f32 width = 2 * gauss - 1;
    return (1 + std::sqrt(1 + scale * scale * (width * width - 1))) / 2;
}

AM_PixelView pixelsOf(AM_Context* context) {
    return context ? context->getPixels() : AM_PixelView{};
}

// The slopes of the alpha around each pixel, and what they do to the light.
class Bump {
public:
    Bump(const AM_PixelView& source, i32 newReach, f32 newHighLight, f32 newShade)
        : pixels(source), reach(newReach), highLight(newHighLight), shade(newShade) {}

    void applyToRow(i32 y) const {
        u8* pixel = pixels.row(y);
        for (i32 x = 0; x < pixels.width; ++x, pixel += 4) {
            if (pixel[3] == 0) continue;
            const f32 light = lightAt(x, y);
            if (light > 0)
                move(pixel, 255, light * highLight);
            else if (light < 0)
                move(pixel, 0, -light * shade);
        }
    }

private:
    static void move(u8* pixel, i32 to, f32 share) {
        const i32 part = static_cast<i32>(std::min(share, 1.0f) * 256 + 0.5f);
        for (i32 c = 0; c < 3; ++c)
            pixel[c] = static_cast<u8>(pixel[c] + (((to - pixel[c]) * part + 128) >> 8));
    }

    // -1 to 1: the share of the steepest slope that faces the upper left. Neighbours that do not
    // exist are as high as the pixel itself.
    f32 lightAt(i32 x, i32 y) const {
        static constexpr i32 toX[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
        static constexpr i32 toY[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
        static constexpr f32 d = 0.70710677f;
        static constexpr f32 weightX[8] = {-d, 0, d, -1, 1, -d, 0, d};
        static constexpr f32 weightY[8] = {-d, -1, -d, 0, 0, d, 1, d};
        const i32 here = alphaAt(x, y);
        f32 slopeX = 0;
        f32 slopeY = 0;
        for (i32 k = 0; k < 8; ++k) {
            const i32 nx = x + toX[k] * reach;
            const i32 ny = y + toY[k] * reach;
            if (nx < 0 || ny < 0 || nx >= pixels.width || ny >= pixels.height) continue;
            const f32 rise = static_cast<f32>(alphaAt(nx, ny) - here);
            slopeX += weightX[k] * rise;
            slopeY += weightY[k] * rise;
        }
        // The sum of the weights of one side, times the light's direction.
        constexpr f32 steepest = 255 * (1 + 2 * d);
        return std::clamp((slopeX + slopeY) * d / steepest, -1.0f, 1.0f);
    }
    i32 alphaAt(i32 x, i32 y) const { return pixels.row(y)[4 * static_cast<size_t>(x) + 3]; }

    AM_PixelView pixels;
    i32 reach;
    f32 highLight;
    f32 shade;
};

} // namespace

AM_View_StandardFilter::AM_View_StandardFilter()
    : AM_ViewFilter("Standard Filter %d", ++numStandardFilters, {"Overlay"}) {
}

void AM_View_StandardFilter::getProperties(AM_PropertyTable* table) {
    table->push_back(floatRow("alpha", &alpha, 0, 1, 1, 0.01f));
    table->push_back(floatRow("brightness", &brightness, -1, 1, 0, 0.01f));
    table->push_back(floatRow("contrast", &contrast, -1, 1, 0, 0.01f));
    table->push_back(floatRow("gamma", &gamma, 0, 2, 1, 0.01f));
    table->push_back(floatRow("noise", &noise, 0, 1, 0, 0.01f));
    table->push_back(floatRow("gauss", &gauss, 1, 10, 1, 0.05f));
    table->push_back(floatRow("hue", &hue, -1, 1, 0, 0.01f));
    table->push_back(floatRow("saturation", &saturation, -1, 1, 0, 0.01f));
    table->push_back(floatRow("value", &value, -1, 1, 0, 0.01f));
    table->push_back(intRow("Colour BlendMode", &blendMode, 0, 10, 0, AM_blendModeLabels));
}

void AM_View_StandardFilter::applyFilter(AM_Context* context) {
    if (pixelsOf(context).isEmpty()) return;
    if (brightness != 0 || contrast != 0) context->brightnessContrast(brightness, contrast);
    if (gamma != 1) context->gammaCorrect(gamma);
    if (hue != 0 || saturation != 0 || value != 0) context->saturate(hue, saturation, value);
    if (gauss > 1) context->gaussBlur(gaussInPixels(gauss, context->getScale()));
    if (noise > 0) context->noise(noise);
    const AM_Colour* overlay = getColour(0);
    if (overlay) context->tint(overlay->getRgba(), 1, blendMode);
    if (alpha < 1) context->multiplyAlpha(alpha);
}

AM_View_BumpFilter::AM_View_BumpFilter() : AM_ViewFilter("Bump %d", ++numBumps, {}) {
}

void AM_View_BumpFilter::getProperties(AM_PropertyTable* table) {
    table->push_back(floatRow("highLight", &highLight, 0, 10, 0.5f, 0.01f));
    table->push_back(floatRow("shade", &shade, 0, 10, 0.5f, 0.01f));
}

void AM_View_BumpFilter::applyFilter(AM_Context* context) {
    const AM_PixelView pixels = pixelsOf(context);
    if (pixels.isEmpty()) return;
    AM_Log("start bump");
    const i32 reach = std::max(1, static_cast<i32>(context->getScale() + 0.5f));
    const Bump bump(pixels, reach, highLight, shade);
    for (i32 y = 0; y < pixels.height; ++y)
        bump.applyToRow(y);
    AM_Log("finish bump");
}

void AM_View_BumpFilter::drawOverlay(AM_Context* context) {
    if (!context)
        AM_Log("Bump on NULL");
    else
        applyFilter(context);
}

AM_View_Shadow::AM_View_Shadow() : AM_ViewFilter("Shadow %d", ++numShadows, {"Highlight"}) {
}

void AM_View_Shadow::getProperties(AM_PropertyTable* table) {
    table->push_back(floatRow("angle", &angle, 0, 360, 45, 5));
    table->push_back(floatRow("distance", &distance, 0, 20, 3, 1));
    table->push_back(floatRow("blur", &blur, 0, 1, 0.5f, 0.01f));
    table->push_back(floatRow("alpha", &alpha, 0, 1, 0.8f, 0.01f));
    table->push_back(boolRow("inside", &inside));
    table->push_back(boolRow("ParentBounds", &useParentBounds));
    table->push_back(floatRow("highLight", &highLight, 0, 4, 0, 0.01f));
    table->push_back(floatRow("shade", &shade, 0, 4, 0, 0.01f));
    table->push_back(floatRow("depth", &depth, 0, 1, 0.5f, 0.01f));
    table->push_back(floatRow("softness", &softness, 0, 1, 0.5f, 0.01f));
}

void AM_View_Shadow::applyFilter(AM_Context* context) {
    paintShadow(context);
}

void AM_View_Shadow::paintShadow(AM_Context* context) {
    if (!context) {
        AM_Log("AM_View_Shadow::paintShadow without OffScreenContext");
        return;
    }
    const Area area = areaOf(*context, useParentBounds);
    if (area.pixels.isEmpty()) return;
    const f32 radians = angle * 0.017453293f;
    const f32 h = distance * std::sin(radians);
    const f32 v = -distance * std::cos(radians);
    AM_Log("h/v %f %f", h, v);
    const f32 right = h * area.scale;
    const f32 down = v * area.scale;
    const i32 pixelsRight = static_cast<i32>(std::lround(right));
    const i32 pixelsDown = static_cast<i32>(std::lround(down));
    // The relief comes first: it leaves the alpha, which the shadows are made of.
    if (shade > 0 && depth > 0) paintRelief(area, std::sin(radians), -std::cos(radians));
    AM_ShadowLayer shadow(area.pixels, right, down, blur, area.scale);
    std::optional<AM_ShadowLayer> opposite;
    if (highLight > 0) opposite.emplace(area.pixels, -right, -down, blur, area.scale);
    AM_Log("painting Shadow %d %d", pixelsRight, pixelsDown);
    shadow.draw(area.pixels, inside, 0x000000ff, alpha);
    AM_Log("done painting Shadow %d %d", pixelsRight, pixelsDown);
    if (!opposite) return;
    opposite->draw(area.pixels, inside, getHighlight(), highLight);
    AM_Log("done painting Highlight %d %d", -pixelsRight, -pixelsDown);
}

void AM_View_Shadow::paintRelief(const Area& area, f32 right, f32 down) {
    const f32 width = depth * k_widestRim * area.scale;
    AM_ShadowLayer dark(area.pixels, -right * width, -down * width, softness, area.scale);
    dark.draw(area.pixels, true, 0x000000ff, shade);
    if (highLight <= 0) return;
    AM_ShadowLayer light(area.pixels, right * width, down * width, softness, area.scale);
    light.draw(area.pixels, true, getHighlight(), highLight);
}

// White while there is no colour.
u32 AM_View_Shadow::getHighlight() const {
    const AM_Colour* colour = getColour(0);
    return colour ? colour->getRgba().toWord() : 0xffffffff;
}

AM_View_PNoise::AM_View_PNoise() : AM_ViewFilter("PNoise %d", ++numPNoises, {"NoiseGradient"}) {
}

void AM_View_PNoise::getProperties(AM_PropertyTable* table) {
    table->push_back(intRow("Octaves", &octaves, 1, 9, 8));
    table->push_back(floatRow("Alpha", &alpha, 0, 9, 2, 0.1f));
    table->push_back(floatRow("Beta", &beta, 0, 9, 2, 0.1f));
    table->push_back(floatRow("zoomX", &zoomX, 0, 100, 1, 0.1f));
    table->push_back(floatRow("zoomY", &zoomY, 0, 100, 1, 0.1f));
    table->push_back(boolRow("ParentBounds", &useParentBounds));
}

void AM_View_PNoise::applyFilter(AM_Context* context) {
    if (!context) return;
    const Area area = areaOf(*context, useParentBounds);
    if (area.pixels.isEmpty()) return;
    const auto colours = makeTable();
    const AM_GradientNoise noise(octaves, alpha, beta);
    const size_t width = static_cast<size_t>(area.pixels.width);
    std::vector<f32> values(width);
    std::vector<u8> line(4 * width);
    const f64 step = zoomX / (k_noiseCell * area.scale);
    const f64 x = (area.left + 0.5 / area.scale) * zoomX / k_noiseCell;
    for (i32 row = 0; row < area.pixels.height; ++row) {
        const f64 y = (area.top + (row + 0.5) / area.scale) * zoomY / k_noiseCell;
        noise.row(x, step, y, values.data(), area.pixels.width);
        for (size_t i = 0; i < width; ++i) {
            const f32 place = std::clamp(0.5f + k_noiseGain * values[i], 0.0f, 1.0f);
            std::memcpy(line.data() + 4 * i, &colours[static_cast<size_t>(place * 255 + 0.5f)], 4);
        }
        AM_PixelOps::blendRow(area.pixels.row(row), line.data(), area.pixels.width, 255, nullptr,
                              k_blendNormal);
    }
}

// Black to white while there is no colour.
std::array<AM_View_PNoise::Bytes, 256> AM_View_PNoise::makeTable() const {
    std::array<Bytes, 256> table;
    const AM_Colour* gradient = getColour(0);
    for (u32 i = 0; i < 256; ++i) {
        const f32 place = static_cast<f32>(i) / 255;
        const u32 word = gradient ? gradient->at(place).toWord() : i << 24 | i << 16 | i << 8 | 255;
        for (u32 c = 0; c < 4; ++c)
            table[i][c] = static_cast<u8>(word >> (24 - 8 * c));
    }
    return table;
}
