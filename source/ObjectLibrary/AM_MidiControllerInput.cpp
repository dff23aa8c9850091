#include "AM_MidiControllerInput.h"

#include "AM_AudioManager.h"
#include "AM_ParaMan.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr f32 k_perPosition = 0.007874016f;    // 1 / 127
constexpr f32 k_perPosition14 = 6.200397e-05f; // 1 / (126 * 128)
constexpr i32 k_firstLowHalf = 32;
constexpr i32 k_lastLowHalf = 63;

i32 encoderSteps(i32 type, i32 value) {
    if (type == k_midiEncoder127) return value >= 64 ? value - 128 : value;
    return value - 64;
}

// Encoder steps for one unit of a parameter, 1 to 128.
f32 stepsForUnit(const AM_ControllerTarget& target) {
    const f32 steps = std::trunc(128.0f / (target.maximum - target.minimum));
    return std::clamp(steps, 1.0f, 128.0f);
}

f32 movedByEncoder(const AM_ControllerTarget& target, i32 mode, i32 delta, i32* remainder) {
    const f32 steps = static_cast<f32>(delta);
    if (mode == k_midiOctaves) return target.current + steps * 12.0f;
    i32 forUnit = static_cast<i32>(stepsForUnit(target));
    if (!target.whole) {
        if (mode == k_midiFine) return target.current + steps * 0.01f;
        if (mode == k_midiSemitone) return target.current + steps * 0.1f;
        // A whole unit at once could be the whole range.
        if (mode == k_midiNormal) return target.current + steps / static_cast<f32>(forUnit);
    }
    if (mode == k_midiFine) forUnit = 100;
    if (mode == k_midiSemitone) forUnit = 10;
    const i32 sum = *remainder + delta;
    *remainder = sum % forUnit;
    return target.current + static_cast<f32>(sum / forUnit);
}

f32 movedToPosition(const AM_ControllerTarget& target, i32 mode, i32 type, i32 value,
                    i32* remainder) {
    const f32 span = target.maximum - target.minimum;
    f32 moved = target.minimum + static_cast<f32>(value) * (span * k_perPosition);
    if (type == k_midiContinuous14) {
        const bool low = mode == k_midiFine;
        if (!low) *remainder = value;
        const i32 number = (*remainder & 127) << 7 | (low ? value : 0);
        moved = target.minimum + static_cast<f32>(number) * (span * k_perPosition14);
    }
    if (mode == k_midiOctaves) return AM_wholeNumber(moved / 12.0f) * 12.0f;
    if (mode == k_midiSemitone)
        return (std::trunc(static_cast<f32>(value) * 118.0f * k_perPosition) + 1.0f) * 0.1f;
    return moved;
}

// One message on its way through the rows.
class ControllerMessage {
public:
    ControllerMessage(AM_AudioMan& man, AM_ParaMan& parameters, MidiAssignMap& rows,
                      AM_MidiControllerState& controllers, i32 onChannel, i32 number, i32 setting)
        : instance(man), paraMan(parameters), map(rows), state(controllers), channel(onChannel),
          controller(number), value(setting) {}

    void learn();
    void apply();

private:
    i32 standardValue(AM_StandardRow row) const {
        return static_cast<i32>(paraMan.getParameterTarget(paraMan.standardId(row)));
    }
    i32 selectedPage() const { return standardValue(k_rowPage); }
    void selectPage(i32 page);
    bool answers(const MidiAssign& row) const {
        return row.controller == controller && (row.channel == 0 || row.channel == channel + 1);
    }
    MidiAssign learntRow() const;
    bool pageAllows(i32 index, const MidiAssign& row);
    void applyRow(i32 index, MidiAssign row);
    void turnPage(const MidiAssign& row);
    i32 rowOfHighHalf(i32 index, const MidiAssign& row) const;
    void move(i32 parameter, i32 mode, i32 type, i32 remainderRow);

    AM_AudioMan& instance;
    AM_ParaMan& paraMan;
    MidiAssignMap& map;
    AM_MidiControllerState& state;
    const i32 channel, controller, value;
};

// --- learning ----------------------------------------------------------------------------

