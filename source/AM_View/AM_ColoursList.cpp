#include "AM_ColoursList.h"

#include "AM_Format.h"
#include "AM_Log.h"
#include "AM_Text.h"
#include "AM_ViewText.h"

namespace {

struct BuiltIn {
    char name[12];
    u32 rgba;
};
constexpr BuiltIn k_builtIns[] = {
    {"black", 0x000000ff},       {"white", 0xffffffff},      {"grey", 0x7f7f7fff},
    {"red", 0xff0000ff},         {"green", 0x00ff00ff},      {"blue", 0x0000ffff},
    {"yellow", 0xffff00ff},      {"orange", 0xff8800ff},     {"trans white", 0xffffff80},
    {"trans black", 0x00000080}, {"trans red", 0xff000080},  {"trans green", 0x00ff0080},
    {"trans blue", 0x0000ff80},  {"trans grey", 0x7f7f7f80}, {"invisible", 0x00000000},
    {"grey20", 0x202020ff},      {"grey40", 0x404040ff},     {"grey60", 0x606060ff},
    {"greyA0", 0xa0a0a0ff},      {"greyC0", 0xc0c0c0ff}};
constexpr BuiltIn k_builtInsToEdit[] = {
    {"WireC1", 0xff8800ff},   {"WireC2", 0x8080ffff}, {"WireC3", 0xff0000ff},
    {"WireC4", 0xffff00ff},   {"WireC5", 0x60ff60ff}, {"WireC6", 0xafafafff},
    {"CC unset", 0x00ff003f}, {"CC set", 0x00ff005f}, {"CC select", 0x00ff00ff}};

AM_Colour* findChild(const AM_Tree& tree, const char* name) {
    for (AM_Tree* child = tree.getFirstChild(); child; child = child->getNext())
        if (AM_STD::Strcmp(child->getName(), name) == 0)
            if (auto* colour = dynamic_cast<AM_Colour*>(child)) return colour;
    return nullptr;
}

AM_Colour* addColour(AM_Tree& tree, const char* name, u32 rgba) {
    if (tree.getNumChildren() >= AM_ColoursList::k_maxColours) {
        AM_Log("Colour '%s' is one too many", name);
        return nullptr;
    }
    auto* const colour = new AM_Colour(name, rgba);
    tree.add(colour);
    return colour;
}

// A name as long as names can be is found again when it is given in full.
std::string cutName(const char* name) {
    char kept[AM_GuiObject::k_maxName];
    AM_STD::copyText(kept, name);
    return kept;
}

void writeColour(const AM_Colour& colour, const char* parent, std::string* script) {
    if (!AM_isScriptText(colour.getName())) {
        AM_Log("Colour '%s' is not written: a script can't hold its name", colour.getName());
        return;
    }
    char line[256];
    const u32 rgba = colour.getRgba().toWord();
    if (parent) {
        AM_STD::sprintv(line, sizeof line,
                        "\n\nCOL_ELEMENT name='%s' parent='%s' rgba='%x' location='%f'",
                        colour.getName(), parent, rgba, colour.getLocation());
    } else if (colour.getLocation() != 0) {
        AM_STD::sprintv(line, sizeof line, "\n\nCOLOUR name='%s' rgba='%x' location='%f'",
                        colour.getName(), rgba, colour.getLocation());
    } else {
        AM_STD::sprintv(line, sizeof line, "\n\nCOLOUR name='%s' rgba='%x'", colour.getName(),
                        rgba);
    }
    script->append(line);
}

} // namespace

void AM_ColoursList::addBuiltIns() {
    for (const BuiltIn& builtIn : k_builtIns)
        if (!findColour(builtIn.name))
            if (AM_Colour* const colour = addColour(*this, builtIn.name, builtIn.rgba))
                colour->setImmutable(true, false);
    setImmutable(true, false);
    for (const BuiltIn& builtIn : k_builtInsToEdit)
        if (!findColour(builtIn.name)) addColour(*this, builtIn.name, builtIn.rgba);
}

AM_Colour* AM_ColoursList::findColour(const char* colourName) const {
    return findChild(*this, colourName);
}

AM_Colour* AM_ColoursList::setColour(const char* colourName, u32 rgba) {
    const std::string kept = cutName(colourName);
    if (kept.empty() || rgba == 0) return nullptr;
    AM_Colour* const colour = findColour(kept.c_str());
    if (!colour) return addColour(*this, kept.c_str(), rgba);
    colour->setValue(rgba);
    return colour;
}

AM_Colour* AM_ColoursList::setElement(const char* elementName, const char* parentName, u32 rgba,
                                      f32 location) {
    AM_Colour* const parent = findColour(cutName(parentName).c_str());
    const std::string kept = cutName(elementName);
    if (!parent || kept.empty() || rgba == 0) return nullptr;
    AM_Colour* element = findChild(*parent, kept.c_str());
    if (element)
        element->setValue(rgba);
    else
        element = addColour(*parent, kept.c_str(), rgba);
    if (!element) return nullptr;
    element->setGradientElement(true);
    element->setLocation(location);
    return element;
}

void AM_ColoursList::write(std::string* script) const {
    if (!script) return;
    for (AM_Tree* child = getFirstChild(); child; child = child->getNext()) {
        auto* const colour = dynamic_cast<AM_Colour*>(child);
        if (!colour || colour->isImmutable()) continue;
        writeColour(*colour, nullptr, script);
        for (AM_Tree* stop = colour->getFirstChild(); stop; stop = stop->getNext())
            if (const auto* element = dynamic_cast<AM_Colour*>(stop))
                writeColour(*element, colour->getName(), script);
    }
}
