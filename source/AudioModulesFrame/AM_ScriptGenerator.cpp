// Registers, instructions, statements and functions; AM_ScriptGeneratorValues.cpp has expressions.
#include "AM_ScriptGenerator.h"

#include <algorithm>
#include <utility>

namespace {
using Node = AM_ScriptNode;

u32 kindOf(AM_ScriptType type) {
    return type == k_scriptFloat ? 1 : 0;
}
} // namespace

AM_ScriptGenerator::AM_ScriptGenerator(AM_ScriptTree& tree, AM_ScriptMachine& machine)
    : tree(tree), machine(machine) {
}

AM_ScriptCode AM_ScriptGenerator::run() {
    storeSymbols();
    if (!tree.functions.empty()) {
        Label start;
        goTo(start, k_opJump);
        for (u32 number = 0; number < tree.functions.size(); ++number)
            function(number);
        bind(start);
    }
    outside();
    close();
    AM_ScriptHandlers::fuse(code.instructions);
    return std::move(code);
}

void AM_ScriptGenerator::storeSymbols() {
    for (AM_ScriptSymbol& symbol : tree.symbols) {
        if (!symbol.isStored || symbol.place >= 0) continue;
        symbol.place = machine.addStore(symbol.type, symbol.length);
        if (symbol.place < 0)
            fail(k_scriptMemory, "expected fewer or smaller variables, the store is full");
    }
}

void AM_ScriptGenerator::function(u32 number) {
    const AM_ScriptFunctionNode& from = tree.functions[number];
    frame = {};
    frame.result = from.result;
    frame.isFunction = true;
    AM_ScriptFunction made;
    made.name = std::string(from.name.text);
    made.result = from.result;
    made.entry = static_cast<u32>(code.instructions.size());
    line = from.name.line;
    for (const u32 parameter : from.parameters) {
        AM_ScriptSymbol& symbol = tree.symbols[parameter];
        symbol.place = takeRegister(symbol.type);
        made.parameters.push_back(symbol.type);
    }
    startArrays(from);
    statement(from.body);
    if (from.result != k_scriptVoid) {
        // The end without `return`.
        moveTo(0, from.result, constant(from.result, 0));
    }
    emit(k_opReturn, AM_ScriptHandlers::returnNothing(), 0, 0, 0);
    made.frameFloats = frame.elements.most[1];
    made.frameInts = frame.elements.most[0];
    code.functions.push_back(std::move(made));
}

void AM_ScriptGenerator::outside() {
    frame = {};
    startArrays(tree.outside);
    statement(tree.outside.body);
    bind(end);
    code.frameFloats = frame.elements.most[1];
    code.frameInts = frame.elements.most[0];
}

// Arrays of the store are looked up once a call.
void AM_ScriptGenerator::startArrays(const AM_ScriptFunctionNode& user) {
    for (const u32 index : user.arrays) {
        const AM_ScriptSymbol& array = tree.symbols[index];
        if (!array.isStored) continue;
        const u8 reg = takeRegister(k_scriptInt);
        frame.starts[index] = reg;
        startArray(array, reg, false);
    }
}

void AM_ScriptGenerator::close() {
    line = tree.lastLine;
    emit(k_opEndOfLine, AM_ScriptHandlers::nothing(), 0, 0, line, k_flagClosing);
    emit(k_opStop, nullptr, 0, 0, 0, k_flagClosing);
}

void AM_ScriptGenerator::fail(i32 reason, const char* sentence) const {
    AM_ScriptToken place;
    place.line = line;
    AM_scriptFail(reason, place, sentence);
}

u32 AM_ScriptGenerator::take(Room& room, AM_ScriptType type, u32 count, u32 limit, i32 reason,
                             const char* sentence) {
    const u32 kind = kindOf(type);
    const u32 first = room.next[kind];
    if (count > limit - first) fail(reason, sentence);
    room.next[kind] = first + count;
    room.most[kind] = std::max(room.most[kind], room.next[kind]);
    return first;
}

u8 AM_ScriptGenerator::takeRegister(AM_ScriptType type) {
    return static_cast<u8>(
        take(frame.registers, type, 1, k_scriptRegisters, k_scriptTooManyValues,
             "expected fewer values at the same time, a frame has 256 registers of each type"));
}

u8 AM_ScriptGenerator::target(AM_ScriptType type, i32 want) {
    return want >= 0 ? static_cast<u8>(want) : takeRegister(type);
}

// --- Instructions.

u32 AM_ScriptGenerator::emit(u8 opcode, AM_ScriptHandler handler, u32 a, u32 b, i32 value,
                             u8 flags) {
    if (code.instructions.size() + machine.getCode().size() >= k_maxScriptCode)
        fail(k_scriptCodeFull, "expected a shorter text, there is room for 1000000 instructions");
    code.instructions.push_back(
        {flags, static_cast<u8>(b), static_cast<u8>(a), opcode, value, handler});
    code.lines.push_back(line);
    return static_cast<u32>(code.instructions.size() - 1);
}

u32 AM_ScriptGenerator::emitPlain(u8 opcode, u32 a, u32 b, i32 value) {
    return emit(opcode, AM_ScriptHandlers::plain(opcode), a, b, value);
}

void AM_ScriptGenerator::bind(Label& label) {
    label.at = static_cast<i32>(code.instructions.size());
    for (const u32 at : label.uses)
        code.instructions[at].value = label.at - static_cast<i32>(at);
}

void AM_ScriptGenerator::use(Label& label, u32 at) {
    if (label.at < 0)
        label.uses.push_back(at);
    else
        code.instructions[at].value = label.at - static_cast<i32>(at);
}

