#include "AM_StandardRows.h"

#include "AM_Format.h"

#include <iterator>

namespace {

struct StandardRow {
    const char* shortName;
    const char* longName;
    u32 kind;
    f32 minimum, maximum, defaultValue;
    u32 flags;
};

constexpr f32 k_rev = static_cast<f32>(k_revision);

constexpr StandardRow k_standardRows[] = {
    {"SBase", "SwingBase", k_integer, 0, 23, 4, 0},
    {"Swing", "Swing", k_float, 0, 100, 0, 0xB},
    {"SLite", "Swing Light", k_meter, 0, 1, 0, 0},
    {"STrig", "SwingTrigger", k_integer, 0, 1, 1, 0},
    {"SelMod", "SelectModule", k_integer, 0, 1000, 0, 0x100},
    {"PForm", "PatchFormat", k_integer, 0, 2, 1, 0x20000100},
    {"PComp", "PatchCompression", k_integer, 0, 1, 0, 0x20000100},
    {"PName", "PatchNamed", k_integer, 0, 1, 1, 0x100},
    {"PSong", "PatchSong", k_integer, 0, 1000, 0, 0},
    {"PFold", "PatchFolder", k_complexText, 0, 256, 0, 0x8000000},
    {"PFile", "PatchFileName", k_complexText, 0, 64, 0, 0x8000080},
    {"GFile", "GUI FileName", k_complexText, 0, 64, 0, 0x28008000},
    {"GScale", "GUI Scale", k_integer, -3, 10, 0, 0x20008000},
    {"MetaA", "MetaA", k_complexText, 0, 128, 0, 0x100},
    {"MetaD", "MetaD", k_complexText, 0, 512, 0, 0x100},
    {"MetaH", "MetaH", k_complexText, 0, 512, 0, 0x100},
    {"ChLay", "Channel Layout", k_integer, 0, 8, 0, 0x8000},
    {"SurrO", "Surround Options", k_integer, 0, 2, 1, 0x8000},
    {"Levels", "Levels", k_complexMulti, 0, 16, 1, 0x400},
    {"MidiLed", "Midi Activity", k_meter, 0, 1, 0, 0},
    {"ChanMet", "ChanMet", k_meter, 0, 9, 0, 0},
    {"Rev", "Revision", k_integer, k_rev, k_rev, k_rev, 0},
    {"LED", "LED Colour", k_float, 0, 1, 0, 1},
    {"PAGE", "PAGE", k_integer, 0, 128, 0, 0x8080},
    {"MidiL", "MIDI Learn", k_integer, 0, 7, 1, 0x100},
    {"MidiT", "MIDI Type", k_integer, 0, 3, 2, 0x100},
    {"MidiC", "MIDI Learn Cmd", k_complex, 0, 8, 1, 0x1180},
    {"PagesOn", "Display PAGES", k_integer, 0, 1, 0, 0x8000},
    {"CoreN", "CoreN", k_complex, 0, 64, 0, 0x8008000},
    {"Slice", "Slice", k_complex, 0, 4, 0, 0x8008000},
    {"UI_op", "GUI opens", k_integer, 0, 100, 0, 0x9000},
    {"inVU", "input VU", k_meter, -100, 6, 0, 0},
    {"inPeak", "input Peak", k_meter, -100, 6, 0, 0},
    {"outVU", "output VU", k_meter, -100, 6, 0, 0},
    {"outPeak", "output Peak", k_meter, -100, 6, 0, 0},
    {"MidiA", "Midi A param", k_complexText, 0, 256, 0, 0},
    {"MidiP", "Midi P param", k_complexText, 0, 128, 0, 0},
    {"updCplx", "update complex", k_complex, 0, 4, 0, 0x100},
    {"CPU", "CPU Load", k_meter, 0, 100, 0, 0},
    {"MetaCat", "MetaCatebories", k_complexText, 0, 128, 0, 0x100},
    {"MetaF", "MetaFeatures", k_complexText, 0, 512, 0, 0x100},
    {"MetaCha", "MetaCharacter", k_complexText, 0, 512, 0, 0x100},
    {"0Instnc", "Do Not Save Instance", k_integer, 0, 1, 0, 0x100},
};
static_assert(std::size(k_standardRows) == k_numStandardRows);

constexpr u32 k_noRandom = k_flagNoRandom | k_flagNoRandom2;
constexpr f32 k_largestId = 65535;

// A row whose two names hold a number.
ParameterInfo numbered(const char* shortFormat, const char* longFormat, u32 kind, f32 minimum,
                       f32 maximum, f32 defaultTo, u32 flags, i32 number) {
    char shortName[sizeof(ParameterInfo::shortName) + 1];
    char longName[sizeof(ParameterInfo::longName) + 1];
    AM_STD::sprintv(shortName, sizeof shortName, shortFormat, number);
    AM_STD::sprintv(longName, sizeof longName, longFormat, number);
    return ParameterInfo(shortName, longName, kind, minimum, maximum, defaultTo).withFlags(flags);
}

void addMetaTarget(std::vector<ParameterInfo>& rows, i32 meta, i32 slot) {
    // Even metas are the X axis of a pad, odd ones its Y axis; the short names count the metas.
    const bool x = meta % 2 == 0;
    const char* const longNames[] = {x ? "XY%d TargetX%d" : "XY%d TargetY%d",
                                     x ? "XY%d Right%d" : "XY%d Up%d",
                                     x ? "XY%d Left%d" : "XY%d Down%d"};
    const char* const shortNames[] = {"MT%d%d", "ML%d%d", "MR%d%d"};
    for (i32 part = 0; part < k_rowsPerMetaTarget; ++part) {
        char shortName[sizeof(ParameterInfo::shortName) + 1];
        char longName[sizeof(ParameterInfo::longName) + 1];
        AM_STD::sprintv(shortName, sizeof shortName, shortNames[part], meta + 1, slot + 1);
        AM_STD::sprintv(longName, sizeof longName, longNames[part], meta / 2 + 1, slot + 1);
        const ParameterInfo row =
            part == 0 ? ParameterInfo(shortName, longName, k_reference, -1, k_largestId, -1)
                      : ParameterInfo(shortName, longName, k_float, -100, 100, 0);
        rows.push_back(row.withFlags(k_noRandom));
    }
}

void addMatrixSlot(std::vector<ParameterInfo>& rows, i32 number) {
    rows.push_back(
        numbered("MMT%d", "Matrix%d Target", k_reference, -1, k_largestId, -1, k_noRandom, number));
    rows.push_back(numbered("MMS%d", "Matrix%d Source", k_integer, 0, 1000, 0, k_noRandom, number));
    rows.push_back(numbered("MMD%d", "Matrix%d Depth", k_float, -100, 100, 0, k_noRandom, number));
    rows.push_back(
        numbered("MMVS%d", "Matrix%d ViaSrc", k_integer, 0, 1000, 0, k_noRandom, number));
    rows.push_back(numbered("MMVD%d", "Matrix%d Via", k_float, 0, 100, 0, k_noRandom, number));
}

// In the order of the sync table: 16, 8, 4 ... quarter notes.
constexpr const char* k_swingBases[] = {"4/1",    "2/1",   "1/1",   "1/2",    "1/4",    "1/8",
                                        "1/16",   "2/1 T", "1/1 T", "1/2 T",  "1/4 T",  "1/8 T",
                                        "1/1 .",  "1/2 .", "1/4 .", "1/8 .",  "1/16 .", "1/32",
                                        "1/32 T", "1/64",  "1/80",  "1/64 T", "1/112",  "1/128"};
constexpr const char* k_patchFormats[] = {"native", "all modules", "selected module"};
constexpr const char* k_channelLayouts[] = {"auto/surround", "all channels", "1-2",   "3-4", "5-6",
                                            "7-8",           "mono",         "pairs", "sum"};

template <size_t N>
i32 give(const char* const (&texts)[N], const char* const** out) {
    *out = texts;
    return static_cast<i32>(N);
}

} // namespace

