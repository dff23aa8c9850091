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
template <class...>
struct Types {};

// Which operand of the second instruction is the result of the first.
enum class Link : u8 { none, left, right };

// By their handlers, null where there are fewer.
struct Pattern {
    std::array<AM_ScriptHandler, 4> handlers;
    Link link = Link::none;
    bool operator==(const Pattern&) const = default;
};
struct PatternHash {
    size_t operator()(const Pattern& pattern) const noexcept {
        size_t hash = static_cast<size_t>(pattern.link);
        for (const AM_ScriptHandler handler : pattern.handlers)
            hash = hash * 1000003 + reinterpret_cast<std::uintptr_t>(handler);
        return hash ^ (hash >> 15);
    }
};
using Fusions = std::unordered_map<Pattern, AM_ScriptHandler, PatternHash>;

// An arithmetic operator in one of its forms, in parts: what it computes, and where that goes.
template <class Op, class L, class R, bool Constant>
struct Operation {
    using Left = L;
    using Right = std::conditional_t<Constant, void, R>; // void if nothing can come in its place
    using Value = Result<Op, L, R>;
    static constexpr AM_ScriptHandler handler =
        Constant ? constantRight<Op, L, R> : registers<Op, L, R>;

    static R right(Machine& machine, const Instruction* ip) {
        return Constant ? constant<R>(ip) : reg<R>(machine, ip->operandB);
    }
    static Value value(Machine& machine, const Instruction* ip) {
        return withLeft(machine, ip, reg<L>(machine, ip->operandA));
    }
    static Value withLeft(Machine& machine, const Instruction* ip, L left) {
        return AM_ScriptOps::compute<Op>(left, right(machine, ip));
    }
    static Value withRight(Machine& machine, const Instruction* ip, R given) {
        return AM_ScriptOps::compute<Op>(reg<L>(machine, ip->operandA), given);
    }
    static void keep(Machine& machine, const Instruction* ip, Value value) {
        reg<Value>(machine, Constant ? ip->operandB : static_cast<u32>(ip->value)) = value;
    }
};
// A compound assignment from a register.
template <class Op, class L, class R>
struct Compound {
    using Left = void;
    using Right = R;
    static constexpr AM_ScriptHandler handler = compound<Op, L, R>;
    static L withRight(Machine& machine, const Instruction* ip, R given) {
        return AM_scriptConvert<L>(AM_ScriptOps::compute<Op>(reg<L>(machine, ip->operandA), given));
    }
    static void keep(Machine& machine, const Instruction* ip, L value) {
        reg<L>(machine, ip->operandA) = value;
    }
};

// Two operations of which the second takes the result of the first without reading its register.
template <class First, class Second, Link Side>
const Instruction* linked(Machine& machine, const Instruction* ip) {
    const auto first = First::value(machine, ip);
    First::keep(machine, ip, first);
    ++ip;
    if constexpr (Side == Link::left)
        Second::keep(machine, ip, Second::withLeft(machine, ip, first));
    else
        Second::keep(machine, ip, Second::withRight(machine, ip, first));
    return ip + 1;
}

// How the second one takes the result of the first.
Link linkOf(const Instruction& first, const Instruction& second) {
    const bool isConstant = (first.flags & k_flagConstant) != 0;
    const u32 result = isConstant ? first.operandB : static_cast<u32>(first.value);
    if (second.opcode < k_opAssign && second.operandA == result) return Link::left;
    const bool hasRight = (second.flags & k_flagConstant) == 0;
    return hasRight && second.operandB == result ? Link::right : Link::none;
}

template <AM_ScriptHandler... Handlers>
void add(Fusions& fusions) {
    fusions.emplace(Pattern{{Handlers...}}, chain<Handlers...>);
}
template <class First, class Second>
void addLinked(Fusions& fusions) {
    using Value = typename First::Value;
    if constexpr (std::is_same_v<Value, typename Second::Left>)
        fusions.emplace(Pattern{{First::handler, Second::handler}, Link::left},
                        linked<First, Second, Link::left>);
    if constexpr (std::is_same_v<Value, typename Second::Right>)
        fusions.emplace(Pattern{{First::handler, Second::handler}, Link::right},
                        linked<First, Second, Link::right>);
}

template <class Op>
using Compares =
    List<registers<Op, i32, i32>, constantRight<Op, i32, i32>, registers<Op, f32, f32>,
         constantRight<Op, f32, f32>, registers<Op, f32, i32>, registers<Op, i32, f32>>;
template <class Op>
using CountCompares = List<registers<Op, i32, i32>, constantRight<Op, i32, i32>>;
// What stands in front of a compare at the end of a `for`.
using Counts = List<step<i32, 1>, step<i32, -1>, compound<Ops::Add, i32, i32>,
                    compoundConstant<Ops::Add, i32, i32>, compound<Ops::Subtract, i32, i32>,
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

// Two linked ones.
template <class Op>
using Operations = Types<Operation<Op, f32, f32, false>, Operation<Op, f32, f32, true>,
                         Operation<Op, i32, i32, false>, Operation<Op, i32, i32, true>,
                         Operation<Op, f32, i32, false>>;
template <class Op>
using Assignments = Types<Compound<Op, f32, f32>, Compound<Op, i32, i32>, Compound<Op, f32, i32>>;

template <class First, class... Second>
void addLinks(Fusions& fusions, Types<Second...>) {
    (addLinked<First, Second>(fusions), ...);
}
template <class... First>
void addAllLinks(Fusions& fusions, Types<First...>) {
    (addLinks<First>(fusions, Operations<Ops::Add>()), ...);
    (addLinks<First>(fusions, Operations<Ops::Subtract>()), ...);
    (addLinks<First>(fusions, Operations<Ops::Multiply>()), ...);
    (addLinks<First>(fusions, Assignments<Ops::Add>()), ...);
    (addLinks<First>(fusions, Assignments<Ops::Subtract>()), ...);
    (addLinks<First>(fusions, Assignments<Ops::Multiply>()), ...);
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
    addAllLinks(fusions, Operations<Ops::Add>());
    addAllLinks(fusions, Operations<Ops::Subtract>());
    addAllLinks(fusions, Operations<Ops::Multiply>());
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
        AM_ScriptInstruction& instruction = instructions[first];
        const auto replace = [&instruction](const Pattern& pattern, size_t length) {
            const auto found = fusions.find(pattern);
            if (found == fusions.end()) return;
            const u32 others = instruction.flags & ~u32{k_flagFusedMask};
            instruction.handler = found->second;
            instruction.flags = static_cast<u8>(others | (length - 1));
        };
        Pattern pattern{};
        pattern.handlers[0] = instruction.handler;
        const size_t longest = std::min(instructions.size() - first, pattern.handlers.size());
        for (size_t length = 2; length <= longest; ++length) {
            pattern.handlers[length - 1] = instructions[first + length - 1].handler;
            replace(pattern, length);
            if (length > 2) continue;
            pattern.link = linkOf(instruction, instructions[first + 1]);
            if (pattern.link != Link::none) replace(pattern, length);
            pattern.link = Link::none;
        }
    }
}
