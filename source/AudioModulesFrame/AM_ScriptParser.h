// Turns a script's text into a tree. Names of variables are looked up here, calls and objects
// later.
#pragma once

#include "AM_PScript.h"
#include "AM_ScriptLexer.h"
#include "AM_ScriptSyntax.h"

#include <string_view>
#include <unordered_map>

inline constexpr i32 k_maxScriptNesting = 200;

// For one text. Ends with AM_ScriptFailure at the first error.
class AM_ScriptParser {
public:
    AM_ScriptParser(std::string_view text, i32 line, const AM_ScriptVariables& shared);
    AM_ScriptTree parse();

private:
    class Nesting;
    class Scope;

    // Tokens.
    void advance();
    bool accept(std::string_view sign);
    void expect(std::string_view sign, std::string_view where);
    [[noreturn]] void failHere(i32 code, std::string_view expected) const;
    bool atType() const;
    AM_ScriptType takeType();
    AM_ScriptToken takeName(std::string_view what);

    // Nodes.
    u32 make(AM_ScriptNode::Kind kind, const AM_ScriptToken& place);
    u32 makeLiteral(const AM_ScriptToken& place, AM_ScriptType type, i32 value);
    u32 makeBinary(const AM_ScriptToken& place, u8 op, u32 left, u32 right);
    u32 makePrefix(const AM_ScriptToken& place, u8 op, u32 operand);
    void deepen(u32 node, u32 child, u32 by = 1);
    AM_ScriptNode& node(u32 index) { return tree.nodes[index]; }
    bool isLiteral(u32 index) { return node(index).kind == AM_ScriptNode::k_literal; }
    void checkTarget(u32 target, const AM_ScriptToken& sign);

    // Names.
    u32 declare(const AM_ScriptToken& name, AM_ScriptType type);
    i32 lookUp(std::string_view name);
    i32 share(std::string_view name);
    void noteUse(u32 symbol);

    // Statements.
    void functionOrStatement(u32& last, u32 parent);
    void function(AM_ScriptType result, const AM_ScriptToken& name);
    void parameters(AM_ScriptFunctionNode& function);
    void append(u32& last, u32 parent, u32 statement);
    u32 statement();
    u32 block();
    u32 scoped();
    u32 declaration(AM_ScriptType type);
    u32 declareOne(AM_ScriptType type, const AM_ScriptToken& name);
    u32 declareArray(AM_ScriptType type, const AM_ScriptToken& name);
    u32 elements(u32& count);
    u32 ifStatement();
    u32 whileStatement();
    u32 forStatement();
    u32 jump();
    u32 returnStatement();
    u32 expressionList();
    u32 expressionStatement();

    // Expressions.
    u32 expression();
    u32 conditional();
    u32 binary(i32 level);
    u32 prefix();
    u32 countPrefix();
    u32 postfix();
    u32 primary();
    u32 named();
    u32 variable(u32 symbol, const AM_ScriptToken& name);
    u32 arguments(u32 call);

    AM_ScriptLexer lexer;
    AM_ScriptToken token; // the next one
    const AM_ScriptVariables& shared;
    AM_ScriptTree tree;
    std::unordered_map<std::string_view, u32> visible; // symbol plus 1, 0 for none
    std::unordered_map<std::string_view, u32> sharedSymbols;
    std::unordered_map<std::string_view, u32> functionNames;
    std::vector<u32> declared; // symbols of the open scopes
    u32 scope = 0;
    u32 lastScope = 0;
    i32 currentFunction = -1;
    i32 nesting = 0;
    i32 loops = 0;
};

// Parts within parts.
class AM_ScriptParser::Nesting {
public:
    explicit Nesting(AM_ScriptParser& parser) : parser(parser) {
        if (++parser.nesting > k_maxScriptNesting)
            AM_scriptFail(k_scriptNesting, parser.token,
                          "expected no more than 200 parts within parts");
    }
    ~Nesting() { --parser.nesting; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    AM_ScriptParser& parser;
};
