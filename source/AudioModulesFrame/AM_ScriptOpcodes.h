// The numbers, texts, kinds and precedences of the script machine's instructions.
#pragma once

#include "AM_Types.h"

#include <string_view>

class AM_ScriptMachine;
struct AM_ScriptInstruction;

// Executes the instruction at `ip` and returns the next one to run.
using AM_ScriptHandler = const AM_ScriptInstruction* (*)(AM_ScriptMachine& machine,
                                                         const AM_ScriptInstruction* ip);

// One instruction.
struct AM_ScriptInstruction {
    u8 flags = 0;    // k_flagClosing, k_flagConstant, and in the low four bits how many of the next
                     // instructions the handler executes together with this one
    u8 operandB = 0; // register indices
    u8 operandA = 0;
    u8 opcode = 0;
    i32 value = 0; // line number, branch distance, constant, place or register, by the opcode
    AM_ScriptHandler handler = nullptr; // null means there is no instruction here
};
inline constexpr u8 k_flagClosing = 0x10;
inline constexpr u8 k_flagConstant = 0x20; // of a binary operator: `value` is an operand
inline constexpr u8 k_flagFusedMask = 0x0f;

// What an operator wants of an operand.
enum AM_ScriptOperandKind : i32 {
    k_operandNone = 0,
    k_operandValue = 1,
    k_operandTarget = 2,
    k_operandTargetRead = 3,
    k_operandIncrement = 4
};

// A row of the opcode table.
struct AM_ScriptOpcode {
    i32 opcode;
    i32 leftKind; // AM_ScriptOperandKind
    i32 rightKind;
    i32 precedence; // low values bind tighter; 0 where there is no operator
    AM_ScriptHandler handler;
    char text[32];
};

// Opcodes that the compiler names one by one. Operators with four rows are named by the first,
// which takes two floats; AM_opcodeFor finds the others.
enum AM_ScriptOpcodeNumber : u8 {
    k_opEndOfLine = 0,
    k_opStop = 1,
    k_opNop = 2,
    k_opJump = 3,
    k_opBranch = 4,
    k_opBranchTrue = 5,
    k_opBranchFalse = 6,
    k_opCall = 7,
    k_opReturn = 8,
    k_opLoad = 9, // f; the next one is i, as with all pairs here
    k_opLoadElement = 11,
    k_opLoadConstant = 13,
    k_opLoadObject = 15,
    k_opStore = 17,
    k_opStoreElement = 19,
    k_opStoreObject = 21,
    k_opCopyIndex = 23,
    k_opLoadIndex = 24,
    k_opPreIncrement = 25,
    k_opPreDecrement = 27,
    k_opNegate = 29,
    k_opNot = 31,
    k_opComplement = 33,
    k_opArrayStart = 35,
    k_opMoveFloat = 37,
    k_opMoveInt = 38,
    k_opIntToFloat = 39,
    k_opFloatToInt = 40,
    k_opMultiply = 41,
    k_opDivide = 45,
    k_opModulo = 49,
    k_opAdd = 53,
    k_opSubtract = 57,
    k_opShiftLeft = 61,
    k_opShiftRight = 65,
    k_opLess = 69,
    k_opLessEqual = 73,
    k_opGreater = 77,
    k_opGreaterEqual = 81,
    k_opEqual = 85,
    k_opNotEqual = 89,
    k_opBitAnd = 93,
    k_opBitXor = 97,
    k_opBitOr = 101,
    k_opAnd = 105,
    k_opOr = 109,
    k_opSelect = 113,     // "?"
    k_opSelectElse = 117, // ":"
    k_opPostIncrement = 121,
    k_opPostDecrement = 123,
    k_opAssign = 125,
    k_opCompound = 129, // +=, then in steps of four -= *= /= mod= &= ^= |= <<= >>= &&= ||=
    k_opCount = 177
};

// The table, indexed by the opcode number.
const AM_ScriptOpcode& AM_scriptOpcode(u32 opcode);

// Row of an operator with four rows for these operands: f f, i i, f i, i f.
constexpr u8 AM_opcodeFor(u32 first, bool leftFloat, bool rightFloat) {
    return static_cast<u8>(first + (leftFloat ? (rightFloat ? 0u : 2u) : (rightFloat ? 3u : 1u)));
}

// Where the operands of an instruction are. The same opcode has a handler for each form it comes
// in.
enum AM_ScriptForm : u8 {
    k_formRegisters,     // binary operators: A, B, result in the register `value`
    k_formConstantRight, // A and the constant `value`, result in B
    k_formConstantLeft,  // the constant `value` and A, result in B
    k_formCount
};
