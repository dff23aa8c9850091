// Handlers that execute two to four instructions at once.
#include "AM_ScriptHandlerParts.h"
#include "AM_ScriptHandlers.h"

#include <array>
#include <unordered_map>

namespace {
using namespace AM_ScriptParts;
namespace Ops = AM_ScriptOps;

// Runs the handlers of consecutive instructions, of which the last alone may branch.
template <AM_ScriptHandler First, AM_ScriptHandler... Rest>
const Instruction* chain(Machine& machine, const Instruction* ip) {
    First(machine, ip);
    if constexpr (sizeof...(Rest) == 1)
        return (Rest(machine, ip + 1), ...);
    else
        return chain<Rest...>(machine, ip + 1);
}

template <AM_ScriptHandler... Handlers>
struct List {};

// By their handlers, null where there are fewer.
struct Pattern {
    std::array<AM_ScriptHandler, 4> handlers;
    bool operator==(const Pattern&) const = default;
};
struct PatternHash {
    size_t operator()(const Pattern& pattern) const noexcept {
        size_t hash = 0;
        for (const AM_ScriptHandler handler : pattern.handlers)
            hash = hash * 1000003 + reinterpret_cast<std::uintptr_t>(handler);
        return hash ^ (hash >> 15);
    }
};
using Fusions = std::unordered_map<Pattern, AM_ScriptHandler, PatternHash>;

template <AM_ScriptHandler... Handlers>
void add(Fusions& fusions) {
    fusions.emplace(Pattern{{Handlers...}}, chain<Handlers...>);
}

template <class Op>
using Compares =
    List<registers<Op, i32, i32>, constantRight<Op, i32, i32>, registers<Op, f32, f32>,
         constantRight<Op, f32, f32>, registers<Op, f32, i32>, registers<Op, i32, f32>>;
template <class Op>
using CountCompares = List<registers<Op, i32, i32>, constantRight<Op, i32, i32>>;
// What stands in front of a compare at the end of a `for`.
using Counts = List<step<i32, 1>, step<i32, -1>, compoundConstant<Ops::Add, i32, i32>,
                    compoundConstant<Ops::Subtract, i32, i32>>;
template <class Op>
using Arithmetic =
    List<registers<Op, f32, f32>, constantRight<Op, f32, f32>, registers<Op, i32, i32>,
         constantRight<Op, i32, i32>, registers<Op, f32, i32>>;
template <class Op>
using Compounds =
    List<compound<Op, f32, f32>, compoundConstant<Op, f32, f32>, compound<Op, i32, i32>,
         compoundConstant<Op, i32, i32>, compound<Op, f32, i32>>;

constexpr AM_ScriptHandler k_ifTrue = AM_ScriptParts::branchOn<i32, true>;
constexpr AM_ScriptHandler k_ifFalse = AM_ScriptParts::branchOn<i32, false>;

template <AM_ScriptHandler... C>
void addBranches(Fusions& fusions, List<C...>) {
    (add<C, k_ifTrue>(fusions), ...);
    (add<C, k_ifFalse>(fusions), ...);
}
template <AM_ScriptHandler Count, AM_ScriptHandler... C>
void addLoopEnds(Fusions& fusions, List<C...>) {
    (add<Count, C, k_ifTrue>(fusions), ...);
}
template <class Op, AM_ScriptHandler... Count>
void addCounts(Fusions& fusions, List<Count...>) {
    (addLoopEnds<Count>(fusions, CountCompares<Op>()), ...);
}
template <class Op>
void addCompare(Fusions& fusions) {
    addBranches(fusions, Compares<Op>());
    addCounts<Op>(fusions, Counts());
}

// One operation and the end of a loop.
template <AM_ScriptHandler Body, AM_ScriptHandler... C>
void addLoopBodies(Fusions& fusions, List<C...>) {
    (add<Body, step<i32, 1>, C, k_ifTrue>(fusions), ...);
}
template <AM_ScriptHandler... Body>
void addLoops(Fusions& fusions, List<Body...>) {
    (addLoopBodies<Body>(fusions, CountCompares<Ops::Less>()), ...);
    (addLoopBodies<Body>(fusions, CountCompares<Ops::LessEqual>()), ...);
}

// Two operations.
template <AM_ScriptHandler First, AM_ScriptHandler... Second>
void addPairs(Fusions& fusions, List<Second...>) {
    (add<First, Second>(fusions), ...);
}
template <class Seconds, AM_ScriptHandler... First>
void addAllPairs(Fusions& fusions, List<First...>) {
    (addPairs<First>(fusions, Seconds()), ...);
}
template <class Firsts>
void addOperations(Fusions& fusions) {
    addAllPairs<Arithmetic<Ops::Add>>(fusions, Firsts());
    addAllPairs<Arithmetic<Ops::Subtract>>(fusions, Firsts());
    addAllPairs<Arithmetic<Ops::Multiply>>(fusions, Firsts());
    addAllPairs<Compounds<Ops::Add>>(fusions, Firsts());
    addAllPairs<Compounds<Ops::Subtract>>(fusions, Firsts());
    addAllPairs<Compounds<Ops::Multiply>>(fusions, Firsts());
    addLoops(fusions, Firsts());
}

Fusions makeFusions() {
    Fusions fusions;
    addCompare<Ops::Less>(fusions);
    addCompare<Ops::LessEqual>(fusions);
    addCompare<Ops::Greater>(fusions);
    addCompare<Ops::GreaterEqual>(fusions);
    addCompare<Ops::Equal>(fusions);
    addCompare<Ops::NotEqual>(fusions);
    addOperations<Arithmetic<Ops::Add>>(fusions);
    addOperations<Arithmetic<Ops::Subtract>>(fusions);
    addOperations<Arithmetic<Ops::Multiply>>(fusions);
    addLoops(fusions, Compounds<Ops::Add>());
    addLoops(fusions, Compounds<Ops::Subtract>());
    addLoops(fusions, Compounds<Ops::Multiply>());
    return fusions;
}
} // namespace

void AM_ScriptHandlers::fuse(std::vector<AM_ScriptInstruction>& instructions) {
    static const Fusions fusions = makeFusions();
    // From the front on, so that what is looked at still has the handlers of single instructions.
    for (size_t first = 0; first < instructions.size(); ++first) {
        Pattern pattern{};
        AM_ScriptInstruction& instruction = instructions[first];
        pattern.handlers[0] = instruction.handler;
        const size_t longest = std::min(instructions.size() - first, pattern.handlers.size());
        for (size_t length = 2; length <= longest; ++length) {
            pattern.handlers[length - 1] = instructions[first + length - 1].handler;
            const auto found = fusions.find(pattern);
            if (found == fusions.end()) continue;
            instruction.handler = found->second;
            instruction.flags =
                static_cast<u8>((instruction.flags & ~k_flagFusedMask) | (length - 1));
        }
    }
}
