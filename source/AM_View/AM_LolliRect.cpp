#include "AM_LolliRect.h"

#include <cmath>

void AM_LolliRect::addProperties(AM_PropertyTable* table) {
    AM_RoundRect::addProperties(table);
    table->push_back(row("shadowSize", &shadowSize, 0, 4096, 8));
    table->push_back(row("shadowAlpha", &shadowAlpha, 0, 1, 0.5f));
}

u32 AM_LolliRect::getDefaultColour(i32 id) const {
    return id == 2 ? 0x000000ff : AM_RoundRect::getDefaultColour(id);
}

void AM_LolliRect::paint(const Canvas& canvas) {
    // The shadow reaches `size` beyond a box that is moved down by half of it.
    const AM_Rect& rect = canvas.rect;
    const f32 room = std::min(rect.width, rect.height) / 6;
    const f32 size = canvas.crisp(std::min(shadowSize * canvas.unit, room)),
              drop = std::floor(size / 2 / canvas.pixel) * canvas.pixel;
    const AM_Rect box{rect.left + size, rect.top + size - drop, rect.width - 2 * size,
                      rect.height - 2 * size};
    if (size > 0 && canvas.isImage) paintShadow(canvas, box.movedBy(0, drop), size);
    paintBox(canvas, box, 0);
}

// By the distance from the edge, as the blur of a straight edge falls: no blurring of pixels, and
// no steps where it ends.
void AM_LolliRect::paintShadow(const Canvas& canvas, const AM_Rect& box, f32 size) const {
    const AM_PixelView pixels = canvas.context->getPixels();
    const AM_Rgba colour = getColour(2).at(0);
    const AM_Rgba opaque{colour.r, colour.g, colour.b, 1};
    const u32 word = opaque.toWord();
    const f32 halfWidth = box.width / 2, halfHeight = box.height / 2,
              radius = std::min(std::max(cornerRadius * canvas.unit, size),
                                std::min(halfWidth, halfHeight));
    const AM_Point centre{box.left + halfWidth, box.top + halfHeight};
    // At the distance `size`, two and a half deviations out, under one percent is left.
    const f32 toDeviations = 2.5f / size / std::sqrt(2.0f), strength = shadowAlpha * colour.a * 255;
    for (i32 y = 0; y < pixels.height; ++y) {
        u8* pixel = pixels.row(y);
        const f32 v =
            std::abs((static_cast<f32>(y) + 0.5f) * canvas.pixel - centre.y) - halfHeight + radius;
        for (i32 x = 0; x < pixels.width; ++x, pixel += 4) {
            const f32 u = std::abs((static_cast<f32>(x) + 0.5f) * canvas.pixel - centre.x) -
                          halfWidth + radius;
            const f32 distance = std::hypot(std::max(u, 0.0f), std::max(v, 0.0f)) +
                                 std::min(std::max(u, v), 0.0f) - radius;
            const f32 cover = distance > size ? 0 : 0.5f * std::erfc(distance * toDeviations);
            pixel[0] = static_cast<u8>(word >> 24);
            pixel[1] = static_cast<u8>(word >> 16);
            pixel[2] = static_cast<u8>(word >> 8);
            pixel[3] = static_cast<u8>(cover * strength + 0.5f);
        }
    }
}
