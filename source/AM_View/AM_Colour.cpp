#include "AM_Colour.h"

#include <algorithm>
#include <cmath>

namespace {

f32 clampChannel(f32 channel) {
    return std::isfinite(channel) ? std::clamp(channel, 0.0f, 1.0f) : 0.0f;
}

f32 wrapHue(f32 hue) {
    const f32 wrapped = std::fmod(hue, 360.0f);
    // A tiny negative hue would round up to 360 itself.
    return wrapped < 0 ? std::fmod(wrapped + 360, 360.0f) : wrapped;
}

f32 norm(const AM_Rgba& c) {
    return std::sqrt(c.r * c.r + c.g * c.g + c.b * c.b);
}

AM_Rgba mix(const AM_Rgba& a, const AM_Rgba& b, f32 amount) {
    const f32 rest = 1 - amount;
    return {a.r * rest + b.r * amount, a.g * rest + b.g * amount, a.b * rest + b.b * amount,
            a.a * rest + b.a * amount};
}

const AM_Colour* asStop(const AM_Tree* node) {
    const auto* colour = dynamic_cast<const AM_Colour*>(node);
    return colour && colour->isGradientElement() ? colour : nullptr;
}

} // namespace

AM_Rgba AM_Rgba::fromWord(u32 rgba) {
    const auto channel = [rgba](i32 shift) {
        return static_cast<f32>((rgba >> shift) & 0xff) * (1.0f / 255);
    };
    return {channel(24), channel(16), channel(8), channel(0)};
}

u32 AM_Rgba::toWord() const {
    const auto byte = [](f32 channel) {
        return static_cast<u32>(clampChannel(channel) * 255 + 0.5f);
    };
    return byte(r) << 24 | byte(g) << 16 | byte(b) << 8 | byte(a);
}

AM_Hsv AM_toHsv(const AM_Rgba& c) {
    const f32 largest = std::max({c.r, c.g, c.b}), range = largest - std::min({c.r, c.g, c.b});
    AM_Hsv hsv{0, 0, largest};
    if (!(largest > 0 && range > 0)) return hsv;
    hsv.saturation = range / largest;
    f32 sector;
    if (c.r == largest)
        sector = (c.g - c.b) / range;
    else if (c.g == largest)
        sector = 2 + (c.b - c.r) / range;
    else
        sector = 4 + (c.r - c.g) / range;
    hsv.hue = wrapHue(sector * 60);
    return hsv;
}

AM_Rgba AM_fromHsv(const AM_Hsv& hsv, f32 alpha) {
    const f32 hue = std::isfinite(hsv.hue) ? wrapHue(hsv.hue) / 60 : 0;
    const f32 s = clampChannel(hsv.saturation), v = clampChannel(hsv.value);
    const f32 sector = std::floor(hue), fraction = hue - sector;
    const f32 low = v * (1 - s), falling = v * (1 - s * fraction),
              rising = v * (1 - s * (1 - fraction));
    switch (static_cast<i32>(sector)) {
    case 0:
        return {v, rising, low, alpha};
    case 1:
        return {falling, v, low, alpha};
    case 2:
        return {low, v, rising, alpha};
    case 3:
        return {low, falling, v, alpha};
    case 4:
        return {rising, low, v, alpha};
    default:
        return {v, low, falling, alpha};
    }
}

AM_Colour::AM_Colour(const char* newName, u32 word) {
    typeMask = k_classViewColour;
    AM_GuiObject::setName(newName);
    AM_Colour::setRgba(AM_Rgba::fromWord(word));
}

void AM_Colour::setValue(u32 word) {
    setRgba(AM_Rgba::fromWord(word));
}

u32 AM_Colour::getValue() {
    return rgba.toWord();
}

void AM_Colour::setRgba(const AM_Rgba& newRgba) {
    rgba = {clampChannel(newRgba.r), clampChannel(newRgba.g), clampChannel(newRgba.b),
            clampChannel(newRgba.a)};
    hsv = AM_toHsv(rgba);
}

void AM_Colour::setLocation(f32 newLocation) {
    location = clampChannel(newLocation);
}

void AM_Colour::addStop(f32 at, u32 word) {
    auto* const stop = new AM_Colour("stop", word);
    stop->setGradientElement(true);
    stop->setLocation(at);
    add(stop);
}

bool AM_Colour::isGradient() const {
    for (const AM_Tree* child = getFirstChild(); child; child = child->getNext())
        if (asStop(child)) return true;
    return false;
}

std::vector<AM_Colour::Stop> AM_Colour::getStops() const {
    std::vector<Stop> stops;
    for (const AM_Tree* child = getFirstChild(); child; child = child->getNext())
        if (const AM_Colour* stop = asStop(child)) stops.push_back({stop->location, stop->rgba});
    if (stops.empty()) stops.push_back({0, rgba});
    std::stable_sort(stops.begin(), stops.end(),
                     [](const Stop& a, const Stop& b) { return a.location < b.location; });
    return stops;
}

AM_Rgba AM_Colour::at(f32 x) const {
    const AM_Colour *below = nullptr, *above = nullptr;
    for (const AM_Tree* child = getFirstChild(); child; child = child->getNext()) {
        const AM_Colour* stop = asStop(child);
        if (!stop) continue;
        // Of stops at one place the last is where the gradient goes on.
        if (stop->location <= x) {
            if (!below || stop->location >= below->location) below = stop;
        } else if (!above || stop->location < above->location) {
            above = stop;
        }
    }
    if (!below && !above) return rgba;
    if (!below) return above->rgba;
    if (!above) return below->rgba;
    return mix(below->rgba, above->rgba,
               (x - below->location) / (above->location - below->location));
}

void AM_Colour::shiftHSV(f32 hue, f32 saturation, f32 value) {
    AM_Hsv shifted = hsv;
    if (std::isfinite(hue)) shifted.hue = wrapHue(hsv.hue + hue);
    if (std::isfinite(saturation)) shifted.saturation = clampChannel(hsv.saturation * saturation);
    if (std::isfinite(value)) shifted.value = clampChannel(hsv.value * value);
    setRgba(AM_fromHsv(shifted, rgba.a));
    hsv = shifted; // grey and black have a hue too, for the next shift
}

void AM_Colour::tint(const AM_Colour& other) {
    const AM_Rgba& by = other.rgba;
    const f32 amount = by.a, own = norm(rgba), others = norm(by);
    const f32 gain = own > 0 && others > 0 ? amount * (own / others) : amount;
    const f32 rest = 1 - amount;
    setRgba({rest * rgba.r + gain * by.r, rest * rgba.g + gain * by.g, rest * rgba.b + gain * by.b,
             rgba.a});
}
