// Expressions and conditions.
#include "AM_ScriptFolding.h"
#include "AM_ScriptGenerator.h"

namespace {
using Node = AM_ScriptNode;

// Whether a binary operator converts its operands to integers.
bool isOfBits(u8 op) {
    return op == k_opShiftLeft || op == k_opShiftRight || op == k_opBitAnd || op == k_opBitXor ||
           op == k_opBitOr;
}
} // namespace

// --- Operands.

AM_ScriptGenerator::Operand AM_ScriptGenerator::constant(AM_ScriptType type, i32 value) const {
    Operand made;
    made.type = type;
    made.isConstant = true;
    made.value = value;
    return made;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::inRegister(AM_ScriptType type, u8 reg) const {
    Operand made;
    made.type = type;
    made.reg = reg;
    return made;
}

// The operand in a register.
AM_ScriptGenerator::Operand AM_ScriptGenerator::loaded(const Operand& operand, i32 want) {
    if (!operand.isConstant) return operand;
    const u8 reg = target(operand.type, want);
    emitPlain(k_opLoadConstant + (operand.isFloat() ? 0 : 1), reg, 0, operand.value);
    return inRegister(operand.type, reg);
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::converted(const Operand& operand,
                                                          AM_ScriptType type, i32 want) {
    if (operand.type == type) return operand;
    if (operand.isConstant)
        return constant(type, AM_ScriptFolding::convert({operand.type, operand.value}, type).value);
    const u8 reg = target(type, want);
    emitPlain(type == k_scriptFloat ? k_opIntToFloat : k_opFloatToInt, operand.reg, 0, reg);
    return inRegister(type, reg);
}

// The operand as it is now, in a register that no assignment changes.
AM_ScriptGenerator::Operand AM_ScriptGenerator::copied(const Operand& operand) {
    if (!operand.isVariable) return operand;
    const u8 reg = takeRegister(operand.type);
    emitPlain(operand.isFloat() ? k_opMoveFloat : k_opMoveInt, operand.reg, 0, reg);
    return inRegister(operand.type, reg);
}

// Assigns to a register.
void AM_ScriptGenerator::moveTo(u8 reg, AM_ScriptType type, const Operand& operand) {
    if (operand.isConstant) {
        loaded(converted(operand, type), reg);
        return;
    }
    if (operand.type == type && operand.reg == reg) return;
    emitPlain(AM_opcodeFor(k_opAssign, type == k_scriptFloat, operand.isFloat()), reg, operand.reg,
              0);
}

void AM_ScriptGenerator::valueTo(u8 reg, AM_ScriptType type, u32 index) {
    moveTo(reg, type, value(index, node(index).type == type ? reg : -1));
}

// --- Expressions.

AM_ScriptGenerator::Operand AM_ScriptGenerator::value(u32 index, i32 want) {
    const Node& at = node(index);
    switch (at.kind) {
    case Node::k_literal:
        return constant(at.type, at.value);
    case Node::k_variable:
        return variable(at, want);
    case Node::k_element:
    case Node::k_object: {
        Mark mark(*this);
        const Place from = place(index, false);
        mark.giveBack();
        return load(from, want);
    }
    case Node::k_prefix:
        return prefix(at, want);
    case Node::k_count:
        return count(at, want, true);
    case Node::k_binary:
        return AM_scriptIsChained(at) ? chain(index, want) : logical(at, want);
    case Node::k_conditional:
        return conditional(at, want);
    case Node::k_assign:
        return assign(at);
    default:
        return call(at);
    }
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::variable(const AM_ScriptNode& at, i32 want) {
    const AM_ScriptSymbol& symbol = symbolOf(at);
    if (symbol.isStored) {
        const u8 reg = target(symbol.type, want);
        emitPlain(k_opLoad + (symbol.type == k_scriptFloat ? 0 : 1), reg, 0, symbol.place);
        return inRegister(symbol.type, reg);
    }
    Operand made = inRegister(symbol.type, static_cast<u8>(symbol.place));
    made.isVariable = true;
    return made;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::prefix(const AM_ScriptNode& at, i32 want) {
    if (at.op == k_opMoveFloat) return value(at.a, want);
    Mark mark(*this);
    const Operand operand = value(at.a);
    if (operand.isConstant) {
        const auto result = AM_ScriptFolding::prefix(at.op, {operand.type, operand.value});
        return constant(result.type, result.value);
    }
    mark.giveBack();
    const u8 reg = target(at.type, want);
    emitPlain(static_cast<u8>(at.op + (operand.isFloat() ? 0 : 1)), operand.reg, 0, reg);
    return inRegister(at.type, reg);
}

// Operators from the left, each on the result of those before it.
AM_ScriptGenerator::Operand AM_ScriptGenerator::chain(u32 index, i32 want) {
    Mark mark(*this);
    const size_t base = spine.size();
    u32 first = index;
    for (; AM_scriptIsChained(node(first)); first = node(first).a)
        spine.push_back(first);
    Operand left = value(first);
    while (spine.size() > base) {
        const Node& at = node(spine.back());
        spine.pop_back();
        if (node(at.b).writes) left = copied(left);
        const Operand right = value(at.b);
        mark.giveBack();
        left = operation(at.op, left, right, spine.size() == base ? want : -1);
    }
    return left;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::operation(u8 op, Operand left, Operand right,
                                                          i32 want) {
    if (left.isConstant && right.isConstant) {
        const auto result =
            AM_ScriptFolding::binary(op, {left.type, left.value}, {right.type, right.value});
        return constant(result.type, result.value);
    }
    const AM_ScriptType operandType =
        !isOfBits(op) && (left.isFloat() || right.isFloat()) ? k_scriptFloat : k_scriptInt;
    if (left.isConstant) left = converted(left, operandType);
    if (right.isConstant) right = converted(right, operandType);
    const AM_ScriptType type = op < k_opShiftLeft ? operandType : k_scriptInt;
    const u8 result = target(type, want);
    const u8 opcode = AM_opcodeFor(op, left.isFloat(), right.isFloat());
    if (left.isConstant)
        emit(opcode, AM_ScriptHandlers::binary(opcode, k_formConstantLeft), right.reg, result,
             left.value, k_flagConstant);
    else if (right.isConstant)
        emit(opcode, AM_ScriptHandlers::binary(opcode, k_formConstantRight), left.reg, result,
             right.value, k_flagConstant);
    else
        emit(opcode, AM_ScriptHandlers::binary(opcode, k_formRegisters), left.reg, right.reg,
             result);
    return inRegister(type, result);
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::logical(const AM_ScriptNode& at, i32 want) {
    Mark mark(*this);
    const Operand first = value(at.a);
    if (node(at.b).cost <= Node::k_cheap) {
        const Operand second = value(at.b);
        mark.giveBack();
        return operation(at.op, first, second, want);
    }
    return truthOf(at.op == k_opAnd, first, at.b, want);
}

// Of && and ||: 1 or 0, without evaluating the second where the first decides.
AM_ScriptGenerator::Operand AM_ScriptGenerator::truthOf(bool isAnd, const Operand& first,
                                                        u32 second, i32 want) {
    Label decided;
    Label behind;
    goToIf(loaded(first), !isAnd, decided);
    condition(second, !isAnd, decided);
    const u8 reg = target(k_scriptInt, want);
    loaded(constant(k_scriptInt, isAnd ? 1 : 0), reg);
    goTo(behind);
    bind(decided);
    loaded(constant(k_scriptInt, isAnd ? 0 : 1), reg);
    bind(behind);
    return inRegister(k_scriptInt, reg);
}

bool AM_ScriptGenerator::isPlainVariable(u32 index, AM_ScriptType type) const {
    const Node& at = node(index);
    return at.kind == Node::k_variable && at.type == type &&
           !tree.symbols[static_cast<size_t>(at.value)].isStored;
}

AM_ScriptGenerator::Operand AM_ScriptGenerator::conditional(const AM_ScriptNode& at, i32 want) {
    const u8 result = target(at.type, want);
    Mark mark(*this);
    // Registers are there anyway; anything else is evaluated only if it is wanted.
    if (isPlainVariable(at.b, node(at.b).type) && isPlainVariable(at.c, node(at.c).type)) {
        const Operand test = loaded(value(at.a));
        const Operand first = value(at.b);
        const Operand second = value(at.c);
        emit(AM_opcodeFor(k_opSelect, test.isFloat(), first.isFloat()),
             AM_ScriptHandlers::select(test.isFloat(), first.isFloat(), at.type == k_scriptFloat),
             test.reg, first.reg, result);
        emit(AM_opcodeFor(k_opSelectElse, first.isFloat(), second.isFloat()),
             AM_ScriptHandlers::selectElse(first.isFloat(), second.isFloat()), first.reg,
             second.reg, result);
        mark.giveBack();
        return inRegister(at.type, result);
    }
    Label otherwise;
    Label behind;
    condition(at.a, false, otherwise);
    mark.giveBack();
    valueTo(result, at.type, at.b);
    goTo(behind);
    bind(otherwise);
    mark.giveBack();
    valueTo(result, at.type, at.c);
    mark.giveBack();
    bind(behind);
    return inRegister(at.type, result);
}

AM_ScriptType AM_ScriptGenerator::parameterType(const AM_ScriptNode& at, u32 nth,
                                                AM_ScriptType given) const {
    if (at.kind == Node::k_objectCall) {
        const char kind = machine.objectFunction(at.value).signature[nth + 1];
        if (kind == 'f') return k_scriptFloat;
        return kind == 'i' ? k_scriptInt : given;
    }
    const u32 number = static_cast<u32>(at.value);
    if (number < machine.functionCount()) return machine.function(at.value).parameters[nth];
    const AM_ScriptFunctionNode& called = tree.functions[number - machine.functionCount()];
    return tree.symbols[called.parameters[nth]].type;
}

// The arguments are the first registers of the called function's windows, and so is its result.
AM_ScriptGenerator::Operand AM_ScriptGenerator::call(const AM_ScriptNode& at) {
    Mark mark(*this);
    const u8 floats = takeRegister(k_scriptFloat);
    const u8 ints = takeRegister(k_scriptInt);
    mark.giveBack();
    u32 nth = 0;
    for (u32 argument = at.a; argument != 0; argument = node(argument).next, ++nth) {
        const AM_ScriptType type = parameterType(at, nth, node(argument).type);
        const u8 reg = takeRegister(type);
        const Keep temporaries(*this);
        valueTo(reg, type, argument);
    }
    line = at.line;
    emit(k_opCall,
         at.kind == Node::k_objectCall ? AM_ScriptHandlers::callObject()
                                       : AM_ScriptHandlers::call(),
         floats, ints, at.value);
    mark.giveBack();
    return inRegister(at.type, at.type == k_scriptVoid ? u8{0} : takeRegister(at.type));
}

// An expression whose value isn't used.
void AM_ScriptGenerator::discard(u32 index) {
    const Node& at = node(index);
    if (at.kind == Node::k_count)
        count(at, -1, false);
    else
        value(index);
}

// --- Conditions.

// Goes to `label` if the expression is true, or if it is false.
void AM_ScriptGenerator::condition(u32 index, bool whenTrue, Label& label) {
    const Node& at = node(index);
    const bool isLogical = at.kind == Node::k_binary && at.op >= k_opAnd;
    if (at.kind == Node::k_prefix && at.op == k_opNot) {
        condition(at.a, !whenTrue, label);
    } else if (isLogical && (at.op == k_opAnd) != whenTrue) {
        // Either of them leads there.
        condition(at.a, whenTrue, label);
        condition(at.b, whenTrue, label);
    } else if (isLogical) {
        Label behind;
        condition(at.a, !whenTrue, behind);
        condition(at.b, whenTrue, label);
        bind(behind);
    } else {
        const Keep keep(*this);
        const Operand test = value(index);
        if (!test.isConstant)
            goToIf(test, whenTrue, label);
        else if (AM_ScriptFolding::isTrue({test.type, test.value}) == whenTrue)
            goTo(label);
    }
}
