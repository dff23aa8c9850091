#include "AM_Shapes.h"

#include "AM_CaptionRect.h"
#include "AM_LolliRect.h"
#include "AM_RoundRect.h"
#include "AM_ShapeCirc.h"
#include "AM_ShapeRotateTri.h"
#include "AM_ShapeStar.h"
#include "AM_ShapeTickRing.h"
#include "AM_Text.h"

const char* const AM_shapeTypes[] = {"circ",           "rotate tri", "rounded rect", "lolli rect",
                                     "captioned rect", "star shape", "tick ring",    nullptr};

namespace {

using Maker = std::unique_ptr<AM_Graphic> (*)();
template <class Shape>
std::unique_ptr<AM_Graphic> make() {
    return std::make_unique<Shape>();
}
constexpr Maker k_makers[] = {make<AM_ShapeCirc>,    make<AM_ShapeRotateTri>, make<AM_RoundRect>,
                              make<AM_LolliRect>,    make<AM_CaptionRect>,    make<AM_ShapeStar>,
                              make<AM_ShapeTickRing>};

} // namespace

std::unique_ptr<AM_Graphic> AM_createShape(const char* type) {
    for (size_t i = 0; AM_shapeTypes[i]; ++i)
        if (AM_STD::Strcmp(AM_shapeTypes[i], type) == 0) return k_makers[i]();
    return nullptr;
}
