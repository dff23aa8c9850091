// Parameter records: one fixed-size row describes every parameter of every module.
#pragma once

#include "AM_Types.h"

// Low byte of ParameterInfo::kind.
enum AM_ParameterKind : u32 {
    k_integer = 0,
    k_float = 1,
    k_metaSource = 2,
    k_meter = 3,
    k_complex = 4,
    k_reference = 5,
    k_complexText = 0x604,
    k_complexMulti = 0x104,
    // A writable value that only looks like a meter by its low byte.
    k_floatPlain = 0x403,
};

// Bits of ParameterInfo::flags.
enum AM_ParameterFlag : u32 {
    k_flagSmoothed = 0x2,        // written through a smoothing slot
    k_flagHost = 0x4,            // published to hosts under `hostId`
    k_flagAssignTo = 0x8,        // offers the "assign to" menu entry
    k_flagModSource = 0x10,      // a modulation source; integers only
    k_flagRefreshProcess = 0x20, // a change refreshes the process functions of circuits
    k_flagNotifyOwner = 0x80,    // the owner's parameterChanged runs although it has a pointer
    k_flagNoRandom = 0x100,
    k_flagWraps = 0x200, // smoothing takes the shorter way round
    k_flagNoRandom2 = 0x400,
    k_flagLocked = 0x800,         // keeps its value across state loads
    k_flagSession = 0x1000,       // in no state
    k_flagView = 0x8000,          // of the instance and its editor, in no preset file
    k_flagMomentary = 0x40000000, // a button: acts on the rising edge, neither saved nor loaded
    k_flagSetUp = 0x20000000,     // how the instance is set up; left out of randomisation
};

// One row. 116 bytes; a static table holds it with id 0, owner -1, index 0.
struct ParameterInfo {
    u32 id = 0;
    char shortName[8] = {}; // terminated only if shorter
    char longName[60] = {};
    u32 kind = 0;
    f32 minValue = 0;
    f32 maxValue = 0;
    f32 defaultValue = 0;
    f32 skew = 0.5f;
    u32 flags = 0;
    i32 owner = -1; // objectId once copied
    i32 indexInOwner = 0;
    i32 hostId = 0; // host number if flags has k_flagHost, else unused
    i32 reserved = 0;
    i32 hostParamIndex = -1; // place in the host's index table

    ParameterInfo() = default;
    // Copies at most 8 and 60 characters of the names.
    ParameterInfo(const char* shortText, const char* longText, u32 kindWord, f32 minimum,
                  f32 maximum, f32 defaultTo);
    // A copy with `flagWord` or-ed in.
    ParameterInfo withFlags(u32 flagWord) const;
    // Copies this row to `target`; asserts "ModSources must be integers!" for a modulation source
    // that is no integer.
    void storeTo(ParameterInfo& target) const;

    u32 baseKind() const { return kind & 0xff; }
    // A meter is read only; the 0x403 kind is written like a float.
    bool isMeter() const { return baseKind() == k_meter && kind != k_floatPlain; }
    bool isComplex() const { return baseKind() == k_complex; }
    bool isWholeNumber() const { return baseKind() == k_integer || baseKind() == k_reference; }
    // The short name with its terminator.
    void copyShortName(char (&out)[9]) const;
    bool hasShortName(const char* text) const;
};
static_assert(sizeof(ParameterInfo) == 116);

// What value display and bindings ask of the side that holds the parameters.
class AM_IParameterProvider {
public:
    virtual ~AM_IParameterProvider() = default;
    // The row of `id`, or null.
    virtual const ParameterInfo* getParameterRecord(i32 id) = 0;
    // The long name of the object that owns `id`, or null.
    virtual const char* getParameterOwnerName(i32 id) = 0;
    // True while the view asks for texts with more digits.
    virtual bool wantsDetailedValues() { return false; }
};
