#include "AM_ScriptHandlers.h"

#include "AM_ScriptHandlerParts.h"

#include <algorithm>
#include <array>

namespace {
using namespace AM_ScriptParts;
namespace Ops = AM_ScriptOps;

const Instruction* doNothing(Machine&, const Instruction* ip) {
    return ip + 1;
}
const Instruction* goOn(Machine&, const Instruction* ip) {
    return ip + ip->value;
}

const Instruction* enterFunction(Machine& machine, const Instruction* ip) {
    return machine.enter(ip);
}
const Instruction* callObjectFunction(Machine& machine, const Instruction* ip) {
    machine.callObject(ip);
    return ip + 1;
}
const Instruction* leaveFunction(Machine& machine, const Instruction* ip) {
    return machine.leave(ip);
}
template <class T>
const Instruction* leaveWith(Machine& machine, const Instruction* ip) {
    reg<T>(machine, 0) = reg<T>(machine, ip->operandA);
    return machine.leave(ip);
}

template <class T>
const Instruction* loadConstant(Machine& machine, const Instruction* ip) {
    reg<T>(machine, ip->operandA) = constant<T>(ip);
    return ip + 1;
}
template <class T>
T& stored(Machine& machine, u32 place) {
    if constexpr (std::is_same_v<T, f32>)
        return machine.storedFloats()[place];
    else
        return machine.storedInts()[place];
}
template <class T>
const Instruction* load(Machine& machine, const Instruction* ip) {
    reg<T>(machine, ip->operandA) = stored<T>(machine, static_cast<u32>(ip->value));
    return ip + 1;
}
template <class T>
const Instruction* store(Machine& machine, const Instruction* ip) {
    stored<T>(machine, static_cast<u32>(ip->value)) = reg<T>(machine, ip->operandA);
    return ip + 1;
}

const Instruction* loadObjectFloat(Machine& machine, const Instruction* ip) {
    machine.floats[ip->operandA] = machine.getObjects()->readFloat(ip->value);
    return ip + 1;
}
const Instruction* loadObjectInt(Machine& machine, const Instruction* ip) {
    machine.ints[ip->operandA] = machine.getObjects()->readInt(ip->value);
    return ip + 1;
}
const Instruction* storeObjectFloat(Machine& machine, const Instruction* ip) {
    machine.getObjects()->writeFloat(ip->value, machine.floats[ip->operandA]);
    return ip + 1;
}
const Instruction* storeObjectInt(Machine& machine, const Instruction* ip) {
    machine.getObjects()->writeInt(ip->value, machine.ints[ip->operandA]);
    return ip + 1;
}

template <class T, AM_ScriptHandlers::Area Where>
T* area(Machine& machine) {
    if constexpr (Where == AM_ScriptHandlers::k_ofStore)
        return &stored<T>(machine, 0);
    else if constexpr (std::is_same_v<T, f32>)
        return machine.frameFloats();
    else
        return machine.frameInts();
}
template <class T, AM_ScriptHandlers::Area Where, bool Constant, bool Writes>
const Instruction* element(Machine& machine, const Instruction* ip) {
    const u32 packed = static_cast<u32>(ip->value);
    const u32 length = packed >> 8;
    const i32 index = Constant ? ip->operandA : machine.ints[ip->operandA];
    T& value = reg<T>(machine, packed & 0xff);
    const bool inside = static_cast<u32>(index) < length;
    if (!inside) machine.reportIndex(ip, index, length);
    if (inside) {
        T& place = area<T, Where>(machine)[static_cast<u32>(machine.ints[ip->operandB] + index)];
        if constexpr (Writes)
            place = value;
        else
            value = place;
    } else if constexpr (!Writes) {
        value = 0;
    }
    return ip + 1;
}
template <class T, AM_ScriptHandlers::Area Where, bool Clears>
const Instruction* startArray(Machine& machine, const Instruction* ip) {
    u32 start = static_cast<u32>(ip->value);
    if constexpr (Where == AM_ScriptHandlers::k_ofFrame)
        start += std::is_same_v<T, f32> ? machine.frameFloatBase() : machine.frameIntBase();
    machine.ints[ip->operandA] = static_cast<i32>(start);
    if constexpr (Clears) {
        // A long array takes its time.
        constexpr u32 elementsPerStep = 32;
        const u32 length = static_cast<u32>(ip[1].value);
        std::fill_n(area<T, Where>(machine) + start, length, T(0));
        machine.charge(length / elementsPerStep);
    }
    return ip + 1;
}

const Instruction* copyIndex(Machine& machine, const Instruction* ip) {
    machine.ints[static_cast<u32>(ip->value)] = machine.ints[ip->operandA];
    return ip + 1;
}
template <class To, class From>
const Instruction* move(Machine& machine, const Instruction* ip) {
    reg<To>(machine, static_cast<u32>(ip->value)) =
        AM_scriptConvert<To>(reg<From>(machine, ip->operandA));
    return ip + 1;
}
template <class To, class From>
const Instruction* assign(Machine& machine, const Instruction* ip) {
    reg<To>(machine, ip->operandA) = AM_scriptConvert<To>(reg<From>(machine, ip->operandB));
    return ip + 1;
}
template <class T>
const Instruction* negate(Machine& machine, const Instruction* ip) {
    const T x = reg<T>(machine, ip->operandA);
    T& result = reg<T>(machine, static_cast<u32>(ip->value));
    if constexpr (std::is_same_v<T, f32>)
        result = -x;
    else
        result = Ops::Subtract::apply(0, x);
    return ip + 1;
}
template <class T>
const Instruction* invert(Machine& machine, const Instruction* ip) {
    machine.ints[static_cast<u32>(ip->value)] = 1 - Ops::truth(reg<T>(machine, ip->operandA));
    return ip + 1;
}
template <class T>
const Instruction* complement(Machine& machine, const Instruction* ip) {
    machine.ints[static_cast<u32>(ip->value)] =
        ~AM_scriptConvert<i32>(reg<T>(machine, ip->operandA));
    return ip + 1;
}
template <class T, i32 Step>
const Instruction* stepAfter(Machine& machine, const Instruction* ip) {
    const T old = reg<T>(machine, ip->operandA);
    step<T, Step>(machine, ip);
    reg<T>(machine, static_cast<u32>(ip->value)) = old;
    return ip + 1;
}

template <class Condition, class Arm, class To>
const Instruction* selectFirst(Machine& machine, const Instruction* ip) {
    if (reg<Condition>(machine, ip->operandA) == 0) return ip + 1;
    reg<To>(machine, static_cast<u32>(ip->value)) =
        AM_scriptConvert<To>(reg<Arm>(machine, ip->operandB));
    return ip + 2;
}
template <class First, class Second>
const Instruction* selectSecond(Machine& machine, const Instruction* ip) {
    using To = Ops::Common<First, Second>;
    reg<To>(machine, static_cast<u32>(ip->value)) =
        AM_scriptConvert<To>(reg<Second>(machine, ip->operandB));
    return ip + 1;
}

using Forms = std::array<AM_ScriptHandler, k_formCount>;
using Table = std::array<Forms, k_opCount>;

template <class Op, class L, class R>
constexpr Forms binaryForms() {
    return {registers<Op, L, R>, constantRight<Op, L, R>, constantLeft<Op, L, R>};
}
template <class Op, class L, class R>
constexpr Forms compoundForms() {
    return {compound<Op, L, R>, compoundConstant<Op, L, R>, nullptr};
}
template <class Op>
constexpr void addBinary(Table& table, u32 first) {
    table[first] = binaryForms<Op, f32, f32>();
    table[first + 1] = binaryForms<Op, i32, i32>();
    table[first + 2] = binaryForms<Op, f32, i32>();
    table[first + 3] = binaryForms<Op, i32, f32>();
}
template <class Op>
constexpr void addCompound(Table& table, u32 nth) {
    const u32 first = k_opCompound + 4 * nth;
    table[first] = compoundForms<Op, f32, f32>();
    table[first + 1] = compoundForms<Op, i32, i32>();
    table[first + 2] = compoundForms<Op, f32, i32>();
    table[first + 3] = compoundForms<Op, i32, f32>();
}

constexpr void addOperators(Table& table) {
    addBinary<Ops::Multiply>(table, k_opMultiply);
    addBinary<Ops::Divide>(table, k_opDivide);
    addBinary<Ops::Modulo>(table, k_opModulo);
    addBinary<Ops::Add>(table, k_opAdd);
    addBinary<Ops::Subtract>(table, k_opSubtract);
    addBinary<Ops::ShiftLeft>(table, k_opShiftLeft);
    addBinary<Ops::ShiftRight>(table, k_opShiftRight);
    addBinary<Ops::Less>(table, k_opLess);
    addBinary<Ops::LessEqual>(table, k_opLessEqual);
    addBinary<Ops::Greater>(table, k_opGreater);
    addBinary<Ops::GreaterEqual>(table, k_opGreaterEqual);
    addBinary<Ops::Equal>(table, k_opEqual);
    addBinary<Ops::NotEqual>(table, k_opNotEqual);
    addBinary<Ops::BitAnd>(table, k_opBitAnd);
    addBinary<Ops::BitXor>(table, k_opBitXor);
    addBinary<Ops::BitOr>(table, k_opBitOr);
    addBinary<Ops::And>(table, k_opAnd);
    addBinary<Ops::Or>(table, k_opOr);
}
constexpr void addAssignments(Table& table) {
    table[k_opAssign] = {assign<f32, f32>};
    table[k_opAssign + 1] = {assign<i32, i32>};
    table[k_opAssign + 2] = {assign<f32, i32>};
    table[k_opAssign + 3] = {assign<i32, f32>};
    addCompound<Ops::Add>(table, 0);
    addCompound<Ops::Subtract>(table, 1);
    addCompound<Ops::Multiply>(table, 2);
    addCompound<Ops::Divide>(table, 3);
    addCompound<Ops::Modulo>(table, 4);
    addCompound<Ops::BitAnd>(table, 5);
    addCompound<Ops::BitXor>(table, 6);
    addCompound<Ops::BitOr>(table, 7);
    addCompound<Ops::ShiftLeft>(table, 8);
    addCompound<Ops::ShiftRight>(table, 9);
    addCompound<Ops::And>(table, 10);
    addCompound<Ops::Or>(table, 11);
}
// The others, each in the form that the opcode table names.
constexpr void addPlain(Table& table) {
    using AM_ScriptHandlers::k_ofFrame;
    constexpr AM_ScriptHandler first[] = {doNothing,
                                          nullptr,
                                          doNothing,
                                          goOn,
                                          goOn,
                                          AM_ScriptParts::branchOn<i32, true>,
                                          AM_ScriptParts::branchOn<i32, false>,
                                          enterFunction,
                                          leaveFunction,
                                          load<f32>,
                                          load<i32>,
                                          element<f32, k_ofFrame, false, false>,
                                          element<i32, k_ofFrame, false, false>,
                                          loadConstant<f32>,
                                          loadConstant<i32>,
                                          loadObjectFloat,
                                          loadObjectInt,
                                          store<f32>,
                                          store<i32>,
                                          element<f32, k_ofFrame, false, true>,
                                          element<i32, k_ofFrame, false, true>,
                                          storeObjectFloat,
                                          storeObjectInt,
                                          copyIndex,
                                          element<i32, k_ofFrame, false, false>,
                                          step<f32, 1>,
                                          step<i32, 1>,
                                          step<f32, -1>,
                                          step<i32, -1>,
                                          negate<f32>,
                                          negate<i32>,
                                          invert<f32>,
                                          invert<i32>,
                                          complement<f32>,
                                          complement<i32>,
                                          startArray<f32, k_ofFrame, false>,
                                          startArray<i32, k_ofFrame, false>,
                                          move<f32, f32>,
                                          move<i32, i32>,
                                          move<f32, i32>,
                                          move<i32, f32>};
    static_assert(std::size(first) == k_opMultiply);
    for (u32 opcode = 0; opcode < std::size(first); ++opcode)
        table[opcode] = {first[opcode]};
    table[k_opSelect] = {selectFirst<f32, f32, f32>};
    table[k_opSelect + 1] = {selectFirst<i32, i32, i32>};
    table[k_opSelect + 2] = {selectFirst<f32, i32, i32>};
    table[k_opSelect + 3] = {selectFirst<i32, f32, f32>};
    table[k_opSelectElse] = {selectSecond<f32, f32>};
    table[k_opSelectElse + 1] = {selectSecond<i32, i32>};
    table[k_opSelectElse + 2] = {selectSecond<f32, i32>};
    table[k_opSelectElse + 3] = {selectSecond<i32, f32>};
    table[k_opPostIncrement] = {stepAfter<f32, 1>};
    table[k_opPostIncrement + 1] = {stepAfter<i32, 1>};
    table[k_opPostDecrement] = {stepAfter<f32, -1>};
    table[k_opPostDecrement + 1] = {stepAfter<i32, -1>};
}
constexpr Table makeTable() {
    Table table{};
    addPlain(table);
    addOperators(table);
    addAssignments(table);
    return table;
}
constexpr Table k_handlers = makeTable();

template <class T, AM_ScriptHandlers::Area Where>
AM_ScriptHandler elementOf(bool writes, bool constantIndex) {
    if (writes)
        return constantIndex ? element<T, Where, true, true> : element<T, Where, false, true>;
    return constantIndex ? element<T, Where, true, false> : element<T, Where, false, false>;
}
template <class T>
AM_ScriptHandler startOf(AM_ScriptHandlers::Area area, bool clears) {
    using namespace AM_ScriptHandlers;
    if (area == k_ofStore)
        return clears ? startArray<T, k_ofStore, true> : startArray<T, k_ofStore, false>;
    return clears ? startArray<T, k_ofFrame, true> : startArray<T, k_ofFrame, false>;
}
} // namespace

