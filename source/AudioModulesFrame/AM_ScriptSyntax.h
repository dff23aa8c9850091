// A script's text as a tree, between parser, analysis and code generation.
#pragma once

#include "AM_IScriptObjects.h"
#include "AM_ScriptLexer.h"
#include "AM_ScriptOpcodes.h"

#include <string>
#include <string_view>
#include <vector>

// Nodes, symbols and functions are named by their index; node 0 is none.
struct AM_ScriptNode {
    enum Kind : u8 {
        // Expressions.
        k_literal,     // value: the integer or the float's bits
        k_variable,    // value: symbol
        k_element,     // value: symbol; a: index
        k_object,      // value: path, then the object's handle
        k_prefix,      // op: k_opNegate, k_opNot or k_opComplement; a
        k_count,       // op: k_opPreIncrement to k_opPostDecrement; a: target
        k_binary,      // op: the first of its four opcodes; a, b
        k_conditional, // a ? b : c
        k_assign,      // op: k_opAssign or the first of a compound's opcodes; a: target; b
        k_call,        // value: path, then the function's number; a: first argument
        k_objectCall,  // value: number in the machine's table; a: first argument
        // Statements.
        k_expressions, // a: first
        k_declare,     // value: symbol; a: value, or first element
        k_block,       // a: first statement
        k_if,          // a: condition; b, c: statements
        k_loop,        // a: first statement; b: condition; c: expressions; d: body
        k_break,
        k_continue,
        k_return // a
    };
    static constexpr u8 k_noticeable = 255;
    // What && and || may evaluate without need.
    static constexpr u8 k_cheap = 8;
    Kind kind = k_literal;
    AM_ScriptType type = k_scriptVoid; // of an expression
    u8 op = 0;
    bool writes = false;    // an assignment is in it
    bool isWritten = false; // a target, which may also be
    bool isRead = true;
    // What evaluating it takes, about; k_noticeable if that has effects or may be logged.
    u8 cost = 0;
    u16 depth = 0; // levels of recursion that it takes
    i32 value = 0;
    i32 line = 0;
    i32 column = 0;
    u32 a = 0, b = 0, c = 0, d = 0;
    u32 next = 0; // in a list
};

struct AM_ScriptSymbol {
    std::string_view name;
    AM_ScriptType type = k_scriptInt;
    bool isArray = false;
    bool isStored = false; // in the machine's store, at `place`, not in a frame
    u32 length = 1;
    i32 function = -1; // where it is declared; -1 for outside of all
    u32 scope = 0;
    u32 hides = 0; // the symbol that it hides, plus 1
    i32 place = -1;
    bool notedOutside = false; // in the arrays of what is outside of functions
    i32 notedIn = -1;          // the latest function that has it in its arrays
};

struct AM_ScriptFunctionNode {
    AM_ScriptToken name;
    AM_ScriptType result = k_scriptVoid;
    std::vector<u32> parameters; // symbols
    u32 body = 0;
    std::vector<u32> arrays; // symbols of arrays declared outside that it uses
};

struct AM_ScriptTree {
    std::vector<AM_ScriptNode> nodes{1};
    std::vector<AM_ScriptSymbol> symbols;
    std::vector<AM_ScriptFunctionNode> functions;
    std::vector<std::string> paths;
    AM_ScriptFunctionNode outside; // what is not in a function
    i32 lastLine = 1;
};

// An operator of the chains that every step walks without recursion, however long they are.
inline bool AM_scriptIsChained(const AM_ScriptNode& node) {
    return node.kind == AM_ScriptNode::k_binary && node.op < k_opAnd;
}

// A token at the place of a node, for sentences about it.
inline AM_ScriptToken AM_scriptPlace(const AM_ScriptNode& node) {
    AM_ScriptToken token;
    token.line = node.line;
    token.column = node.column;
    return token;
}
