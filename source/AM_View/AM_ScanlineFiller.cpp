#include "AM_ScanlineFiller.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>

namespace {
constexpr f64 k_limit = 1e6;
constexpr i32 k_sub = 256;         // steps of a pixel
constexpr i32 k_smallestBand = 16; // of a pixel's 256, below which lines that cross don't matter
constexpr size_t k_manyLines = 512;

i32 toSub(f64 value) {
    if (!(std::abs(value) <= k_limit)) value = value > 0 ? k_limit : value < 0 ? -k_limit : 0;
    return static_cast<i32>(std::lround(value * k_sub));
}
i32 floorPixel(i32 sub) {
    return sub >= 0 ? sub / k_sub : -((-sub + k_sub - 1) / k_sub);
}

// The first place from `x` on where something is not 0, else `end`.
i32 skipZeros(const f32* values, i32 x, i32 end) {
    for (; x + 8 <= end; x += 8) {
        u64 words[4];
        std::memcpy(words, values + x, sizeof words);
        if ((words[0] | words[1] | words[2] | words[3]) != 0) break;
    }
    while (x < end && values[x] == 0)
        ++x;
    return x;
}
} // namespace

void AM_ScanlineFiller::begin() {
    lines.clear();
    findings = {};
}

void AM_ScanlineFiller::addLine(AM_DevicePoint from, AM_DevicePoint to) {
    if (lines.size() >= k_maxLines) return;
    const Line line{toSub(from.x), toSub(from.y), toSub(to.x), toSub(to.y)};
    if (line.x0 != line.x1 || line.y0 != line.y1) lines.push_back(line);
}

void AM_ScanlineFiller::addPolygon(const AM_DevicePoint* points, size_t count) {
    for (size_t i = 0; i < count; ++i)
        addLine(points[i], points[i + 1 < count ? i + 1 : 0]);
}

AM_ScanlineFiller::Bounds AM_ScanlineFiller::getBounds() const {
    if (lines.empty()) return {};
    i32 l = lines[0].x0, t = lines[0].y0, r = l, b = t;
    for (const Line& line : lines) {
        l = std::min({l, line.x0, line.x1});
        t = std::min({t, line.y0, line.y1});
        r = std::max({r, line.x0, line.x1});
        b = std::max({b, line.y0, line.y1});
    }
    return {f64(l) / k_sub, f64(t) / k_sub, f64(r) / k_sub, f64(b) / k_sub};
}

// A line and the same line back: nothing lies between them, but each is an edge of anti-aliasing.
bool AM_ScanlineFiller::removeBridges() {
    const auto ends = [](const Line& l) {
        const bool swap = std::tie(l.y1, l.x1) < std::tie(l.y0, l.x0);
        return swap ? std::tuple(l.y1, l.x1, l.y0, l.x0) : std::tuple(l.y0, l.x0, l.y1, l.x1);
    };
    std::sort(lines.begin(), lines.end(),
              [&](const Line& a, const Line& b) { return ends(a) < ends(b); });
    size_t kept = 0;
    for (const Line& line : lines) {
        // Of the same way twice nothing is left either: what lies behind is outside again.
        if (kept > 0 && ends(lines[kept - 1]) == ends(line))
            --kept;
        else
            lines[kept++] = line;
    }
    const bool found = kept < lines.size();
    lines.resize(kept);
    return found;
}

void AM_ScanlineFiller::addEdge(f64 x0, f64 y0, f64 x1, f64 y1) {
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const i32 top = static_cast<i32>(std::lround(y0));
    const i32 bottom = static_cast<i32>(std::lround(y1));
    if (top >= bottom) return;
    edges.push_back({top, bottom, x0 / k_sub, (x1 - x0) / k_sub / (bottom - top)});
}

