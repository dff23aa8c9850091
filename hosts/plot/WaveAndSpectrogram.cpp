// The panels over the whole sound's time.
#include "AM_Colour.h"
#include "ColourMap.h"
#include "Envelope.h"
#include "PlotStyle.h"
#include "SoundPanels.h"
#include "Spectrogram.h"

#include <algorithm>
#include <cmath>

using namespace PlotStyle;

namespace {
constexpr f32 k_channelGap = 2;
constexpr f64 k_leastTick = 1e-5; // of a waveform, that a label has room for
constexpr f64 k_mostTick = 1e5;
constexpr f64 k_levelRange = 90; // dB of the spectrogram's colours
constexpr f32 k_scaleWidth = 180;
constexpr f32 k_scaleHeight = 8;

// The area of a channel between its lowest and highest, or around 0 by its mean.
void fillEnvelope(AM_Context& context, const std::vector<EnvelopeColumn>& columns,
                  const PlotPanel& panel, const PlotAxis& axis, bool rms) {
    const AM_Rect area = panel.getArea();
    const f32 width = area.width / static_cast<f32>(columns.size());
    // Not thinner than a line, so that silence shows.
    const f32 least = rms ? 0 : 0.5f;
    std::vector<AM_Point> points(2 * columns.size());
    for (size_t i = 0; i < columns.size(); ++i) {
        const EnvelopeColumn& column = columns[i];
        const f32 x = area.left + (static_cast<f32>(i) + 0.5f) * width;
        const f32 high = axis.place(rms ? column.rms : column.high);
        const f32 low = axis.place(rms ? -column.rms : column.low);
        points[i] = {x, high - least};
        points[points.size() - 1 - i] = {x, low + least};
    }
    context.fillPolygon(points.data(), static_cast<i32>(points.size()));
}

void drawChannel(const SoundPicture& picture, const PlotPanel& panel, size_t channel, f64 limit,
                 const std::string& label) {
    AM_Context& context = picture.context;
    const AM_Rect area = panel.getArea();
    const PlotAxis axis = panel.vertical(-limit, limit);
    const SoundView& sound = picture.shown;
    const i32 count = static_cast<i32>(area.width * context.getScale());
    const std::vector<EnvelopeColumn> columns =
        findEnvelope(sound.channels[channel].first(sound.frames()), count);
    // A round value between 0.3 and 0.75 of the limit, whose label is clear of its neighbours.
    const RoundSteps steps = findRoundSteps(0, 0.3 * limit, 1);
    std::vector<PlotTick> ticks = {{0, "0"}};
    if (steps.step >= k_leastTick && steps.step <= k_mostTick)
        for (const f64 value : {-steps.step, steps.step})
            ticks.push_back({value, numberText(value, steps.decimals)});
    panel.fillGround();
    panel.drawVerticalGrid(panel.horizontal(0, sound.seconds()), picture.timeTicks, k_grid);
    panel.drawHorizontalGrid(axis, ticks, k_grid);
    context.setRGBA(k_wavePeak);
    fillEnvelope(context, columns, panel, axis, false);
    context.setRGBA(k_waveRms);
    fillEnvelope(context, columns, panel, axis, true);
    panel.drawLabelsLeft(axis, ticks);
    panel.drawText(label, {area.left - 64, area.top, 16, area.height}, k_tickSize, k_remark,
                   k_alignStart, k_alignCentre);
}

// One column and row for a pixel, as long as there may be so many.
SpectrogramShape chooseShape(const SoundView& sound, f32 width, f32 height) {
    SpectrogramShape shape;
    shape.columns = static_cast<i32>(std::min(width, 8192.f));
    shape.rows = static_cast<i32>(std::min(height, 4096.f));
    if (sound.frames() == 0) return shape;
    shape.highest = std::clamp(sound.rate / 2, 100.0, 20000.0);
    // Short sounds want sharp times, long ones sharp frequencies.
    const f64 window = std::clamp(sound.seconds() / 80, 0.02, 0.085) * sound.rate;
    shape.window = 1 << static_cast<i32>(std::clamp(std::log2(window) + 0.5, 4.0, 16.0));
    return shape;
}

void drawLevels(AM_Context& context, const Spectrogram& levels, const AM_Rect& area, f64 top) {
    std::vector<u8> pixels(levels.level.size() * 4, 255);
    for (i32 y = 0; y < levels.rows; ++y)
        for (i32 x = 0; x < levels.columns; ++x) {
            const f64 share = 1 + (levels.at(x, levels.rows - 1 - y) - top) / k_levelRange;
            const auto& colour = getLevelColour(share);
            std::copy(colour.begin(), colour.end(),
                      pixels.begin() + 4 * (static_cast<i64>(y) * levels.columns + x));
        }
    AM_ImagePlacement placement;
    placement.target = area;
    context.drawImage({pixels.data(), levels.columns, levels.rows, 4 * levels.columns}, placement);
}

// The scale of the colours, right above the area.
void drawScale(const SoundPicture& picture, const PlotPanel& panel, f64 top) {
    AM_Context& context = picture.context;
    const AM_Rect area = panel.getArea();
    const std::string high = numberText(top, 0) + " dB";
    context.setFontSize(k_tickSize);
    const f32 labelWidth = std::ceil(context.getTextWidth(high.c_str())) + 1;
    const AM_Rect scale{area.right() - labelWidth - 8 - k_scaleWidth, area.top - 20, k_scaleWidth,
                        k_scaleHeight};
    context.setRGBA(k_remark);
    context.strokeRect({scale.left - 0.5f, scale.top - 0.5f, scale.width + 1, scale.height + 1}, 1);
    Spectrogram ramp{static_cast<i32>(k_numLevelColours), 1, {}};
    for (size_t i = 0; i < k_numLevelColours; ++i)
        ramp.level.push_back(
            static_cast<f32>(static_cast<f64>(i) / (k_numLevelColours - 1) * k_levelRange));
    drawLevels(context, ramp, scale, k_levelRange);
    const AM_Rect line{scale.left - 70, scale.top + scale.height / 2 - 9, 62, 18};
    panel.drawText(numberText(top - k_levelRange, 0) + " dB", line, k_tickSize, k_tickText,
                   k_alignEnd, k_alignCentre);
    panel.drawText(high, {scale.right() + 8, line.top, labelWidth, 18}, k_tickSize, k_tickText,
                   k_alignStart, k_alignCentre);
}
} // namespace

