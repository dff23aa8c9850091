// Colours and sizes of the plots, as 0xRRGGBBAA and view units.
#pragma once

#include "AM_Types.h"

namespace PlotStyle {
inline constexpr u32 k_ground = 0x11171cff; // the sheet
inline constexpr u32 k_panel = 0x0b1014ff;  // behind curves
inline constexpr u32 k_grid = 0x1d262eff;
inline constexpr u32 k_gridOverColours = 0xffffff1c;
inline constexpr u32 k_tickText = 0x8796a2ff;
inline constexpr u32 k_remark = 0x66747fff;
inline constexpr u32 k_heading = 0xc3ced6ff;
inline constexpr u32 k_title = 0xf2f6f8ff;
inline constexpr u32 k_curve = 0x63d2c1ff;
inline constexpr u32 k_wavePeak = 0x2b7c7bff;
inline constexpr u32 k_waveRms = 0x7de3d0ff;
inline constexpr u32 k_accent = 0xf5b65dff; // what was fitted, and the line of reference

inline constexpr f32 k_tickSize = 11.5f;
inline constexpr f32 k_headingSize = 13;
inline constexpr f32 k_titleSize = 25;
} // namespace PlotStyle
