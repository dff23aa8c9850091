// Colours and graphics of any statements, drawn small: nothing is written outside of the clip, and
// what is written as a script is read as the same again.
#include "AM_AGG_Context.h"
#include "AM_ColoursList.h"
#include "AM_GraphicsList.h"
#include "AM_ScriptStatement.h"
#include "fuzz/FuzzTarget.h"

#include <charconv>
#include <cstring>
#include <string>

namespace {

struct Lists {
    Lists() { graphics.setColours(&colours); }
    AM_ColoursList colours;
    AM_GraphicsList graphics;
};

template <class Number, class... Base>
Number numberOf(const ScriptStatement& line, const char* key, Base... base) {
    Number number = 0;
    if (const char* text = line.getAttribute(key))
        std::from_chars(text, text + std::strlen(text), number, base...);
    return number;
}

void run(const ScriptStatement& line, Lists& lists) {
    const std::string_view keyword = line.tokens[0];
    const char* const name = line.getAttribute("name");
    const u32 rgba = numberOf<u32>(line, "rgba", 16);
    const f32 location = numberOf<f32>(line, "location");
    if (keyword == "COLOUR") {
        if (AM_Colour* colour = lists.colours.setColour(name, rgba)) colour->setLocation(location);
    } else if (keyword == "COL_ELEMENT") {
        lists.colours.setElement(name, line.getAttribute("parent"), rgba, location);
    } else if (keyword == "GRAPHIC") {
        if (lists.graphics.getNumChildren() < 12)
            lists.graphics.makeGraphic(name, 0, line.getAttribute("type"));
    } else if (keyword == "GR_PROPERTY") {
        if (AM_Graphic* graphic = lists.graphics.findGraphic(line.getAttribute("graphic")))
            graphic->setProperty(name, numberOf<i32>(line, "id"), line.getAttribute("value"));
    }
}

void run(std::string_view script, Lists& lists) {
    ScriptStatement line;
    size_t position = 0;
    for (i32 count = 0; count < 600 && position < script.size();) {
        line.read(script, &position);
        if (line.tokenCount < 0) continue;
        run(line, lists);
        ++count;
    }
}

std::string write(const Lists& lists) {
    std::string script;
    lists.colours.write(&script);
    lists.graphics.write(&script);
    return script;
}

void draw(const Lists& lists) {
    AM_AGG_Context context(24, 20, 1.3f, false);
    context.pushClip({0, 0, 20, 20});
    f32 value = 0;
    for (AM_Tree* child = lists.graphics.getFirstChild(); child; child = child->getNext()) {
        auto* const graphic = dynamic_cast<AM_Graphic*>(child);
        graphic->drawInRect(&context, {1.3f, 2, 17, 16}, 0.7f, value += 0.3f);
        graphic->hits({0, 0, 18, 18}, {9, 2}, value);
    }
    const AM_PixelView pixels = context.getPixels();
    for (i32 y = 0; y < pixels.height; ++y)
        for (i32 x = 27; x < pixels.width; ++x)
            require(pixels.row(y)[4 * x + 3] == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    Lists first, second;
    run({reinterpret_cast<const char*>(data), size}, first);
    draw(first);
    const std::string script = write(first);
    run(script, second);
    require(write(second) == script);
    draw(second);
    return 0;
}