// All but the parameter.
MidiAssign ControllerMessage::learntRow() const {
    MidiAssign row;
    row.channel = static_cast<u8>(channel + 1);
    row.controller = static_cast<u8>(controller);
    row.mode = static_cast<u8>(standardValue(k_rowMidiLearn));
    row.type = static_cast<u8>(standardValue(k_rowMidiType));
    const i32 page = selectedPage();
    row.page = static_cast<u8>(page < MidiAssignMap::k_numPages ? page : 0);
    return row;
}

void ControllerMessage::learn() {
    constexpr i32 k_max = AM_MidiControllerState::k_maxTargets;
    // Taken first: a target that is added from here on raises the count again.
    if (state.learnCount.load(std::memory_order_relaxed) <= 0 ||
        state.learnCount.exchange(0, std::memory_order_acq_rel) <= 0)
        return;
    i32 targets[k_max];
    MidiAssign rows[k_max];
    i32 numRows = 0;
    const MidiAssign learntAs = learntRow();
    for (i32 i = 0; i < k_max; ++i) {
        targets[i] = state.learnTargets[i].load(std::memory_order_relaxed);
        if (!paraMan.row(targets[i]) || learntAs.mode == k_midiNone) continue;
        rows[numRows] = learntAs;
        rows[numRows++].parameter = targets[i];
    }
    if (numRows > 0 && !map.learn(rows, numRows)) {
        state.learnCount.store(k_max, std::memory_order_release);
        return;
    }
    numRows = 0;
    for (i32 i = 0; i < k_max; ++i) {
        if (targets[i] < 0) continue;
        const MidiAssign& row = rows[numRows];
        const bool learnt = row.parameter == targets[i];
        AM_Log("Midi Learning %d", targets[i]);
        AM_Log("mode %d", learnt ? row.mode : 0);
        if (learnt) {
            AM_Log("ch %d, cc %d, page %d, mode %d, type %d, parameter %d", channel, controller,
                   row.page, row.mode, row.type, row.parameter);
            ++numRows;
        }
        state.learnTargets[i].store(-1, std::memory_order_relaxed);
    }
}

// --- pages -------------------------------------------------------------------------------

void ControllerMessage::selectPage(i32 page) {
    if (page != selectedPage())
        paraMan.setParameterValue(paraMan.standardId(k_rowPage), static_cast<f32>(page));
}

bool ControllerMessage::pageAllows(i32 index, const MidiAssign& row) {
    if (row.page == 0) return true;
    if (!row.selectPage) {
        selectPage(row.page);
        return true;
    }
    const i32 selected = selectedPage();
    if (selected == row.page) return true;
    if (map.otherPage.first(static_cast<size_t>(index)))
        AM_Log("if page %d selected - it is %d", row.page, selected);
    return false;
}

void ControllerMessage::turnPage(const MidiAssign& row) {
    if (value == 0) return;
    i32 mode = row.mode;
    // The row's own page is selected already.
    if (mode == k_midiPage && row.page != 0) return;
    if (mode < k_midiPageLeft) {
        const i32 way = encoderSteps(row.type, value);
        if (way == 0) return;
        if (mode == k_midiPageUpDown)
            mode = way > 0 ? k_midiPageUp : k_midiPageDown;
        else
            mode = way > 0 ? k_midiPageRight : k_midiPageLeft;
    }
    const AM_MidiPage page = map.page(selectedPage());
    if (mode == k_midiPageLeft || mode == k_midiPageRight) {
        const bool left = mode == k_midiPageLeft;
        i32 next = left ? page.left : page.right;
        if (next == 0) next = 1;
        AM_Log(left ? "we are at page '%s' going LEFT to %d"
                    : "we are at page '%s' going RIGHT to %d",
               page.name, next);
        selectPage(next);
        return;
    }
    const i32 next = mode == k_midiPageUp ? page.up : page.down;
    if (next != 0) selectPage(next);
}

// --- values ------------------------------------------------------------------------------

