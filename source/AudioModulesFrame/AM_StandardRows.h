// The rows that the parameter manager adds to those of the modules, and the texts of their values.
#pragma once

#include "AM_Parameter.h"

#include <vector>

// Rows of the standard block, by their place in it.
enum AM_StandardRow : i32 {
    k_rowSwingBase = 0,
    k_rowSwing = 1,
    k_rowSwingLight = 2,
    k_rowSwingTrigger = 3,
    k_rowSelectModule = 4,
    k_rowPatchFormat = 5,
    k_rowPatchNamed = 7,
    k_rowPatchFolder = 9,
    k_rowPatchFileName = 10,
    k_rowMetaAuthor = 13,
    k_rowMetaDescription = 14,
    k_rowMetaUsage = 15,
    k_rowChannelLayout = 16,
    k_rowSurroundOptions = 17,
    k_rowLevels = 18,
    k_rowMidiLed = 19,
    k_rowChanMet = 20,
    k_rowRevision = 21,
    k_rowPage = 23,
    k_rowMidiLearn = 24,
    k_rowMidiType = 25,
    k_rowInputVU = 31,
    k_rowInputPeak = 32,
    k_rowOutputVU = 33,
    k_rowOutputPeak = 34,
    k_rowUpdateComplex = 37,
    k_rowCpuLoad = 38,
    k_rowMetaCategories = 39,
    k_rowMetaFeatures = 40,
    k_rowMetaCharacter = 41,
    k_rowNoInstance = 42, // while 1, states leave the rows of the instance out
    k_numStandardRows = 43,
};

inline constexpr i32 k_revision = 4102;
// Rows of one meta target: the target's id, the range to the right or up, that to the left or down.
inline constexpr i32 k_rowsPerMetaTarget = 3;
inline constexpr i32 k_numFixedRows = 2;
inline constexpr i32 k_rowsPerMatrixSlot = 5;

// Where each block begins, counted from the manager's first own row.
struct AM_OwnRowLayout {
    i32 numMetas;
    i32 targetsPerMeta;
    i32 numMatrixSlots;

    i32 metaTargets() const { return numMetas; }
    i32 fixed() const { return metaTargets() + numMetas * targetsPerMeta * k_rowsPerMetaTarget; }
    i32 matrix() const { return fixed() + k_numFixedRows; }
    i32 standard() const { return matrix() + numMatrixSlots * k_rowsPerMatrixSlot; }
    i32 count() const { return standard() + k_numStandardRows; }
};

// All own rows in id order. Meta sources are "Meta1", "Meta2" ... of kind 2, -100 to 100, at rest
// at 0. A target row refers to the parameter that it moves, -1 for none; its two ranges are in
// percent until a target is chosen, then in the target's units. The two fixed rows are inert place
// holders that only keep the numbering. Matrix slots have target, source, depth, via source and
// via depth (percent).
std::vector<ParameterInfo> AM_makeOwnRows(const AM_OwnRowLayout& layout);

// The value texts of a standard row, the first for its minimum: swing bases as note values, "T" for
// triplets and "." for dotted ones. Returns their number, 0 for a row without texts.
i32 AM_standardRowTexts(i32 standardRow, const char* const** out);