void drawWaveform(const SoundPicture& picture, const AM_Rect& area) {
    const SoundView& sound = picture.shown;
    const size_t shown = std::min<size_t>(sound.channels.size(), 2);
    f64 limit = 0;
    for (size_t channel = 0; channel < shown; ++channel)
        for (const EnvelopeColumn& column :
             findEnvelope(sound.channels[channel].first(sound.frames()), 1))
            limit = std::max({limit, std::fabs(f64(column.low)), std::fabs(f64(column.high))});
    PlotPanel(picture.context, area).drawHeading("Waveform", "peak and RMS");
    const char* const labels[2] = {shown == 2 ? "L" : "", "R"};
    const f32 height = (area.height + k_channelGap) / static_cast<f32>(std::max<size_t>(shown, 1));
    for (size_t channel = 0; channel < shown; ++channel) {
        const AM_Rect part{area.left, area.top + static_cast<f32>(channel) * height, area.width,
                           height - k_channelGap};
        drawChannel(picture, PlotPanel(picture.context, part), channel,
                    limit > 0 ? limit * 1.05 : 1, labels[channel]);
    }
}

void drawSpectrogram(const SoundPicture& picture, const AM_Rect& area) {
    const PlotPanel panel(picture.context, area);
    const SoundView& sound = picture.shown;
    const f32 scale = picture.context.getScale();
    const SpectrogramShape shape = chooseShape(sound, area.width * scale, area.height * scale);
    const Spectrogram levels = findSpectrogram(sound, shape);
    const f64 highest = *std::max_element(levels.level.begin(), levels.level.end());
    const f64 top = highest > k_silentLevel ? 5 * std::ceil(highest / 5) : 0;
    drawLevels(picture.context, levels, area, top);
    const PlotAxis time = panel.horizontal(0, sound.seconds());
    const PlotAxis frequency = panel.vertical(shape.lowest, shape.highest, true);
    std::vector<PlotTick> decades = findDecadeTicks(shape.lowest, shape.highest,
                                                    [](f64 hertz) { return frequencyText(hertz); });
    std::erase_if(decades, [](const PlotTick& tick) { return tick.label.empty(); });
    panel.drawHorizontalGrid(frequency, decades, k_gridOverColours);
    panel.drawVerticalGrid(time, picture.timeTicks, k_gridOverColours);
    panel.drawLabelsLeft(frequency, decades);
    panel.drawLabelsBelow(time, picture.timeTicks);
    panel.drawHeading("Spectrogram", "a sine of full scale is 0 dB");
    drawScale(picture, panel, top);
}
