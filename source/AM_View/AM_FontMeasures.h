// A font's measures as it was drawn. Those that Anti-Grain gives are rounded for each size, and in
// a long text the rounding adds up.
#pragma once

#include "AM_TextEngine.h"

#include <memory>
#include <optional>

// All are shares of the em.
class AM_FontMeasures {
public:
    // Without a font that can be read and scaled there are none.
    explicit AM_FontMeasures(const std::string& file);
    ~AM_FontMeasures();

    AM_TextEngine::Metric getMetric() const { return metric; }
    // How far the pen goes by a glyph of the font.
    std::optional<f64> getAdvance(u32 glyph) const;
    // How much further it goes between two; 0 if the font says nothing.
    f64 getKerning(u32 before, u32 glyph) const;

private:
    struct Face;
    std::unique_ptr<Face> face;
    AM_TextEngine::Metric metric;
};
