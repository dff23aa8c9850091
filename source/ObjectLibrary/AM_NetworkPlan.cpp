#include "AM_NetworkPlan.h"

#include "AM_DelayModel.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr i32 k_notYet = k_maxRoutes; // turn of a matrix that no route feeds

class Planner {
public:
    explicit Planner(const AM_DelayModel& from) : model(from) {
        plan.family = model.family;
        plan.matrixSize = model.matrixSize;
        plan.numLines = model.numMatrices * model.matrixSize;
        std::fill(std::begin(turns), std::end(turns), k_notYet);
        for (i32 i = 0; i < model.numInputs; ++i)
            turns[model.inputs[i].target] = i;
    }

    AM_NetworkPlan make() {
        for (i32 i = 0; i < model.numInputs; ++i)
            addMatrix(i);
        // Outputs listen when all matrices have had their turn.
        for (i32 i = 0; i < model.numOutputs; ++i) {
            AM_PlanOutput& output = plan.outputs[plan.numOutputs++];
            output.left = model.outputLeft[i];
            output.right = model.outputRight[i];
            fillReads(output.reads, model.outputs[i], model.numInputs);
        }
        plan.blockSteps = steps();
        return plan;
    }

private:
    // What element `k` of `matrix` hears in the turn of route `turn`.
    AM_PlanRead read(i32 matrix, i32 k, i32 turn) const {
        const i32 own = matrix * model.matrixSize + k;
        const i32 line = model.aliases[own] < 0 ? own : model.aliases[own];
        const bool ahead = turns[line / model.matrixSize] < turn;
        return static_cast<AM_PlanRead>(2 * line + (ahead ? 1 : 0));
    }

    void fillReads(AM_PlanRead (&reads)[k_maxMatrixSize], i32 matrix, i32 turn) const {
        for (i32 k = 0; k < model.matrixSize; ++k)
            reads[k] = read(matrix, k, turn);
    }

    void addMatrix(i32 turn) {
        const AM_InputRoute& route = model.inputs[turn];
        AM_PlanMatrix& matrix = plan.matrices[plan.numMatrices++];
        matrix.firstLine = static_cast<u8>(route.target * model.matrixSize);
        matrix.muted = model.muted[route.target];
        matrix.fromTap = !route.fromMatrix;
        matrix.source =
            route.fromMatrix ? addMean(route.source, turn) : static_cast<u8>(route.source);
        fillReads(matrix.reads, route.target, turn);
    }

    // The index of a mean; one that is there already serves again.
    u8 addMean(i32 matrix, i32 turn) {
        AM_PlanMean mean{};
        fillReads(mean.reads, matrix, turn);
        for (i32 i = 0; i < plan.numMeans; ++i)
            if (std::memcmp(&plan.means[i], &mean, sizeof mean) == 0) return static_cast<u8>(i);
        plan.means[plan.numMeans] = mean;
        return static_cast<u8>(plan.numMeans++);
    }

    i32 steps() const {
        // A matrix that has two turns in one step feeds its lines twice: the plain path's business.
        bool fed[k_maxMatrices] = {};
        for (i32 i = 0; i < model.numInputs; ++i) {
            bool& again = fed[model.inputs[i].target];
            if (again) return 0;
            again = true;
        }
        return std::min(k_subBlockFrames,
                        *std::min_element(model.lengths, model.lengths + plan.numLines));
    }

    const AM_DelayModel& model;
    AM_NetworkPlan plan{};
    i32 turns[k_maxMatrices]; // the route that feeds each matrix
};

} // namespace

AM_NetworkPlan AM_makeNetworkPlan(const AM_DelayModel& model) {
    return Planner(model).make();
}
