// The outlines that shapes are made of. Points in view units, angles in degrees from up, clockwise.
#pragma once

#include "AM_Context.h"

using AM_Outline = std::vector<AM_Point>;

namespace AM_ShapeOutline {

AM_Point onCircle(AM_Point centre, f32 radius, f32 angle);
// Points of an arc from `start` to `end`, both included, in either direction; the chords are off by
// at most `tolerance`.
void addArc(AM_Outline* outline, AM_Point centre, f32 radius, f32 start, f32 end, f32 tolerance);
// Points of a quadratic curve, without the one at `from`.
void addCurve(AM_Outline* outline, AM_Point from, AM_Point control, AM_Point to, f32 tolerance);

// A sector of a ring, from `start` clockwise over `arc` degrees; 359.6 and more, of either sign,
// are a full ring, and an inner radius of 0 leaves no hole. Empty if nothing is to be seen.
AM_Path ring(AM_Point centre, f32 inner, f32 outer, f32 start, f32 arc, f32 tolerance);
// A rectangle with round corners; the radius is held at what fits.
AM_Outline roundRect(const AM_Rect& rect, f32 radius, f32 tolerance);
// What of an outline that bows outwards everywhere lies above `y`.
AM_Outline above(const AM_Outline& outline, f32 y);
// What lies between two outlines, the second inside of the first.
AM_Path between(AM_Outline outer, AM_Outline inner);

} // namespace AM_ShapeOutline
