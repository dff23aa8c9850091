#include "AM_Shape.h"

#include "AM_AGG_Context.h"
#include "AM_ColoursList.h"
#include "AM_Format.h"
#include "AM_GraphicsList.h"
#include "AM_Log.h"
#include "AM_Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr f32 k_defaultSize = 100; // view units
// What one shape may be asked to fill; more are device coordinates that no integer holds.
constexpr f32 k_farAway = 1.0e6f;
// Chords off by this many pixels leave a dot of two pixels its area to a hundredth.
constexpr f32 k_tolerance = 0.005f;
constexpr i64 k_maxScratch = 512 * 512; // pixels that wait for the next paint

class Hash {
public:
    void add(f32 number) {
        u32 bits;
        std::memcpy(&bits, &number, sizeof bits);
        hash = (hash ^ bits) * 0x100000001b3u;
        hash ^= hash >> 29;
    }
    void add(const AM_Rgba& rgba) {
        for (const f32 channel : {rgba.r, rgba.g, rgba.b, rgba.a})
            add(channel);
    }
    u64 get() const { return hash; }

private:
    u64 hash = 0xcbf29ce484222325u;
};

f32 clampValue(f32 value) {
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f;
}

bool isNear(const AM_Rect& rect) {
    // False for what is not a number too.
    return std::abs(rect.left) < k_farAway && std::abs(rect.top) < k_farAway &&
           rect.width < k_farAway && rect.height < k_farAway;
}

} // namespace

struct AM_Shape::ImageKey {
    i32 width;
    i32 height;
    f32 left; // of the rectangle's corner in its pixel
    f32 top;
    f32 scale;
    f32 unit;
    f32 value;
    u64 look;
    bool operator==(const ImageKey&) const = default;
};

struct AM_Shape::Image {
    ImageKey key;
    std::unique_ptr<AM_ViewCompressedImageData> data;
};

f32 AM_Shape::Canvas::crisp(f32 length) const {
    return length > 0 ? std::max(std::round(length / pixel), 1.0f) * pixel : 0;
}

void AM_Shape::Canvas::fill(const AM_Path& path, const AM_Colour& colour) const {
    if (!path.polygons.empty()) context->fillPath(path, colour);
}

void AM_Shape::Canvas::fill(AM_Outline outline, const AM_Colour& colour) const {
    AM_Path path;
    path.polygons.push_back(std::move(outline));
    fill(path, colour);
}

AM_Shape::AM_Shape() {
    width = height = k_defaultSize;
}

AM_Shape::~AM_Shape() = default;

AM_Property AM_Shape::row(const char* rowName, f32* value, f32 minimum, f32 maximum, f32 standard) {
    AM_Property made{AM_Property::k_float, "", nullptr, value, minimum, maximum, standard, 0.01f};
    AM_STD::copyText(made.name, rowName);
    return made;
}

void AM_Shape::getProperties(AM_PropertyTable* table) {
    addProperties(table);
    for (char(&colourName)[k_maxName] : colourNames)
        table->push_back({AM_Property::k_text, "colour", nullptr, colourName, 0, 0, 0, 0,
                          static_cast<i32>(sizeof colourName)});
}

void AM_Shape::setProperty(const char* property, i32 id, const char* value) {
    if (!changeProperty(property, id, value)) {
        AM_Log("huh?");
        return;
    }
    rows.clear();
    addProperties(&rows);
    for (const AM_Property& row : rows)
        if (AM_STD::Strcmp(row.name, property) == 0 && id-- == 0)
            AM_Log("%s: %.2f", row.name, *static_cast<const f32*>(row.value));
}

// Colours are looked up for every paint: they come and go with scripts.
void AM_Shape::findColours() {
    const AM_GraphicsList* const list = getList();
    const AM_ColoursList* const all = list ? list->getColours() : nullptr;
    for (i32 id = 0; id < getNumUsedColours(); ++id) {
        char colourName[k_maxName];
        if (hasColour(id))
            AM_STD::copyText(colourName, colourNames[id]);
        else
            AM_STD::sprintv(colourName, sizeof colourName, getDefaultColourName(), id);
        colours[id] = all && colourName[0] ? all->findColour(colourName) : nullptr;
        if (colours[id]) continue;
        defaults[id].setValue(getDefaultColour(id));
        colours[id] = &defaults[id];
    }
}

u64 AM_Shape::getLook() {
    Hash look;
    rows.clear();
    addProperties(&rows);
    for (const AM_Property& row : rows)
        look.add(*static_cast<const f32*>(row.value));
    for (i32 id = 0; id < getNumUsedColours(); ++id) {
        look.add(hasColour(id) ? 1.0f : 0.0f);
        look.add(colours[id]->getRgba());
        if (!colours[id]->isGradient()) continue;
        for (const AM_Colour::Stop& stop : colours[id]->getStops()) {
            look.add(stop.location);
            look.add(stop.rgba);
        }
    }
    return look.get();
}

