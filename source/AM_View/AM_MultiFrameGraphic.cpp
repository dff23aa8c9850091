#include "AM_MultiFrameGraphic.h"

#include "AM_Context.h"

#include <algorithm>
#include <cmath>

namespace {

// `amount` of `second` (0 to 256), the rest of `first`. Colours weigh with their alpha, so what is
// transparent in one of them brings no colour in.
void mixPixels(const AM_PixelView& first, const AM_PixelView& second, u32 amount, u8* target) {
    for (i32 y = 0; y < first.height; ++y) {
        const u8 *a = first.row(y), *b = second.row(y);
        for (i32 x = 0; x < first.width; ++x, a += 4, b += 4, target += 4) {
            const u32 weightA = a[3] * (256 - amount), weightB = b[3] * amount,
                      sum = weightA + weightB;
            for (i32 c = 0; c < 3; ++c)
                target[c] =
                    sum == 0 ? u8(0)
                             : static_cast<u8>((a[c] * weightA + b[c] * weightB + sum / 2) / sum);
            target[3] = static_cast<u8>((sum + 128) >> 8);
        }
    }
}

f32 clampValue(f32 value) {
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
}

} // namespace

void AM_MultiFrameGraphic::add(AM_Tree* child) {
    AM_Graphic::add(child);
    frameCount = getFrameCount();
}

AM_PngGraphic* AM_MultiFrameGraphic::getFrame(i32 index) const {
    AM_Tree* child = index < 0 ? nullptr : getFirstChild();
    for (; child && index > 0; --index)
        child = child->getNext();
    return dynamic_cast<AM_PngGraphic*>(child);
}

f32 AM_MultiFrameGraphic::getWidth() {
    AM_PngGraphic* const first = getFrame(0);
    return first ? first->getWidth() : width;
}

f32 AM_MultiFrameGraphic::getHeight() {
    AM_PngGraphic* const first = getFrame(0);
    return first ? first->getHeight() : height;
}

bool AM_MultiFrameGraphic::getHasAlpha() {
    AM_PngGraphic* const first = getFrame(0);
    return first ? first->getHasAlpha() : hasAlpha;
}

i32 AM_MultiFrameGraphic::load() {
    i32 result = 0;
    for (AM_Tree* child = getFirstChild(); child; child = child->getNext())
        if (auto* frame = dynamic_cast<AM_PngGraphic*>(child)) result |= frame->load();
    return result;
}

void AM_MultiFrameGraphic::setMorph(f32 newMorph) {
    morph = clampValue(newMorph);
}

void AM_MultiFrameGraphic::setCurrentTime(f32 time) {
    if (std::isfinite(time)) currentTime = time - std::floor(time);
}

void AM_MultiFrameGraphic::getProperties(AM_PropertyTable* table) {
    table->push_back({AM_Property::k_float, "morph", nullptr, &morph, 0, 1, 0, 0.01f});
    table->push_back({AM_Property::k_bool, "animated", nullptr, &animated, 0, 1, 0, 1});
}

i32 AM_MultiFrameGraphic::frameFor(f32 value) const {
    const i32 last = getFrameCount() - 1;
    // A run of an animation shows every frame for the same time.
    const f32 frame = animated ? std::floor(currentTime * static_cast<f32>(last + 1))
                               : std::trunc(static_cast<f32>(last) * clampValue(value) + 0.5f);
    return std::clamp(static_cast<i32>(frame), 0, std::max(last, 0));
}

void AM_MultiFrameGraphic::drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha,
                                      f32 value) {
    if (!context) return;
    if (animated && control) control->receiveMessage(this, k_redraw, k_redrawGroup, nullptr);
    const f32 held = clampValue(value);
    if (!animated && morph > 0 && held > 0 && held < 1 &&
        drawMorph(context, rect, alpha, held * static_cast<f32>(getFrameCount() - 1)))
        return;
    if (AM_PngGraphic* const frame = getFrame(frameFor(value)))
        frame->drawInRect(context, rect, alpha, value);
}

bool AM_MultiFrameGraphic::drawMorph(AM_Context* context, const AM_Rect& rect, f32 alpha,
                                     f32 position) {
    const i32 index = static_cast<i32>(position);
    const u32 amount = static_cast<u32>(std::max(position - static_cast<f32>(index), 0.0f) * 256);
    AM_PngGraphic *const below = getFrame(index), *const above = getFrame(index + 1);
    if (amount == 0 || !below || !above) return false;
    AM_PixelView picture = below->getPixels();
    const AM_PixelView second = above->getPixels();
    // Pictures of two sizes have no pixels in common.
    if (picture.isEmpty() || picture.width != second.width || picture.height != second.height)
        return false;
    mixed.resize(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 4);
    mixPixels(picture, second, amount, mixed.data());
    picture = {mixed.data(), picture.width, picture.height, picture.width * 4};
    AM_ImagePlacement placement;
    placement.target = rect;
    placement.alpha = alpha;
    context->drawImage(picture, placement);
    return true;
}

bool AM_MultiFrameGraphic::hits(const AM_Rect& rect, AM_Point at, f32 value) {
    AM_PngGraphic* const frame = getFrame(frameFor(value));
    return frame && frame->hits(rect, at, value);
}
