// The handlers that execute instructions, as the compiler chooses among them: an opcode has one for
// each form in which its operands come.
#pragma once

#include "AM_ScriptOpcodes.h"

#include <vector>

namespace AM_ScriptHandlers {

// End of line, nop, and what else does nothing.
AM_ScriptHandler nothing();
// Jump and branch: on at `value` from here.
AM_ScriptHandler branch();
// On at `value` if register A, a float or an integer, is not 0 or is 0.
AM_ScriptHandler branchIf(bool whenTrue, bool onFloat);
// Calls function `value`, or object function `value`, with windows at A and B.
AM_ScriptHandler call();
AM_ScriptHandler callObject();
// Return of nothing, or of register A.
AM_ScriptHandler returnNothing();
AM_ScriptHandler returnValue(bool isFloat);
// Operators and assignments with two operands (opcodes from 41 on, but no conditional), in one of
// AM_ScriptForm; of the assignments, compound ones alone have k_formConstantRight, none has
// k_formConstantLeft.
AM_ScriptHandler binary(u8 opcode, AM_ScriptForm form);
// "?" by the types of condition and arm and of the result (a float if the arm is one).
AM_ScriptHandler select(bool conditionFloat, bool armFloat, bool resultFloat);
// ":" by the types of both arms.
AM_ScriptHandler selectElse(bool firstFloat, bool secondFloat);
// Where an array of elements lies.
enum Area : u8 { k_ofFrame, k_ofStore };
// Reads or writes an element; the index is register A or, as a constant, A itself.
AM_ScriptHandler element(bool writes, bool isFloat, Area area, bool constantIndex);
// Register A = start of an array at place `value`. With `clears` its elements become 0; their
// number is the `value` of the nop behind it.
AM_ScriptHandler arrayStart(bool isFloat, Area area, bool clears);
// The one handler of any other opcode.
AM_ScriptHandler plain(u8 opcode);

// Gives instructions that are often followed by certain others a handler that executes these, too.
// All stay where they are, so branches into their midst are fine.
void fuse(std::vector<AM_ScriptInstruction>& instructions);

} // namespace AM_ScriptHandlers
