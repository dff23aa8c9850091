// Points and rectangles of the editor, in view units: the origin is at the top left, y grows
// downward. Angles are in degrees from up, clockwise.
#pragma once

#include "AM_Types.h"

#include <algorithm>

struct AM_Point {
    f32 x = 0;
    f32 y = 0;
};

struct AM_Rect {
    f32 left = 0;
    f32 top = 0;
    f32 width = 0;
    f32 height = 0;

    f32 right() const { return left + width; }
    f32 bottom() const { return top + height; }
    // True without an area, and for anything that is not a number.
    bool isEmpty() const { return !(width > 0 && height > 0); }
    bool contains(AM_Point p) const {
        return p.x >= left && p.y >= top && p.x < right() && p.y < bottom();
    }
    // What both cover; empty if that is nothing.
    AM_Rect intersect(const AM_Rect& other) const {
        const f32 l = std::max(left, other.left);
        const f32 t = std::max(top, other.top);
        const f32 r = std::min(right(), other.right());
        const f32 b = std::min(bottom(), other.bottom());
        return r > l && b > t ? AM_Rect{l, t, r - l, b - t} : AM_Rect{l, t, 0, 0};
    }
    bool intersects(const AM_Rect& other) const { return !intersect(other).isEmpty(); }
    AM_Rect movedBy(f32 x, f32 y) const { return {left + x, top + y, width, height}; }
};