namespace AM_ScriptHandlers {

AM_ScriptHandler plain(u8 opcode) {
    return k_handlers[opcode][0];
}
AM_ScriptHandler binary(u8 opcode, AM_ScriptForm form) {
    return k_handlers[opcode][form];
}
AM_ScriptHandler nothing() {
    return doNothing;
}
AM_ScriptHandler branch() {
    return goOn;
}
AM_ScriptHandler call() {
    return enterFunction;
}
AM_ScriptHandler callObject() {
    return callObjectFunction;
}
AM_ScriptHandler returnNothing() {
    return leaveFunction;
}

AM_ScriptHandler returnValue(bool isFloat) {
    return isFloat ? leaveWith<f32> : leaveWith<i32>;
}

AM_ScriptHandler branchIf(bool whenTrue, bool onFloat) {
    if (onFloat) return whenTrue ? branchOn<f32, true> : branchOn<f32, false>;
    return whenTrue ? branchOn<i32, true> : branchOn<i32, false>;
}

AM_ScriptHandler select(bool conditionFloat, bool armFloat, bool resultFloat) {
    if (armFloat) return conditionFloat ? selectFirst<f32, f32, f32> : selectFirst<i32, f32, f32>;
    if (resultFloat)
        return conditionFloat ? selectFirst<f32, i32, f32> : selectFirst<i32, i32, f32>;
    return conditionFloat ? selectFirst<f32, i32, i32> : selectFirst<i32, i32, i32>;
}

AM_ScriptHandler selectElse(bool firstFloat, bool secondFloat) {
    return plain(AM_opcodeFor(k_opSelectElse, firstFloat, secondFloat));
}

AM_ScriptHandler element(bool writes, bool isFloat, Area area, bool constantIndex) {
    if (area == k_ofStore)
        return isFloat ? elementOf<f32, k_ofStore>(writes, constantIndex)
                       : elementOf<i32, k_ofStore>(writes, constantIndex);
    return isFloat ? elementOf<f32, k_ofFrame>(writes, constantIndex)
                   : elementOf<i32, k_ofFrame>(writes, constantIndex);
}

AM_ScriptHandler arrayStart(bool isFloat, Area area, bool clears) {
    return isFloat ? startOf<f32>(area, clears) : startOf<i32>(area, clears);
}

} // namespace AM_ScriptHandlers
