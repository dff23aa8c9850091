#include "AM_FontMeasures.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_ADVANCES_H

#include <algorithm>

namespace {
f64 held(FT_Pos units, f64 em) {
    return std::clamp(static_cast<f64>(units) / em, -4.0, 4.0);
}
} // namespace

struct AM_FontMeasures::Face {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ~Face() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }
    f64 em() const { return face->units_per_EM; }
};

AM_FontMeasures::AM_FontMeasures(const std::string& file) {
    auto opened = std::make_unique<Face>();
    if (FT_Init_FreeType(&opened->library) != 0) return;
    if (FT_New_Face(opened->library, file.c_str(), 0, &opened->face) != 0) return;
    if (!FT_IS_SCALABLE(opened->face) || opened->face->units_per_EM < 1) return;
    face = std::move(opened);
    metric.ascent = std::max(held(face->face->ascender, face->em()), 0.0);
    metric.descent = std::max(held(-face->face->descender, face->em()), 0.0);
    metric.height = metric.ascent + metric.descent;
}

AM_FontMeasures::~AM_FontMeasures() = default;

std::optional<f64> AM_FontMeasures::getAdvance(u32 glyph) const {
    FT_Fixed units = 0;
    if (!face || FT_Get_Advance(face->face, glyph, FT_LOAD_NO_SCALE, &units) != 0) return {};
    return held(units, face->em());
}

f64 AM_FontMeasures::getKerning(u32 before, u32 glyph) const {
    FT_Vector units{};
    if (!face || FT_Get_Kerning(face->face, before, glyph, FT_KERNING_UNSCALED, &units) != 0)
        return 0;
    return held(units.x, face->em());
}