std::vector<ParameterInfo> AM_makeOwnRows(const AM_OwnRowLayout& layout) {
    std::vector<ParameterInfo> rows;
    rows.reserve(static_cast<size_t>(layout.count()));
    for (i32 meta = 0; meta < layout.numMetas; ++meta)
        rows.push_back(numbered("Meta%d", "Meta%d", k_metaSource, -100, 100, 0, 0, meta + 1));
    for (i32 meta = 0; meta < layout.numMetas; ++meta)
        for (i32 slot = 0; slot < layout.targetsPerMeta; ++slot)
            addMetaTarget(rows, meta, slot);
    for (i32 i = 0; i < k_numFixedRows; ++i)
        rows.push_back(numbered("Fix%d", "Fix%d", k_integer, 0, 1, 0, k_noRandom, i + 1));
    for (i32 slot = 0; slot < layout.numMatrixSlots; ++slot)
        addMatrixSlot(rows, slot + 1);
    for (const StandardRow& row : k_standardRows)
        rows.push_back(ParameterInfo(row.shortName, row.longName, row.kind, row.minimum,
                                     row.maximum, row.defaultValue)
                           .withFlags(row.flags));
    return rows;
}

i32 AM_standardRowTexts(i32 standardRow, const char* const** out) {
    switch (standardRow) {
    case k_rowSwingBase:
        return give(k_swingBases, out);
    case k_rowPatchFormat:
        return give(k_patchFormats, out);
    case k_rowChannelLayout:
        return give(k_channelLayouts, out);
    default:
        return 0;
    }
}