// What lies beside the clip runs along its side, so that pairs stay pairs.
void AM_ScanlineFiller::addClipped(f64 x0, f64 y0, f64 x1, f64 y1, const AM_PixelRect& clip) {
    const f64 left = f64(clip.left) * k_sub;
    const f64 right = f64(clip.right) * k_sub;
    f64 cuts[4] = {0, 1, 1, 1};
    i32 count = 1;
    for (const f64 side : {left, right})
        if ((x0 < side) != (x1 < side)) cuts[count++] = (side - x0) / (x1 - x0);
    if (count == 3 && cuts[1] > cuts[2]) std::swap(cuts[1], cuts[2]);
    cuts[count] = 1;
    for (i32 i = 0; i < count; ++i) {
        const auto at = [&](f64 t) {
            return std::pair(std::clamp(x0 + (x1 - x0) * t, left, right),
                             t >= 1 ? y1 : std::round(y0 + (y1 - y0) * t));
        };
        const auto [xa, ya] = at(cuts[i]);
        const auto [xb, yb] = at(cuts[i + 1]);
        addEdge(xa, ya, xb, yb);
    }
}

void AM_ScanlineFiller::makeEdges(const AM_PixelRect& clip) {
    edges.clear();
    const f64 top = f64(clip.top) * k_sub;
    const f64 bottom = f64(clip.bottom) * k_sub;
    for (const Line& line : lines) {
        if (line.y0 == line.y1) continue;
        f64 x0 = line.x0, y0 = line.y0, x1 = line.x1, y1 = line.y1;
        const f64 slope = (x1 - x0) / (y1 - y0);
        if (std::max(y0, y1) <= top || std::min(y0, y1) >= bottom) continue;
        const f64 ya = std::clamp(y0, top, bottom);
        const f64 yb = std::clamp(y1, top, bottom);
        if (ya != y0) x0 += slope * (ya - y0);
        if (yb != y1) x1 += slope * (yb - y1);
        addClipped(x0, ya, x1, yb, clip);
    }
    std::sort(edges.begin(), edges.end(),
              [](const Edge& a, const Edge& b) { return a.top < b.top; });
}

// A crossing turns everything right of it on or off: the coverage changes by the area of the first
// pixel that it passes, and so on until the whole height is there.
void AM_ScanlineFiller::addCrossing(const Crossing& crossing, f32 height, f32 sign, i32 left) {
    const f64 a = std::min(crossing.top, crossing.bottom) - left;
    const f64 b = std::max(crossing.top, crossing.bottom) - left;
    const i32 last = static_cast<i32>(changes.size()) - 2;
    const i32 first = std::clamp(static_cast<i32>(a), 0, last);
    const i32 end = std::clamp(static_cast<i32>(std::ceil(b)) - 1, first, last);
    firstChange = std::min(firstChange, first);
    lastChange = std::max(lastChange, end + 1);
    const f32 full = sign * height;
    if (end == first) {
        const f32 inside = static_cast<f32>(std::clamp(first + 1 - (a + b) / 2, 0.0, 1.0));
        changes[first] += full * inside;
        changes[first + 1] += full * (1 - inside);
        return;
    }
    // The area left of x, of a ramp from 0 at a to 1 at b, is a parabola: its differences twice.
    const f64 perPixel = 1 / (b - a);
    f32 before = 0;
    for (i32 i = first; i <= end; ++i) {
        const f64 from = std::max(f64(i), a);
        const f64 to = std::min(f64(i + 1), b);
        const f64 middle = ((from + to) / 2 - a) * perPixel;
        const f64 area = middle * (to - from) + (i + 1 - to);
        const f32 cover = static_cast<f32>(area);
        changes[i] += full * (cover - before);
        before = cover;
    }
    changes[end + 1] += full * (1 - before);
}

// The crossings of the active lines in x order; false if some change places within the band.
bool AM_ScanlineFiller::collectCrossings(i32 from, i32 to) {
    crossings.clear();
    for (const u32 index : active) {
        const Edge& edge = edges[index];
        // Its middle decides, so that a polygon crosses it an even number of times.
        if (edge.top * 2 <= from + to && edge.bottom * 2 > from + to)
            crossings.push_back(
                {edge.at(std::max(from, edge.top)), edge.at(std::min(to, edge.bottom))});
    }
    std::sort(crossings.begin(), crossings.end(), [](const Crossing& a, const Crossing& b) {
        return a.top + a.bottom < b.top + b.bottom;
    });
    constexpr f64 slack = 1.0 / 64;
    for (size_t i = 1; i < crossings.size(); ++i)
        if (crossings[i - 1].top > crossings[i].top + slack ||
            crossings[i - 1].bottom > crossings[i].bottom + slack)
            return false;
    return true;
}

