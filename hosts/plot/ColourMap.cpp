#include "ColourMap.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace {
constexpr f64 k_darkest = 0.17; // lightness
constexpr f64 k_lightest = 0.97;
constexpr f64 k_firstHue = 275; // degrees
constexpr f64 k_lastHue = 100;
// Share of the way and chroma. Little at the dark end, so that silence is quiet; a screen has
// little of a dark teal too, and a chroma that ran along that limit would show a crease behind it.
constexpr f64 k_chroma[][2] = {{0, 0.03},     {0.12, 0.072}, {0.3, 0.072}, {0.5, 0.092},
                               {0.75, 0.125}, {0.9, 0.12},   {1, 0.06}};

using ColourMap = std::array<std::array<u8, 3>, k_numLevelColours>;

using Linear = std::array<f64, 3>;

Linear toLinear(f64 lightness, f64 chroma, f64 hue) {
    const f64 a = chroma * std::cos(hue * std::numbers::pi / 180);
    const f64 b = chroma * std::sin(hue * std::numbers::pi / 180);
    const auto cube = [](f64 x) { return x * x * x; };
    const f64 l = cube(lightness + 0.3963377774 * a + 0.2158037573 * b);
    const f64 m = cube(lightness - 0.1055613458 * a - 0.0638541728 * b);
    const f64 s = cube(lightness - 0.0894841775 * a - 1.2914855480 * b);
    return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
            -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
            -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

f64 chromaAt(f64 part) {
    for (size_t i = 1; i < std::size(k_chroma); ++i) {
        const auto& [from, low] = k_chroma[i - 1];
        const auto& [to, high] = k_chroma[i];
        if (part <= to) return low + (part - from) / (to - from) * (high - low);
    }
    return k_chroma[std::size(k_chroma) - 1][1];
}

u8 toByte(f64 linear) {
    const f64 c = std::clamp(linear, 0.0, 1.0);
    const f64 coded = c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
    return static_cast<u8>(coded * 255 + 0.5);
}

ColourMap makeLevelColours() {
    ColourMap map{};
    for (size_t i = 0; i < map.size(); ++i) {
        const f64 part = static_cast<f64>(i) / (static_cast<f64>(map.size()) - 1);
        const f64 lightness = k_darkest + part * (k_lightest - k_darkest);
        const f64 hue = k_firstHue + part * (k_lastHue - k_firstHue);
        const Linear colour = toLinear(lightness, chromaAt(part), hue);
        map[i] = {toByte(colour[0]), toByte(colour[1]), toByte(colour[2])};
    }
    return map;
}
} // namespace

const std::array<u8, 3>& getLevelColour(f64 share) {
    static const ColourMap map = makeLevelColours();
    const f64 place = std::clamp(share, 0.0, 1.0) * static_cast<f64>(map.size() - 1);
    return map[static_cast<size_t>(place + 0.5)];
}
