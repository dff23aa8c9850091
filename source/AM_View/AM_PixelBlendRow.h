// The plain blend of rows of straight RGBA bytes. Private to AM_PixelBlend and its tests.
#pragma once

#include "AM_Types.h"

// As AM_PixelOps::blendRow in the normal mode, with `alpha` 1 to 255.
void AM_blendNormalRow(u8* target, const u8* source, i32 count, u32 alpha, const u8* cover);

// Eight and more pixels at a time, from pixel `begin` on: copies what is opaque, leaves out what is
// transparent, and blends the rest where the backdrop is opaque. Returns the first pixel that it
// leaves: of less than eight, or of eight that it can't do. All make the same bytes.
using AM_OverBlocks = i32 (*)(u8* target, const u8* source, i32 begin, i32 count);
i32 AM_overBlocksSse(u8* target, const u8* source, i32 begin, i32 count);
// For machines with AVX2 only.
i32 AM_overBlocksAvx(u8* target, const u8* source, i32 begin, i32 count);
// The fastest of this machine.
AM_OverBlocks AM_overBlocks();