void AM_ScanlineFiller::fillBand(i32 from, i32 to, i32 left) {
    const bool ordered = collectCrossings(from, to);
    if (!ordered && to - from > k_smallestBand && active.size() <= k_manyLines) {
        const i32 middle = (from + to) / 2;
        fillBand(from, middle, left);
        fillBand(middle, to, left);
        return;
    }
    if (crossings.size() % 2 != 0) {
        findings.uneven = true;
        crossings.pop_back();
    }
    const f32 height = static_cast<f32>(to - from) / k_sub;
    for (size_t i = 0; i < crossings.size(); ++i)
        addCrossing(crossings[i], height, i % 2 == 0 ? 1.f : -1.f, left);
}

// A row is cut where lines begin or end, so that a band has the same ones from top to bottom.
void AM_ScanlineFiller::fillRow(i32 y, i32 left) {
    const i32 from = y * k_sub;
    const i32 to = from + k_sub;
    // Very many lines in a row are not worth more than quarters of it.
    const i32 grid = active.size() > k_manyLines ? k_sub / 4 : 1;
    events.assign({from, to});
    for (const u32 index : active) {
        for (const i32 end : {edges[index].top, edges[index].bottom}) {
            const i32 event = end / grid * grid;
            if (event > from && event < to) events.push_back(event);
        }
    }
    std::sort(events.begin(), events.end());
    events.erase(std::unique(events.begin(), events.end()), events.end());
    for (size_t i = 1; i < events.size(); ++i)
        fillBand(events[i - 1], events[i], left);
}

void AM_ScanlineFiller::emitRow(i32 y, const AM_PixelRect& clip, AM_ISpanSink& sink) {
    f32 sum = 0;
    const i32 end = std::min(lastChange + 1, clip.right - clip.left);
    for (i32 x = firstChange; x < end;) {
        sum += changes[x];
        const u8 cover = static_cast<u8>(std::clamp(sum * 255 + 0.5f, 0.f, 255.f));
        // Inside, nothing changes for long.
        const i32 start = x++;
        x = skipZeros(changes.data(), x, end);
        std::memset(covers.data() + start, cover, static_cast<size_t>(x - start));
    }
    std::fill(changes.begin() + firstChange, changes.begin() + lastChange + 1, 0.f);
    const u8* first = covers.data() + firstChange;
    const u8* const last = covers.data() + end;
    while (first < last) {
        first = std::find_if(first, last, [](u8 cover) { return cover != 0; });
        if (first == last) return;
        const auto* stop =
            static_cast<const u8*>(std::memchr(first, 0, static_cast<size_t>(last - first)));
        if (!stop) stop = last;
        sink.span(clip.left + static_cast<i32>(first - covers.data()), y,
                  static_cast<i32>(stop - first), first);
        first = stop;
    }
}

AM_ScanlineFiller::Findings AM_ScanlineFiller::fill(const AM_PixelRect& clip, AM_ISpanSink& sink) {
    if (clip.isEmpty() || lines.empty()) return findings;
    findings.bridges = removeBridges();
    makeEdges(clip);
    if (edges.empty()) return findings;
    const size_t width = static_cast<size_t>(clip.right - clip.left);
    changes.assign(width + 2, 0.f);
    covers.resize(width + 2);
    active.clear();
    size_t next = 0;
    i32 y = floorPixel(edges[0].top);
    while (y < clip.bottom && (next < edges.size() || !active.empty())) {
        const i32 rowEnd = (y + 1) * k_sub;
        std::erase_if(active, [&](u32 i) { return edges[i].bottom <= y * k_sub; });
        for (; next < edges.size() && edges[next].top < rowEnd; ++next)
            active.push_back(static_cast<u32>(next));
        if (!active.empty()) {
            firstChange = static_cast<i32>(width);
            lastChange = -1;
            fillRow(y, clip.left);
            if (lastChange >= 0) emitRow(y, clip, sink);
        }
        ++y;
    }
    return findings;
}
