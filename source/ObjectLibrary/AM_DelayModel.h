// The structure of a reverb as its code text decides it: which family of matrices is
// live, how signal enters and leaves, how long the 64 lines are, which line reads
// another one, and how the decay is spread. A model is plain data, built off the
// audio thread and published whole.
//
// The code is up to 31 characters: letters that select, a '-', and a tail that seeds.
// Each selection is the place, within its alphabet, of the first character in front
// of the first '-' that occurs in that alphabet, and 0 if none does:
//   0 "ABCDEF" family    1 "GHIT" routing       2 "ULMN" bridges   3 "R" nothing
//   4 "Z12" gain law     5 "345Y" arrangement   6 "678PQ" law      7 "S" nothing
// Any text is legal.
#pragma once

#include "AM_CollisionLaws.h"
#include "AM_ModelGenerator.h"
#include "AM_NetworkPlan.h"
#include "AM_Types.h"

inline constexpr i32 k_numSelections = 8;
inline constexpr i32 k_maxCode = 32; // characters of a code with its terminator
inline constexpr i32 k_maxRoutes = 32;
inline constexpr i32 k_maxMatrices = 16;
inline constexpr i32 k_maxDelayLength = 8191; // samples, the mask of a line's ring

// The alphabets of the eight selections.
extern const char* const AM_codeAlphabets[k_numSelections];

// A family of matrices over the 64 lines; matrix i holds the lines i * matrixSize and on.
struct AM_MatrixFamily {
    const char* label;
    i32 numMatrices;
    i32 matrixSize;
};
enum AM_FamilyIndex : i32 {
    k_householder4 = 0,
    k_hadamard4 = 1,
    k_gerzon4 = 2,
    k_householder6 = 3,
    k_householder8 = 4,
    k_hadamard8 = 5,
    k_numFamilies = 6,
};
extern const AM_MatrixFamily AM_matrixFamilies[k_numFamilies];

// Names of the routings: "Wide", "Distributed", "TwoInMany", "Pairs".
extern const char* const AM_routingNames[4];

// Where a matrix gets its input from: an input tap, or another matrix.
struct AM_InputRoute {
    bool fromMatrix;
    i32 source; // index of the tap (0 to 3) or of the matrix
    i32 target; // index of the matrix
};

struct AM_DelayModel {
    char code[k_maxCode];
    i32 selections[k_numSelections];
    u32 hash;  // of the tail, what the generator was seeded with
    u32 seed;  // of the generator behind the build
    u32 tests; // draws that the collision law looked at
    i32 family;
    i32 routing;
    i32 bridges;
    i32 gainLaw;
    i32 arrangement;
    i32 law;
    i32 numMatrices;
    i32 matrixSize;
    i32 lengths[k_numDelays];  // samples, as the lines hold them
    i32 aliases[k_numDelays];  // the line that line k reads, -1 for itself
    bool muted[k_maxMatrices]; // matrices that recirculate nothing
    i32 numInputs;
    AM_InputRoute inputs[k_maxRoutes];
    i32 numOutputs;
    i32 outputs[k_maxRoutes];   // indices of matrices
    f32 outputPan[k_maxRoutes]; // 0 left to 1 right
    f32 outputGain[k_maxRoutes];
    f32 outputLeft[k_maxRoutes];  // sqrt(1 - pan) * gain
    f32 outputRight[k_maxRoutes]; // sqrt(pan) * gain
    AM_NetworkPlan plan;          // of all the above
};

// Hash of the text behind the first '-' of `code`: h * 31 + character; 0 without a '-'.
u32 AM_hashCodeTail(const char* code);

// Reads the eight selections of `code`.
void AM_readSelections(const char* code, i32 (&selections)[k_numSelections]);

// Builds models. Holds the work tables (about 480 kB), so it is made once per module
// and used by one thread at a time. Never on the audio thread: some laws take thousands
// of draws.
class AM_DelayModelBuilder {
public:
    // Builds the whole model of `code` (the first 31 characters count). The same text gives the
    // same model, whatever was built before.
    void build(const char* code, AM_DelayModel& model);

    // The steps of `build`, on the model given: empties it and takes the selections and the seed of
    // the code; fills the routes; draws the lengths; crosses lines; notes the seed behind it all
    // and makes the plan.
    void start(const char* code, AM_DelayModel& model);
    void buildStructure(i32 routing, i32 family, AM_DelayModel& model);
    void collisionLaw(i32 law, i32 arrangement, AM_DelayModel& model);
    void setBridges(i32 kind, AM_DelayModel& model);
    void finish(AM_DelayModel& model);

    AM_ModelGenerator generator;

private:
    AM_CollisionLaws laws;
};
