// Handlers as templates, for the sources that make tables of them.
#pragma once

#include "AM_ScriptArithmetic.h"
#include "AM_ScriptMachine.h"

#include <bit>

namespace AM_ScriptParts {

using Instruction = AM_ScriptInstruction;
using Machine = AM_ScriptMachine;

template <class T>
T& reg(Machine& machine, u32 index) noexcept {
    if constexpr (std::is_same_v<T, f32>)
        return machine.floats[index];
    else
        return machine.ints[index];
}
template <class T>
T constant(const Instruction* ip) noexcept {
    if constexpr (std::is_same_v<T, f32>)
        return std::bit_cast<f32>(ip->value);
    else
        return ip->value;
}

template <class Op, class L, class R>
using Result = decltype(AM_ScriptOps::compute<Op>(L(), R()));

// A binary operator, in its three forms.
template <class Op, class L, class R>
const Instruction* registers(Machine& machine, const Instruction* ip) {
    reg<Result<Op, L, R>>(machine, static_cast<u32>(ip->value)) =
        AM_ScriptOps::compute<Op>(reg<L>(machine, ip->operandA), reg<R>(machine, ip->operandB));
    return ip + 1;
}
template <class Op, class L, class R>
const Instruction* constantRight(Machine& machine, const Instruction* ip) {
    reg<Result<Op, L, R>>(machine, ip->operandB) =
        AM_ScriptOps::compute<Op>(reg<L>(machine, ip->operandA), constant<R>(ip));
    return ip + 1;
}
template <class Op, class L, class R>
const Instruction* constantLeft(Machine& machine, const Instruction* ip) {
    reg<Result<Op, L, R>>(machine, ip->operandB) =
        AM_ScriptOps::compute<Op>(constant<L>(ip), reg<R>(machine, ip->operandA));
    return ip + 1;
}

// A compound assignment: register A with register B or a constant.
template <class Op, class L, class R>
const Instruction* compound(Machine& machine, const Instruction* ip) {
    L& target = reg<L>(machine, ip->operandA);
    target = AM_scriptConvert<L>(AM_ScriptOps::compute<Op>(target, reg<R>(machine, ip->operandB)));
    return ip + 1;
}
template <class Op, class L, class R>
const Instruction* compoundConstant(Machine& machine, const Instruction* ip) {
    L& target = reg<L>(machine, ip->operandA);
    target = AM_scriptConvert<L>(AM_ScriptOps::compute<Op>(target, constant<R>(ip)));
    return ip + 1;
}

// ++ and -- in place.
template <class T, i32 Step>
const Instruction* step(Machine& machine, const Instruction* ip) {
    T& target = reg<T>(machine, ip->operandA);
    target = AM_ScriptOps::Add::apply(target, static_cast<T>(Step));
    return ip + 1;
}

template <class T, bool WhenTrue>
const Instruction* branchOn(Machine& machine, const Instruction* ip) {
    return (reg<T>(machine, ip->operandA) != 0) == WhenTrue ? ip + ip->value : ip + 1;
}

} // namespace AM_ScriptParts
