// Operators applied to constants while compiling.
#pragma once

#include "AM_ScriptSyntax.h"

namespace AM_ScriptFolding {
// A constant: an integer, or the bits of a float.
struct Constant {
    AM_ScriptType type;
    i32 value;
};
// The result of a binary operator, named by the first of its four opcodes.
Constant binary(u8 op, Constant left, Constant right);
// The result of k_opNegate, k_opNot or k_opComplement.
Constant prefix(u8 op, Constant operand);
// The constant as another type.
Constant convert(Constant constant, AM_ScriptType type);
bool isTrue(Constant constant);
} // namespace AM_ScriptFolding