void AM_ScriptGenerator::goTo(Label& label, u8 opcode) {
    use(label, emit(opcode, AM_ScriptHandlers::branch(), 0, 0, 0));
}

void AM_ScriptGenerator::goToIf(const Operand& operand, bool whenTrue, Label& label) {
    const u8 opcode = whenTrue ? k_opBranchTrue : k_opBranchFalse;
    const AM_ScriptHandler handler = AM_ScriptHandlers::branchIf(whenTrue, operand.isFloat());
    use(label, emit(opcode, handler, operand.reg, 0, 0));
}

// --- Statements.

void AM_ScriptGenerator::statements(u32 first) {
    for (u32 at = first; at != 0; at = node(at).next)
        statement(at);
}

void AM_ScriptGenerator::statement(u32 index) {
    if (index == 0) return;
    const Node& at = node(index);
    line = at.line;
    switch (at.kind) {
    case Node::k_block: {
        const Keep keep(*this);
        const Room elements = frame.elements;
        statements(at.a);
        std::copy(std::begin(elements.next), std::end(elements.next), frame.elements.next);
        break;
    }
    case Node::k_expressions:
        statements(at.a);
        break;
    case Node::k_declare:
        declaration(at);
        break;
    case Node::k_if:
        ifStatement(at);
        break;
    case Node::k_loop: {
        const Keep keep(*this);
        const Room elements = frame.elements;
        loop(at);
        std::copy(std::begin(elements.next), std::end(elements.next), frame.elements.next);
        break;
    }
    case Node::k_break:
        goTo(*loops.back().onBreak, k_opJump);
        break;
    case Node::k_continue:
        goTo(*loops.back().onContinue, k_opJump);
        break;
    case Node::k_return:
        returnStatement(at);
        break;
    default: {
        const Keep keep(*this);
        discard(index);
    }
    }
}

void AM_ScriptGenerator::declaration(const AM_ScriptNode& at) {
    AM_ScriptSymbol& symbol = symbolOf(at);
    if (symbol.isArray) {
        declareArray(at, static_cast<u32>(at.value));
        return;
    }
    if (symbol.isStored) {
        const Keep keep(*this);
        const Operand first =
            at.a != 0 ? converted(value(at.a), symbol.type) : constant(symbol.type, 0);
        Place to;
        to.kind = Place::k_stored;
        to.type = symbol.type;
        to.value = symbol.place;
        store(to, loaded(first));
        return;
    }
    const u8 reg = takeRegister(symbol.type);
    symbol.place = reg;
    const Keep keep(*this);
    if (at.a != 0)
        valueTo(reg, symbol.type, at.a);
    else
        moveTo(reg, symbol.type, constant(symbol.type, 0));
}

void AM_ScriptGenerator::declareArray(const AM_ScriptNode& at, u32 number) {
    AM_ScriptSymbol& array = tree.symbols[number];
    if (!array.isStored) {
        array.place = static_cast<i32>(
            take(frame.elements, array.type, array.length, k_maxScriptArray, k_scriptMemory,
                 "expected smaller arrays, a frame has room for 65536 elements of each type"));
        frame.starts[number] = takeRegister(k_scriptInt);
    }
    Place to;
    to.kind = Place::k_element;
    to.type = array.type;
    to.reg = frame.starts[number];
    to.length = array.length;
    to.inStore = array.isStored;
    startArray(array, to.reg, true);
    i32 nth = 0;
    for (u32 element = at.a; element != 0; element = node(element).next, ++nth) {
        const Keep keep(*this);
        line = node(element).line;
        to.index = constant(k_scriptInt, nth);
        store(to, loaded(converted(value(element), array.type)));
    }
}

void AM_ScriptGenerator::startArray(const AM_ScriptSymbol& array, u8 reg, bool clears) {
    const bool isFloat = array.type == k_scriptFloat;
    const auto area = array.isStored ? AM_ScriptHandlers::k_ofStore : AM_ScriptHandlers::k_ofFrame;
    emit(k_opArrayStart + (isFloat ? 0 : 1), AM_ScriptHandlers::arrayStart(isFloat, area, clears),
         reg, 0, array.place);
    if (clears) emitPlain(k_opNop, 0, 0, static_cast<i32>(array.length));
}

void AM_ScriptGenerator::ifStatement(const AM_ScriptNode& at) {
    Label otherwise;
    {
        const Keep keep(*this);
        condition(at.a, false, otherwise);
    }
    statement(at.b);
    if (at.c == 0) {
        bind(otherwise);
        return;
    }
    Label behind;
    goTo(behind);
    bind(otherwise);
    statement(at.c);
    bind(behind);
}

// The condition stands behind the body, so that a turn has one branch.
void AM_ScriptGenerator::loop(const AM_ScriptNode& at) {
    Label body;
    Label next;
    Label test;
    Label behind;
    statement(at.a);
    if (at.b != 0) goTo(test);
    loops.push_back({&behind, &next});
    bind(body);
    statement(at.d);
    loops.pop_back();
    bind(next);
    statement(at.c);
    bind(test);
    line = at.line;
    const Keep keep(*this);
    if (at.b != 0)
        condition(at.b, true, body);
    else
        goTo(body);
    bind(behind);
}

void AM_ScriptGenerator::returnStatement(const AM_ScriptNode& at) {
    const Keep keep(*this);
    if (!frame.isFunction) {
        goTo(end, k_opJump);
    } else if (at.a == 0) {
        emit(k_opReturn, AM_ScriptHandlers::returnNothing(), 0, 0, 0);
    } else {
        const Operand result = loaded(converted(value(at.a), frame.result));
        emit(k_opReturn, AM_ScriptHandlers::returnValue(result.isFloat()), result.reg, 0, 0);
    }
}
