#include "AM_GraphicsList.h"

#include "AM_AGG_Graphic.h"
#include "AM_CompositeGraphic.h"
#include "AM_Format.h"
#include "AM_ImageLoader.h"
#include "AM_ImageScan.h"
#include "AM_Log.h"
#include "AM_MultiFrameGraphic.h"
#include "AM_Shapes.h"
#include "AM_Text.h"

#include <memory>

const char AM_gammaLabels[k_numGammas][32] = {"brighter", "bright", "neutral", "dark", "darker"};

f32 AM_screenGammaOf(i32 index) {
    // A picture is made the brighter the darker the screen is said to be.
    constexpr f32 gammas[k_numGammas] = {2.6f, 2.4f, k_neutralScreenGamma, 2.0f, 1.8f};
    return index >= 0 && index < k_numGammas ? gammas[index] : k_neutralScreenGamma;
}

namespace {

// Calls `visit` with every bitmap of the list, frames included.
template <class Visit>
void forEachPng(const AM_Tree& tree, const Visit& visit) {
    for (AM_Tree* child = tree.getFirstChild(); child; child = child->getNext()) {
        if (auto* png = dynamic_cast<AM_PngGraphic*>(child))
            visit(png);
        else if (auto* strip = dynamic_cast<AM_MultiFrameGraphic*>(child))
            forEachPng(*strip, visit);
    }
}

std::unique_ptr<AM_Graphic> createGraphic(const char* type) {
    if (AM_STD::Strcmp(type, "comp") == 0) return std::make_unique<AM_CompositeGraphic>();
    return AM_createShape(type);
}

} // namespace

bool AM_GraphicsList::addGraphic(AM_Graphic* graphic) {
    std::unique_ptr<AM_Graphic> owned(graphic);
    if (!graphic) return false;
    if (isFull()) {
        AM_Log("Graphic '%s' is one too many", graphic->getName());
        return false;
    }
    const char* const pattern = graphic->getDefaultName();
    for (i32 number = 1; !*graphic->getName() && *pattern; ++number) {
        char free[k_maxName];
        AM_STD::sprintv(free, sizeof free, pattern, number);
        if (!findGraphic(free, graphic->getThemeIndex())) graphic->setName(free);
    }
    graphic->setViewMan(viewMan);
    add(owned.release());
    return true;
}

AM_Graphic* AM_GraphicsList::findGraphic(const char* graphicName, i32 theme) const {
    for (AM_Tree* child = getFirstChild(); child; child = child->getNext())
        if (AM_STD::Strcmp(child->getName(), graphicName) == 0)
            if (auto* graphic = dynamic_cast<AM_Graphic*>(child);
                graphic && graphic->getThemeIndex() == theme)
                return graphic;
    return nullptr;
}

AM_Graphic* AM_GraphicsList::findGraphic(const char* graphicName) const {
    AM_Graphic* const themed = findGraphic(graphicName, themeIndex);
    return themed || themeIndex == 0 ? themed : findGraphic(graphicName, 0);
}

AM_Graphic* AM_GraphicsList::makeGraphic(const char* graphicName, i32 path, const char* type) {
    char kept[k_maxName]; // as the graphic will be called
    AM_STD::copyText(kept, graphicName);
    if (AM_Graphic* const known = kept[0] ? findGraphic(kept) : nullptr) return known;
    std::unique_ptr<AM_Graphic> made = createGraphic(type);
    if (!made) return nullptr;
    made->setName(kept);
    made->setThemeIndex(path);
    AM_Graphic* const graphic = made.get();
    return addGraphic(made.release()) ? graphic : nullptr;
}

i32 AM_GraphicsList::scanImages(const char* folder, i32 theme) {
    AM_ImageScan scan(this, theme);
    const std::string text = folder ? folder : "";
    scan.walk(std::filesystem::path(std::u8string(text.begin(), text.end())), 0, false);
    return scan.getCount();
}

AM_PngGraphic* AM_GraphicsList::createPng(const std::string& file, const char* graphicName,
                                          i32 theme) const {
    auto graphic = std::make_unique<AM_AGG_Graphic>();
    graphic->setName(graphicName);
    graphic->setThemeIndex(theme);
    graphic->setScreenGamma(screenGamma);
    return graphic->setFile(file.c_str()) ? graphic.release() : nullptr;
}

bool AM_GraphicsList::addScanned(AM_Graphic* graphic) {
    // A folder may be scanned again, and a name may stand in two folders: the first one stays.
    if (!findGraphic(graphic->getName(), graphic->getThemeIndex())) return addGraphic(graphic);
    delete graphic;
    return false;
}

void AM_GraphicsList::setScreenGamma(f32 gamma) {
    if (gamma != gamma) return;
    screenGamma = gamma;
    forEachPng(*this, [gamma](AM_PngGraphic* png) { png->setScreenGamma(gamma); });
}

void AM_GraphicsList::queueImages(AM_ImageLoader* loader) {
    forEachPng(*this, [loader](AM_PngGraphic* png) {
        if (!png->isLoaded()) loader->add(png->getFile(), png->getScreenGamma());
    });
}

i32 AM_GraphicsList::adoptImages(AM_ImageLoader* loader) {
    const AM_ImageLoader::Results results = loader->takeResults();
    if (results.empty()) return 0;
    i32 count = 0;
    forEachPng(*this, [&](AM_PngGraphic* png) {
        if (png->isLoaded()) return;
        const auto found = results.find({png->getFile(), png->getScreenGamma()});
        if (found == results.end()) return;
        png->adopt(found->second);
        count += found->second ? 1 : 0;
    });
    return count;
}

void AM_GraphicsList::write(std::string* script) const {
    for (AM_Tree* child = getFirstChild(); child; child = child->getNext())
        if (auto* graphic = dynamic_cast<AM_Graphic*>(child)) graphic->write(script);
}
