// The filters of panes, each property by itself.
#include "AM_Colour.h"
#include "AM_ViewGraphicFilters.h"
#include "Scene.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace {
constexpr f32 k_size = 84;
constexpr f32 k_captions = 26; // below each

struct Setting {
    const char* property;
    const char* value;
};
using Settings = std::initializer_list<Setting>;

// A pane's picture: a plate, a knob and a word on nothing.
void paintPane(AM_Context& c) {
    c.setRGBA(0x5a7890ff);
    c.fillRect({12, 12, 36, 60});
    c.setRGBA(0xd8a040ff);
    c.fillArc({58, 34}, 0, 18, 0, 360);
    c.setRGBA(0x303840ff);
    c.fillArc({58, 34}, 10, 12, -135, 135);
    c.setRGBA(0xe8eaedff);
    c.setFontSize(15);
    c.drawText("Mix", {40, 56, 40, 18}, 1, 1);
}

class Grid {
public:
    Grid(AM_Context& newContext, i32 newColumns) : context(newContext), columns(newColumns) {}

    void show(AM_ViewFilter& filter, Settings settings) {
        AM_AGG_Context layer(k_size, k_size, context.getScale(), false);
        paintPane(layer);
        filter.setParentBounds({0, 0, k_size, k_size});
        std::string text;
        for (const Setting& setting : settings) {
            filter.setProperty(setting.property, 0, setting.value);
            // Every shadow but the first falls to the lower right.
            if (std::string_view(setting.property) == "angle") continue;
            if (!text.empty()) text += ", ";
            if (std::string_view(setting.property) == "inside")
                text += "outside";
            else
                text += std::string(setting.property) + " " + setting.value;
        }
        if (text.empty()) text = settings.size() == 0 ? "as it is at first" : "to the lower right";
        filter.applyFilter(&layer);
        const f32 x = 4 + static_cast<f32>(number % columns) * (k_size + 8);
        const f32 y = 4 + static_cast<f32>(number / columns) * (k_size + k_captions);
        ++number;
        context.setRGBA(0x3d4652ff);
        context.fillRect({x, y, k_size, k_size});
        context.drawOffscreen(&layer, {x, y, k_size, k_size}, 1);
        context.setRGBA(k_sceneInk);
        context.setFontSize(7.5f);
        writeCaption(text, x, y + k_size + 1);
    }
    template <class Filter>
    void show(Settings settings, AM_Colour* colour = nullptr) {
        Filter filter;
        filter.setColour(0, colour);
        show(filter, settings);
    }

private:
    // In two lines if it is long, parted at the last comma or space.
    void writeCaption(const std::string& text, f32 x, f32 y) {
        const AM_Rect first{x - 4, y, k_size + 8, 11};
        size_t end = text.size();
        if (context.getTextWidth(text.c_str()) > k_size + 4) {
            const size_t comma = text.rfind(", ");
            end = comma != std::string::npos ? comma + 1 : text.rfind(' ');
        }
        context.drawText(text.substr(0, end).c_str(), first, 1, 1);
        if (end < text.size()) context.drawText(text.c_str() + end + 1, first.movedBy(0, 10), 1, 1);
    }

    AM_Context& context;
    i32 columns;
    i32 number = 0;
};

void standard(AM_Context& c) {
    using Filter = AM_View_StandardFilter;
    Grid grid(c, 6);
    AM_Colour overlay("overlay", 0x3080ffb0);
    grid.show<Filter>({});
    grid.show<Filter>({{"alpha", "0.4"}});
    grid.show<Filter>({{"brightness", "0.3"}});
    grid.show<Filter>({{"contrast", "0.5"}});
    grid.show<Filter>({{"gamma", "0.5"}});
    grid.show<Filter>({{"noise", "0.3"}});
    grid.show<Filter>({{"gauss", "3"}});
    grid.show<Filter>({{"hue", "0.4"}});
    grid.show<Filter>({{"saturation", "-0.8"}});
    grid.show<Filter>({{"value", "-0.4"}});
    grid.show<Filter>({{"Colour BlendMode", "normal"}}, &overlay);
    grid.show<Filter>({{"Colour BlendMode", "colour"}}, &overlay);
}

