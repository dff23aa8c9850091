// How a model runs in blocks: which line each matrix reads where, and how many internal samples can
// be done at once.
//
// A line of length L gives out at one step what went in L + 1 steps before, or L, once its matrix
// has had its turn in the step. So no step of a block of at most the shortest L reads what the
// block itself writes: all lines can be read ahead, and the order of the matrices within a step is
// only a matter of which of the two samples is meant.
#pragma once

#include "AM_CollisionLaws.h"
#include "AM_Types.h"
#include "BlockContext.h"

struct AM_DelayModel;

inline constexpr i32 k_maxMatrixSize = 8;

// Where one element of a matrix listens: twice the line, its own or the one it is aliased to, plus
// 1 if that line has been fed in the same step already.
using AM_PlanRead = u8;

// The mean of the lines of a matrix, as another matrix takes it.
struct AM_PlanMean {
    AM_PlanRead reads[k_maxMatrixSize];
};

// One matrix and its input, in the order of the routes.
struct AM_PlanMatrix {
    u8 firstLine; // the lines that it feeds are this one and those behind it
    bool muted;   // recirculates nothing
    bool fromTap; // its input is a tap, else a mean
    u8 source;    // index of the tap, 0 to 3, or of the mean
    AM_PlanRead reads[k_maxMatrixSize];
};

// A matrix whose mean goes to the outputs.
struct AM_PlanOutput {
    f32 left;
    f32 right;
    AM_PlanRead reads[k_maxMatrixSize];
};

struct AM_NetworkPlan {
    static constexpr i32 k_maxParts = 32; // as a model has routes

    i32 family; // AM_FamilyIndex
    i32 matrixSize;
    i32 numLines; // that any matrix feeds
    i32 numMatrices;
    AM_PlanMatrix matrices[k_maxParts];
    i32 numMeans;
    AM_PlanMean means[k_maxParts];
    i32 numOutputs;
    AM_PlanOutput outputs[k_maxParts];
    // Internal samples that a block may have, 1 to 64; 0 if the model can't run in blocks.
    i32 blockSteps;
};

// The plan of a model whose routes, aliases, gains and lengths are set. Any thread; neither
// allocates nor fails.
AM_NetworkPlan AM_makeNetworkPlan(const AM_DelayModel& model);
