#include "AM_Graphic.h"

#include "AM_Format.h"
#include "AM_GraphicsList.h"
#include "AM_Log.h"
#include "AM_Text.h"
#include "AM_ViewText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

constexpr f32 k_maxSize = 4096; // view units

bool parseNumber(const char* text, f32* result) {
    std::string trimmed = AM_STD::stdString_trimWhitespaces(text);
    const char* const end = trimmed.data() + trimmed.size();
    const char* begin = trimmed.data();
    if (begin != end && *begin == '+') ++begin;
    f32 number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number)) return false;
    *result = number;
    return true;
}

i32 toInt(f32 number) {
    return static_cast<i32>(std::lround(std::clamp(number, -2.0e9f, 2.0e9f)));
}

// An unknown label and one outside of the range are the standard one.
i32 findLabel(const AM_Property& row, const char* text) {
    for (i32 i = toInt(std::max(row.minimum, 0.0f)); i <= toInt(row.maximum); ++i)
        if (AM_STD::Strcmp(row.labels[i], text) == 0) return i;
    return toInt(row.standard);
}

template <class... A>
void append(std::string* script, const char* format, const A&... args) {
    char line[512];
    AM_STD::sprintv(line, sizeof line, format, args...);
    script->append(line);
}

// Empty for a text that is not there or can't be written.
std::string valueText(const AM_Property& row) {
    char text[64];
    switch (row.kind) {
    case AM_Property::k_float:
        AM_STD::sprintv(text, sizeof text, row.step > 0 && row.step < 0.01f ? "%.5f" : "%.2f",
                        *static_cast<const f32*>(row.value));
        return text;
    case AM_Property::k_int: {
        const i32 number = *static_cast<const i32*>(row.value);
        if (row.labels) return row.labels[number];
        AM_STD::sprintv(text, sizeof text, "%d", number);
        return text;
    }
    case AM_Property::k_bool:
        return *static_cast<const bool*>(row.value) ? "YES" : "NO";
    default: {
        const char* kept = static_cast<const char*>(row.value);
        return AM_isScriptText(kept) ? kept : "";
    }
    }
}

} // namespace

bool AM_setProperty(const AM_Property& row, const char* text) {
    if (!text || !row.value) return false;
    f32 number = 0;
    switch (row.kind) {
    case AM_Property::k_float:
        if (!parseNumber(text, &number)) return false;
        *static_cast<f32*>(row.value) = std::max(row.minimum, std::min(row.maximum, number));
        return true;
    case AM_Property::k_int:
        if (row.labels) {
            *static_cast<i32*>(row.value) = findLabel(row, text);
            return true;
        }
        if (!parseNumber(text, &number)) return false;
        *static_cast<i32*>(row.value) = toInt(std::max(row.minimum, std::min(row.maximum, number)));
        return true;
    case AM_Property::k_text:
        if (row.capacity < 1) return false;
        AM_STD::copyText(static_cast<char*>(row.value), static_cast<size_t>(row.capacity), text);
        return true;
    case AM_Property::k_bool:
        *static_cast<bool*>(row.value) = AM_STD::Strcmp(text, "YES") == 0;
        return true;
    default:
        return false;
    }
}

AM_Graphic::AM_Graphic() {
    typeMask = k_classViewGraphic;
}

void AM_Graphic::setControl(AM_GuiObject* newControl) {
    control = newControl;
}

const char* AM_Graphic::getTypeName() {
    return "no type";
}

const char* AM_Graphic::getDefaultName() {
    return "";
}

void AM_Graphic::setWidth(f32 newWidth) {
    if (std::isfinite(newWidth)) width = std::clamp(newWidth, 0.0f, k_maxSize);
}

void AM_Graphic::setHeight(f32 newHeight) {
    if (std::isfinite(newHeight)) height = std::clamp(newHeight, 0.0f, k_maxSize);
}

void AM_Graphic::draw(AM_Context* context, AM_Point at, f32 alpha, f32 value) {
    drawInRect(context, {at.x, at.y, getWidth(), getHeight()}, alpha, value);
}

void AM_Graphic::drawInRect(AM_Context*, const AM_Rect&, f32, f32) {
}

bool AM_Graphic::hits(const AM_Rect& rect, AM_Point at, f32) {
    return rect.contains(at);
}

AM_GraphicsList* AM_Graphic::getList() const {
    for (AM_Tree* above = getParent(); above; above = above->getParent())
        if (auto* list = dynamic_cast<AM_GraphicsList*>(above)) return list;
    return nullptr;
}

void AM_Graphic::write(std::string* script) {
    if (!script || isImmutable()) return;
    if (!AM_isScriptText(name)) {
        AM_Log("Graphic '%s' is not written: a script can't hold its name", name);
        return;
    }
    append(script, "\n\nGRAPHIC name='%s' path='%d' type='%s'", name, themeIndex, getTypeName());
    const auto writeProperty = [&](const char* property, i32 id, const char* value) {
        append(script, "\nGR_PROPERTY graphic='%s' name='%s' id='%d' value='%s'", name, property,
               id, value);
    };
    char size[32];
    AM_STD::sprintv(size, sizeof size, "%.2f", getWidth());
    writeProperty("width", 0, size);
    AM_STD::sprintv(size, sizeof size, "%.2f", getHeight());
    writeProperty("height", 0, size);
    writeProperty("scalable", 0, isScalable() ? "yes" : "no");
    AM_PropertyTable table;
    getProperties(&table);
    i32 id = 0;
    for (size_t i = 0; i < table.size(); ++i) {
        // Rows of one name stand side by side and are told apart by their number.
        id = i > 0 && AM_STD::Strcmp(table[i].name, table[i - 1].name) == 0 ? id + 1 : 0;
        const std::string value = valueText(table[i]);
        if (!value.empty()) writeProperty(table[i].name, id, value.c_str());
    }
}

void AM_Graphic::setProperty(const char* property, i32 id, const char* value) {
    changeProperty(property, id, value);
}

void AM_Graphic::getProperties(AM_PropertyTable*) {
}

bool AM_Graphic::changeProperty(const char* property, i32 id, const char* value) {
    if (!property || !value) return false;
    f32 number = 0;
    if (AM_STD::Strcmp(property, "scalable") == 0) {
        scalable = AM_STD::Strcmp(value, "yes") == 0;
        return true;
    }
    const bool isWidth = AM_STD::Strcmp(property, "width") == 0;
    if (isWidth || AM_STD::Strcmp(property, "height") == 0) {
        if (!parseNumber(value, &number)) return true;
        if (isWidth)
            setWidth(number);
        else
            setHeight(number);
        return true;
    }
    AM_PropertyTable table;
    getProperties(&table);
    bool known = false;
    for (const AM_Property& row : table) {
        if (AM_STD::Strcmp(row.name, property) != 0) continue;
        known = true;
        if (id-- == 0) {
            AM_setProperty(row, value);
            return true;
        }
    }
    return known; // a number out of range is dropped
}