f32 AM_Shape::getUnit(const AM_Rect& rect) const {
    if (!scalable || !(width > 0 && height > 0)) return 1;
    return std::min(rect.width / width, rect.height / height);
}

void AM_Shape::drawInRect(AM_Context* context, const AM_Rect& rect, f32 alpha, f32 value) {
    if (!context || rect.isEmpty() || !isNear(rect) || !(alpha > 0)) return;
    const AM_Rect clip = context->getGlobalClip();
    if (!rect.intersects(clip)) return;
    const f32 scale = context->getScale();
    const AM_Point origin = context->getOrigin();
    AM_Rect device{(rect.left + origin.x) * scale, (rect.top + origin.y) * scale,
                   rect.width * scale, rect.height * scale};
    if (isAligned()) {
        const f32 right = std::round(device.right()), bottom = std::round(device.bottom());
        device.left = std::round(device.left);
        device.top = std::round(device.top);
        device.width = std::max(right - device.left, 1.0f);
        device.height = std::max(bottom - device.top, 1.0f);
    }
    const AM_PixelView target = context->getPixels();
    const Image* const image =
        target.isEmpty() ? nullptr : getImage(device, scale, getUnit(rect), clampValue(value));
    if (!image) {
        // Too large to be kept: what shows of it is drawn at once.
        findColours();
        paint({context, rect, clampValue(value), getUnit(rect), 1 / scale, k_tolerance / scale,
               false});
        return;
    }
    image->data->draw(target, static_cast<i32>(std::floor(device.left)),
                      static_cast<i32>(std::floor(device.top)), alpha,
                      static_cast<i32>((clip.left + origin.x) * scale),
                      static_cast<i32>((clip.top + origin.y) * scale),
                      static_cast<i32>(std::ceil((clip.right() + origin.x) * scale)),
                      static_cast<i32>(std::ceil((clip.bottom() + origin.y) * scale)));
}

bool AM_Shape::hits(const AM_Rect& rect, AM_Point at, f32 value) {
    if (rect.isEmpty() || !isNear(rect) || !rect.contains(at)) return false;
    const Image* const image =
        getImage({0, 0, rect.width, rect.height}, 1, getUnit(rect), clampValue(value));
    return !image || image->data->hitTest(static_cast<i32>(at.x - rect.left),
                                          static_cast<i32>(at.y - rect.top));
}

const AM_Shape::Image* AM_Shape::getImage(const AM_Rect& device, f32 scale, f32 unit, f32 value) {
    const f32 left = std::floor(device.left), top = std::floor(device.top);
    const f32 columns = std::ceil(device.right()) - left, lines = std::ceil(device.bottom()) - top;
    if (!(columns <= k_maxImageSide && lines <= k_maxImageSide)) return nullptr;
    findColours();
    const ImageKey key{static_cast<i32>(columns),
                       static_cast<i32>(lines),
                       device.left - left,
                       device.top - top,
                       scale,
                       unit,
                       showsValue() ? value : 0,
                       getLook()};
    const auto known = std::find_if(images.begin(), images.end(),
                                    [&key](const auto& image) { return image->key == key; });
    if (known != images.end()) {
        std::rotate(known, known + 1, images.end());
        return images.back().get();
    }
    images.push_back(std::make_unique<Image>(Image{key, nullptr}));
    render({key.left, key.top, device.width, device.height}, value, images.back().get());
    dropImages();
    return images.back().get();
}

// Those that were used longest ago go first.
void AM_Shape::dropImages() {
    i64 pixels = 0;
    size_t kept = images.size();
    while (kept > 0 && images.size() - kept < k_maxKeptImages) {
        const ImageKey& key = images[kept - 1]->key;
        pixels += static_cast<i64>(key.width) * key.height;
        if (pixels > k_maxKeptPixels && kept < images.size()) break;
        --kept;
    }
    images.erase(images.begin(), images.begin() + static_cast<std::ptrdiff_t>(kept));
}

void AM_Shape::render(const AM_Rect& device, f32 value, Image* image) {
    const ImageKey& key = image->key;
    const f32 pixel = 1 / key.scale;
    if (!scratch) scratch = std::make_unique<AM_AGG_Context>(1.0f, 1.0f, 1.0f, false);
    scratch->setScale(key.scale, static_cast<f32>(key.width) * pixel,
                      static_cast<f32>(key.height) * pixel);
    scratch->beginDraw();
    scratch->clear(0);
    paint({scratch.get(),
           {device.left * pixel, device.top * pixel, device.width * pixel, device.height * pixel},
           value,
           key.unit,
           pixel,
           k_tolerance * pixel,
           true});
    AM_PixelView pixels = scratch->getPixels();
    pixels.width = std::min(pixels.width, key.width);
    pixels.height = std::min(pixels.height, key.height);
    image->data =
        std::make_unique<AM_ViewCompressedImageData>(pixels, AM_ViewCompressedImageData::k_copy);
    if (static_cast<i64>(key.width) * key.height > k_maxScratch) scratch.reset();
}