void bump(AM_Context& c) {
    using Filter = AM_View_BumpFilter;
    Grid grid(c, 6);
    grid.show<Filter>({});
    grid.show<Filter>({{"highLight", "3"}});
    grid.show<Filter>({{"shade", "3"}});
    grid.show<Filter>({{"highLight", "0"}});
    grid.show<Filter>({{"shade", "0"}});
    grid.show<Filter>({{"highLight", "2"}, {"shade", "2"}});
}

void shadow(AM_Context& c) {
    using Filter = AM_View_Shadow;
    Grid grid(c, 6);
    AM_Colour light("light", 0xfff0c0ff);
    const Setting away{"inside", "NO"};
    const Setting down{"angle", "135"};
    grid.show<Filter>({});
    grid.show<Filter>({down});
    grid.show<Filter>({down, {"distance", "8"}});
    grid.show<Filter>({down, {"highLight", "0.8"}}, &light);
    grid.show<Filter>({down, {"alpha", "0.3"}});
    grid.show<Filter>({down, {"blur", "0.8"}});
    grid.show<Filter>({away, down});
    grid.show<Filter>({away, down, {"distance", "8"}});
    grid.show<Filter>({away, down, {"highLight", "0.6"}}, &light);
    grid.show<Filter>({away, down, {"blur", "0.8"}});
    grid.show<Filter>({away, down, {"blur", "0"}});
    grid.show<Filter>({away, down, {"ParentBounds", "NO"}});
    grid.show<Filter>({away, down, {"shade", "0.7"}});
    grid.show<Filter>({away, down, {"shade", "0.7"}, {"highLight", "0.5"}}, &light);
    grid.show<Filter>({away, down, {"shade", "1"}, {"depth", "0.15"}});
    grid.show<Filter>({away, down, {"shade", "1"}, {"depth", "1"}});
    grid.show<Filter>({away, down, {"shade", "1"}, {"softness", "0"}});
    grid.show<Filter>({away, down, {"shade", "1"}, {"softness", "0.8"}});
}

void noise(AM_Context& c) {
    using Filter = AM_View_PNoise;
    Grid grid(c, 6);
    AM_Colour clouds("clouds");
    clouds.addStop(0, 0x10204000);
    clouds.addStop(0.5f, 0x3068a0c0);
    clouds.addStop(1, 0xf0f4f8ff);
    grid.show<Filter>({});
    grid.show<Filter>({{"Octaves", "1"}});
    grid.show<Filter>({{"Octaves", "3"}}, &clouds);
    grid.show<Filter>({{"Alpha", "1.2"}}, &clouds);
    grid.show<Filter>({{"Beta", "3"}}, &clouds);
    grid.show<Filter>({{"zoomX", "3"}}, &clouds);
    grid.show<Filter>({{"zoomY", "0"}}, &clouds);
    grid.show<Filter>({{"zoomX", "0.3"}, {"zoomY", "12"}}, &clouds);
    grid.show<Filter>({{"zoomX", "100"}, {"zoomY", "100"}});
    grid.show<Filter>({{"Alpha", "0"}});
    grid.show<Filter>({{"Beta", "0"}});
    grid.show<Filter>({{"ParentBounds", "NO"}});
}
} // namespace

std::vector<Scene> filterScenes() {
    return {{"filters-standard", "the standard filter, property by property", 556, 224, standard},
            {"filters-bump", "the relief of the alpha", 556, 114, bump},
            {"filters-shadow", "shadows inside and outside, highlights and rims", 556, 334, shadow},
            {"filters-noise", "gradient noise", 556, 224, noise}};
}
