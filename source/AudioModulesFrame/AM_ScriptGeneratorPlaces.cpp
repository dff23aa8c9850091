// What can be assigned to, and assignments.
#include "AM_ScriptFolding.h"
#include "AM_ScriptGenerator.h"

namespace {
using Node = AM_ScriptNode;

constexpr u8 k_firstOfBits = k_opCompound + 20; // &=
constexpr u8 k_andAssign = k_opCompound + 40;
constexpr i32 k_maxConstantIndex = 255; // fits into an operand
} // namespace

// An index as an integer; one that is an element of an array itself has an opcode of its own.
AM_ScriptGenerator::Operand AM_ScriptGenerator::index(u32 from) {
    const Node& at = node(from);
    if (at.kind == Node::k_element && at.type == k_scriptInt)
        return load(element(at), -1, k_opLoadIndex);
    return converted(value(from), k_scriptInt);
}

AM_ScriptGenerator::Place AM_ScriptGenerator::element(const AM_ScriptNode& at) {
    const AM_ScriptSymbol& array = symbolOf(at);
    Place made;
    made.kind = Place::k_element;
    made.type = array.type;
    made.length = array.length;
    made.inStore = array.isStored;
    made.reg = frame.starts.at(static_cast<u32>(at.value));
    made.index = index(at.a);
    line = at.line;
    const bool fits = made.index.value >= 0 && made.index.value <= k_maxConstantIndex;
    if (made.index.isConstant && !fits) made.index = loaded(made.index);
    return made;
}

// With `isKept`, what follows may change the variable that an index is.
AM_ScriptGenerator::Place AM_ScriptGenerator::place(u32 from, bool isKept) {
    const Node& at = node(from);
    if (at.kind == Node::k_element) {
        Place made = element(at);
        if (isKept && made.index.isVariable) {
            const u8 reg = takeRegister(k_scriptInt);
            emitPlain(k_opCopyIndex, made.index.reg, 0, reg);
            made.index = inRegister(k_scriptInt, reg);
        }
        return made;
    }
    Place made;
    made.type = at.type;
    if (at.kind == Node::k_object) {
        made.kind = Place::k_object;
        made.value = at.value;
        return made;
    }
    const AM_ScriptSymbol& symbol = symbolOf(at);
    made.kind = symbol.isStored ? Place::k_stored : Place::k_register;
    made.value = symbol.place;
    if (!symbol.isStored) made.reg = static_cast<u8>(symbol.place);
    return made;
}

void AM_ScriptGenerator::elementInstruction(const Place& at, u8 opcode, bool writes, u8 reg) {
    const auto area = at.inStore ? AM_ScriptHandlers::k_ofStore : AM_ScriptHandlers::k_ofFrame;
    emit(opcode, AM_ScriptHandlers::element(writes, at.isFloat(), area, at.index.isConstant),
         at.index.isConstant ? static_cast<u32>(at.index.value) : at.index.reg, at.reg,
         static_cast<i32>(reg | at.length << 8));
}

// Into `want` or a new register; a variable that has one stays there.
AM_ScriptGenerator::Operand AM_ScriptGenerator::load(const Place& from, i32 want,
                                                     u8 elementOpcode) {
    if (from.kind == Place::k_register) {
        Operand made = inRegister(from.type, from.reg);
        made.isVariable = true;
        return made;
    }
    const u8 reg = target(from.type, want);
    const u8 second = from.isFloat() ? 0 : 1;
    if (from.kind == Place::k_stored)
        emitPlain(k_opLoad + second, reg, 0, from.value);
    else if (from.kind == Place::k_object)
        emitPlain(k_opLoadObject + second, reg, 0, from.value);
    else
        elementInstruction(from,
                           elementOpcode == k_opLoadIndex ? elementOpcode
                                                          : static_cast<u8>(elementOpcode + second),
                           false, reg);
    return inRegister(from.type, reg);
}

// From a register, of the place's type.
void AM_ScriptGenerator::store(const Place& to, const Operand& from) {
    const u8 second = to.isFloat() ? 0 : 1;
    if (to.kind == Place::k_register) {
        moveTo(to.reg, to.type, from);
    } else if (to.kind == Place::k_stored) {
        emitPlain(k_opStore + second, from.reg, 0, to.value);
    } else if (to.kind == Place::k_object) {
        emitPlain(k_opStoreObject + second, from.reg, 0, to.value);
    } else {
        Place at = to;
        if (at.index.isConstant && at.index.value > k_maxConstantIndex) at.index = loaded(at.index);
        elementInstruction(at, k_opStoreElement + second, true, from.reg);
    }
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::count(const AM_ScriptNode& at, i32 want,
                                                      bool isUsed) {
    const bool isPost = at.op >= k_opPostIncrement && isUsed;
    const bool isUp = at.op == k_opPreIncrement || at.op == k_opPostIncrement;
    const Place to = place(at.a, false);
    const u8 second = to.isFloat() ? 0 : 1;
    const Operand now = load(to);
    Operand result = now;
    if (isPost) {
        const u8 reg = target(to.type, to.kind == Place::k_register ? want : -1);
        emitPlain((isUp ? k_opPostIncrement : k_opPostDecrement) + second, now.reg, 0, reg);
        result = inRegister(to.type, reg);
    } else {
        emitPlain((isUp ? k_opPreIncrement : k_opPreDecrement) + second, now.reg, 0, 0);
    }
    if (to.kind != Place::k_register) store(to, now);
    return result;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::assign(const AM_ScriptNode& at) {
    const Place to = place(at.a, node(at.b).writes);
    if (at.op == k_opAssign) return assignPlain(to, at.b);
    if (at.op >= k_andAssign && node(at.b).cost > Node::k_cheap) return assignLogical(at, to);
    return assignCompound(at, to);
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::assignPlain(const Place& to, u32 from) {
    if (to.kind == Place::k_register) {
        valueTo(to.reg, to.type, from);
        return load(to);
    }
    const Operand assigned = loaded(converted(value(from), to.type));
    store(to, assigned);
    return assigned;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::assignCompound(const AM_ScriptNode& at,
                                                               const Place& to) {
    Operand now = load(to);
    // The old value counts, also if the right side changes the variable.
    if (node(at.b).writes) now = copied(now);
    compound(at.op, now.reg, to.type, value(at.b));
    if (now.isVariable) return now;
    store(to, now);
    return now;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::assignLogical(const AM_ScriptNode& at,
                                                              const Place& to) {
    const Operand truth = truthOf(at.op == k_andAssign, load(to), at.b, -1);
    const Operand assigned = converted(truth, to.type);
    store(to, assigned);
    return assigned;
}

void AM_ScriptGenerator::compound(u8 op, u8 reg, AM_ScriptType type, Operand right) {
    const bool isOfBits = op >= k_firstOfBits && op < k_andAssign;
    if (right.isConstant && isOfBits) right = converted(right, k_scriptInt);
    if (right.isConstant && !isOfBits && type == k_scriptFloat)
        right = converted(right, k_scriptFloat);
    const u8 opcode = AM_opcodeFor(op, type == k_scriptFloat, right.isFloat());
    if (right.isConstant)
        emit(opcode, AM_ScriptHandlers::binary(opcode, k_formConstantRight), reg, 0, right.value,
             k_flagConstant);
    else
        emit(opcode, AM_ScriptHandlers::binary(opcode, k_formRegisters), reg, right.reg, 0);
}
