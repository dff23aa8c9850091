// Turns an analysed tree into instructions.
//
// Variables that a function shares with its surroundings, and those of the embedder, are in the
// machine's store; all others have a register of their frame for as long as their block runs.
// Intermediate values take the registers above. Arrays are in the frame's elements, or in the
// store, and an integer register holds where they begin.
#pragma once

#include "AM_ScriptHandlers.h"
#include "AM_ScriptMachine.h"
#include "AM_ScriptSyntax.h"

#include <unordered_map>
#include <vector>

// For one tree. Ends with AM_ScriptFailure if registers, elements or instructions run out.
class AM_ScriptGenerator {
public:
    AM_ScriptGenerator(AM_ScriptTree& tree, AM_ScriptMachine& machine);
    AM_ScriptCode run();

private:
    // A value: a constant, or a register.
    struct Operand {
        AM_ScriptType type = k_scriptVoid;
        bool isConstant = false;
        bool isVariable = false; // a register that assignments change
        u8 reg = 0;
        i32 value = 0; // of a constant
        bool isFloat() const { return type == k_scriptFloat; }
    };
    // What can be assigned to.
    struct Place {
        enum Kind : u8 { k_register, k_stored, k_element, k_object };
        Kind kind = k_register;
        AM_ScriptType type = k_scriptInt;
        u8 reg = 0;    // also where an array begins
        i32 value = 0; // place in the store, or handle
        Operand index; // of an element
        u32 length = 1;
        bool inStore = false; // an element
        bool isFloat() const { return type == k_scriptFloat; }
    };
    struct Label {
        i32 at = -1;
        std::vector<u32> uses;
    };
    struct Loop {
        Label* onBreak;
        Label* onContinue;
    };
    // Registers and elements of a frame: those in use, and the most that were. 0 is of integers,
    // 1 of floats.
    struct Room {
        u32 next[2] = {};
        u32 most[2] = {};
    };
    struct Frame {
        Room registers;
        Room elements;
        std::unordered_map<u32, u8> starts; // symbol of an array: register
        AM_ScriptType result = k_scriptVoid;
        bool isFunction = false;
    };
    class Mark;
    class Keep;

    // The frame. `want` below is a register for the result, -1 for any.
    u32 take(Room& room, AM_ScriptType type, u32 count, u32 limit, i32 code, const char* sentence);
    u8 takeRegister(AM_ScriptType type);
    u8 target(AM_ScriptType type, i32 want);
    [[noreturn]] void fail(i32 code, const char* sentence) const;

    // Instructions.
    u32 emit(u8 opcode, AM_ScriptHandler handler, u32 a, u32 b, i32 value, u8 flags = 0);
    u32 emitPlain(u8 opcode, u32 a, u32 b, i32 value);
    void bind(Label& label);
    void goTo(Label& label, u8 opcode = k_opBranch);
    void goToIf(const Operand& condition, bool whenTrue, Label& label);
    void use(Label& label, u32 instruction);

    // Operands.
    Operand constant(AM_ScriptType type, i32 value) const;
    Operand inRegister(AM_ScriptType type, u8 reg) const;
    Operand loaded(const Operand& operand, i32 want = -1);
    Operand converted(const Operand& operand, AM_ScriptType type, i32 want = -1);
    Operand copied(const Operand& operand);
    void moveTo(u8 reg, AM_ScriptType type, const Operand& operand);
    void valueTo(u8 reg, AM_ScriptType type, u32 index);

    // Expressions.
    Operand value(u32 index, i32 want = -1);
    Operand variable(const AM_ScriptNode& at, i32 want);
    Operand prefix(const AM_ScriptNode& at, i32 want);
    Operand count(const AM_ScriptNode& at, i32 want, bool isUsed);
    Operand chain(u32 index, i32 want);
    Operand logical(const AM_ScriptNode& at, i32 want);
    Operand truthOf(bool isAnd, const Operand& first, u32 second, i32 want);
    Operand operation(u8 op, Operand left, Operand right, i32 want);
    Operand conditional(const AM_ScriptNode& at, i32 want);
    bool isPlainVariable(u32 index, AM_ScriptType type) const;
    Operand call(const AM_ScriptNode& at);
    AM_ScriptType parameterType(const AM_ScriptNode& call, u32 nth, AM_ScriptType given) const;
    void discard(u32 index);
    void condition(u32 index, bool whenTrue, Label& label);

    // Assignments.
    Operand index(u32 index);
    Place place(u32 index, bool isKept);
    Place element(const AM_ScriptNode& at);
    Operand load(const Place& from, i32 want = -1, u8 elementOpcode = k_opLoadElement);
    void store(const Place& to, const Operand& from);
    void elementInstruction(const Place& at, u8 opcode, bool writes, u8 reg);
    Operand assign(const AM_ScriptNode& at);
    Operand assignPlain(const Place& to, u32 from);
    Operand assignCompound(const AM_ScriptNode& at, const Place& to);
    Operand assignLogical(const AM_ScriptNode& at, const Place& to);
    void compound(u8 op, u8 reg, AM_ScriptType type, Operand right);

    // Statements.
    void statement(u32 index);
    void statements(u32 first);
    void declaration(const AM_ScriptNode& at);
    void declareArray(const AM_ScriptNode& at, u32 symbol);
    void startArray(const AM_ScriptSymbol& array, u8 reg, bool clears);
    void ifStatement(const AM_ScriptNode& at);
    void loop(const AM_ScriptNode& at);
    void returnStatement(const AM_ScriptNode& at);

    // The whole.
    void storeSymbols();
    void startArrays(const AM_ScriptFunctionNode& function);
    void function(u32 number);
    void outside();
    void close();

    const AM_ScriptNode& node(u32 index) const { return tree.nodes[index]; }
    AM_ScriptSymbol& symbolOf(const AM_ScriptNode& at) {
        return tree.symbols[static_cast<size_t>(at.value)];
    }

    AM_ScriptTree& tree;
    AM_ScriptMachine& machine;
    AM_ScriptCode code;
    Frame frame;
    std::vector<Loop> loops;
    std::vector<u32> spine;
    Label end; // of the text, for its `return`
    i32 line = 1;
};

// The registers in use at one time, and the way back to that.
class AM_ScriptGenerator::Mark {
public:
    explicit Mark(AM_ScriptGenerator& generator)
        : room(generator.frame.registers), ints(room.next[0]), floats(room.next[1]) {}
    void giveBack() {
        room.next[0] = ints;
        room.next[1] = floats;
    }

private:
    Room& room;
    const u32 ints;
    const u32 floats;
};

// Gives the registers back that were taken while it lives.
class AM_ScriptGenerator::Keep {
public:
    explicit Keep(AM_ScriptGenerator& generator) : mark(generator) {}
    ~Keep() { mark.giveBack(); }
    Keep(const Keep&) = delete;
    Keep& operator=(const Keep&) = delete;

private:
    Mark mark;
};