// Low halves belong to the high one that their controller's number says, and to that of the same
// parameter where it says none; without a row for it they stand alone.
i32 ControllerMessage::rowOfHighHalf(i32 index, const MidiAssign& row) const {
    const bool numbered = controller >= k_firstLowHalf && controller <= k_lastLowHalf;
    const i32 rows = map.getNumberOfMIDIassigns();
    for (i32 i = 0; i < rows; ++i) {
        const MidiAssign other = map.row(i);
        if (other.type != k_midiContinuous14 || other.parameter != row.parameter) continue;
        if (other.channel != 0 && other.channel != channel + 1) continue;
        const bool isLow = other.mode == k_midiFine || (other.controller >= k_firstLowHalf &&
                                                        other.controller <= k_lastLowHalf);
        if (!isLow && (!numbered || other.controller == controller - k_firstLowHalf)) return i;
    }
    return index;
}

void ControllerMessage::move(i32 parameter, i32 mode, i32 type, i32 remainderRow) {
    const ParameterInfo* info = paraMan.row(parameter);
    if (!info || info->isComplex() || info->isMeter()) return;
    const ParamRuntime& words = paraMan.runtime();
    const AM_ControllerTarget target = {words.minimum(parameter), words.maximum(parameter),
                                        paraMan.getParameterTarget(parameter),
                                        info->isWholeNumber()};
    const i32 before = map.row(remainderRow).remainder;
    i32 remainder = before;
    const f32 moved = AM_controllerValue(target, mode, type, value, &remainder);
    if (remainder != before) map.setRemainder(remainderRow, remainder);
    if (moved == target.current) return;
    paraMan.setParameterValue(parameter, moved);
    if (instance.hasHostCallback())
        instance.notifyHost(k_hostParameterChanged, parameter);
    else if (map.noHost.first())
        AM_Log("No Host-Callback!");
}

void ControllerMessage::applyRow(i32 index, MidiAssign row) {
    if (!pageAllows(index, row)) return;
    if (row.mode >= k_midiPage) {
        turnPage(row);
        return;
    }
    if (row.mode == k_midiNone) return;
    i32 remainderRow = index;
    if (row.type == k_midiContinuous14 && controller >= k_firstLowHalf &&
        controller <= k_lastLowHalf) {
        if (map.lowHalf.first(static_cast<size_t>(index))) AM_Log("rewriting CC to LSB");
        row.mode = k_midiFine;
    }
    if (row.mode == k_midiSelected || row.mode == k_midiFineSelected) {
        row.parameter = state.lastParameter;
        const ParameterInfo* info = paraMan.row(row.parameter);
        if (row.parameter == 0 || !info) return;
        const bool fine = row.mode == k_midiFineSelected && info->isWholeNumber();
        row.mode = fine ? k_midiFine : k_midiInteger;
    } else {
        if (!paraMan.row(row.parameter)) return;
        state.lastParameter = row.parameter;
    }
    if (row.type == k_midiContinuous14 && row.mode == k_midiFine)
        remainderRow = rowOfHighHalf(index, row);
    move(row.parameter, row.mode, row.type, remainderRow);
}

void ControllerMessage::apply() {
    const i32 rows = map.getNumberOfMIDIassigns();
    for (i32 index = 0; index < rows; ++index) {
        const MidiAssign row = map.row(index);
        if (answers(row)) applyRow(index, row);
    }
}

} // namespace

f32 AM_controllerValue(const AM_ControllerTarget& target, i32 mode, i32 type, i32 value,
                       i32* remainder) {
    const bool isEncoder = type == k_midiEncoder127 || type == k_midiEncoder64;
    f32 moved = isEncoder ? movedByEncoder(target, mode, encoderSteps(type, value), remainder)
                          : movedToPosition(target, mode, type, value, remainder);
    if (target.whole || mode == k_midiInteger) moved = AM_wholeNumber(moved);
    // What is not a number becomes the minimum.
    if (!(moved >= target.minimum)) return target.minimum;
    return std::min(moved, target.maximum);
}

void AM_controllerInput(AM_AudioMan& instance, MidiAssignMap& map, AM_MidiControllerState& state,
                        i32 channel, i32 controller, i32 value) {
    AM_ParaMan* paraMan = instance.getParaMan();
    if (!paraMan || channel < 0 || channel > 15 || controller < 0 || controller > 127 ||
        value < 0 || value > 127)
        return;
    ControllerMessage message(instance, *paraMan, map, state, channel, controller, value);
    message.learn();
    message.apply();
}
