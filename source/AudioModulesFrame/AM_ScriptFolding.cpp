#include "AM_ScriptFolding.h"

#include "AM_Assert.h"
#include "AM_ScriptArithmetic.h"

#include <bit>

namespace {
using AM_ScriptFolding::Constant;
namespace Ops = AM_ScriptOps;

Constant make(i32 value) {
    return {k_scriptInt, value};
}
Constant make(f32 value) {
    return {k_scriptFloat, std::bit_cast<i32>(value)};
}
f32 floatOf(Constant constant) {
    return std::bit_cast<f32>(constant.value);
}

// Calls `use` with both as what they are.
template <class Use>
Constant withValues(Constant left, Constant right, Use use) {
    if (left.type == k_scriptFloat)
        return right.type == k_scriptFloat ? use(floatOf(left), floatOf(right))
                                           : use(floatOf(left), right.value);
    return right.type == k_scriptFloat ? use(left.value, floatOf(right))
                                       : use(left.value, right.value);
}
template <class Op>
Constant compute(Constant left, Constant right) {
    return withValues(left, right, [](auto a, auto b) { return make(Ops::compute<Op>(a, b)); });
}
} // namespace

namespace AM_ScriptFolding {

Constant binary(u8 op, Constant left, Constant right) {
    switch (op) {
    case k_opMultiply:
        return compute<Ops::Multiply>(left, right);
    case k_opDivide:
        return compute<Ops::Divide>(left, right);
    case k_opModulo:
        return compute<Ops::Modulo>(left, right);
    case k_opAdd:
        return compute<Ops::Add>(left, right);
    case k_opSubtract:
        return compute<Ops::Subtract>(left, right);
    case k_opShiftLeft:
        return compute<Ops::ShiftLeft>(left, right);
    case k_opShiftRight:
        return compute<Ops::ShiftRight>(left, right);
    case k_opLess:
        return compute<Ops::Less>(left, right);
    case k_opLessEqual:
        return compute<Ops::LessEqual>(left, right);
    case k_opGreater:
        return compute<Ops::Greater>(left, right);
    case k_opGreaterEqual:
        return compute<Ops::GreaterEqual>(left, right);
    case k_opEqual:
        return compute<Ops::Equal>(left, right);
    case k_opNotEqual:
        return compute<Ops::NotEqual>(left, right);
    case k_opBitAnd:
        return compute<Ops::BitAnd>(left, right);
    case k_opBitXor:
        return compute<Ops::BitXor>(left, right);
    case k_opBitOr:
        return compute<Ops::BitOr>(left, right);
    case k_opAnd:
        return compute<Ops::And>(left, right);
    case k_opOr:
        return compute<Ops::Or>(left, right);
    default:
        AM_ASSERT(false, "no binary operator");
        return left;
    }
}

Constant prefix(u8 op, Constant operand) {
    if (op == k_opNot) return make(isTrue(operand) ? 0 : 1);
    if (op == k_opComplement) return make(~convert(operand, k_scriptInt).value);
    if (operand.type == k_scriptFloat) return make(-floatOf(operand));
    return make(Ops::Subtract::apply(0, operand.value));
}

Constant convert(Constant constant, AM_ScriptType type) {
    if (constant.type == type) return constant;
    return type == k_scriptFloat ? make(AM_scriptToFloat(constant.value))
                                 : make(AM_scriptToInt(floatOf(constant)));
}

bool isTrue(Constant constant) {
    return constant.type == k_scriptFloat ? floatOf(constant) != 0 : constant.value != 0;
}

} // namespace AM_ScriptFolding
