#include "AM_ScriptFolding.h"
#include "AM_ScriptParser.h"

#include <algorithm>

namespace {
struct Operator {
    std::string_view text;
    u8 op;
};
constexpr Operator k_binary[] = {
    {"*", k_opMultiply}, {"/", k_opDivide},     {"mod", k_opModulo},   {"%", k_opModulo},
    {"+", k_opAdd},      {"-", k_opSubtract},   {"<<", k_opShiftLeft}, {">>", k_opShiftRight},
    {"<", k_opLess},     {"<=", k_opLessEqual}, {">", k_opGreater},    {">=", k_opGreaterEqual},
    {"==", k_opEqual},   {"!=", k_opNotEqual},  {"&", k_opBitAnd},     {"^", k_opBitXor},
    {"|", k_opBitOr},    {"&&", k_opAnd},       {"||", k_opOr}};
constexpr Operator k_assigning[] = {
    {"=", k_opAssign},          {"+=", k_opCompound},       {"-=", k_opCompound + 4},
    {"*=", k_opCompound + 8},   {"/=", k_opCompound + 12},  {"mod=", k_opCompound + 16},
    {"%=", k_opCompound + 16},  {"&=", k_opCompound + 20},  {"^=", k_opCompound + 24},
    {"|=", k_opCompound + 28},  {"<<=", k_opCompound + 32}, {">>=", k_opCompound + 36},
    {"&&=", k_opCompound + 40}, {"||=", k_opCompound + 44}};

// The opcode of the operator at `token`, 0 if it is none of them.
template <size_t N>
u8 find(const Operator (&operators)[N], const AM_ScriptToken& token) {
    if (token.kind != AM_ScriptToken::k_sign) return 0;
    for (const Operator& candidate : operators)
        if (candidate.text == token.text) return candidate.op;
    return 0;
}

constexpr i32 k_logicalLevel = 10;
// Levels of recursion that a tree may take in the steps after this one.
constexpr u32 k_maxDepth = 400;

bool isTarget(const AM_ScriptNode& node) {
    return node.kind == AM_ScriptNode::k_variable || node.kind == AM_ScriptNode::k_element ||
           node.kind == AM_ScriptNode::k_object;
}
AM_ScriptFolding::Constant constantOf(const AM_ScriptNode& node) {
    return {node.type, node.value};
}
} // namespace

u32 AM_ScriptParser::make(AM_ScriptNode::Kind kind, const AM_ScriptToken& place) {
    AM_ScriptNode made;
    made.kind = kind;
    made.line = place.line;
    made.column = place.column;
    tree.nodes.push_back(made);
    return static_cast<u32>(tree.nodes.size() - 1);
}

u32 AM_ScriptParser::makeLiteral(const AM_ScriptToken& place, AM_ScriptType type, i32 value) {
    const u32 literal = make(AM_ScriptNode::k_literal, place);
    node(literal).type = type;
    node(literal).value = value;
    return literal;
}

void AM_ScriptParser::deepen(u32 parent, u32 child, u32 by) {
    AM_ScriptNode& at = node(parent);
    const u32 depth = std::max<u32>(at.depth, node(child).depth + by);
    if (depth > k_maxDepth)
        AM_scriptFail(k_scriptNesting, AM_scriptPlace(at),
                      "expected a simpler expression, this one has more than 400 levels");
    at.depth = static_cast<u16>(depth);
}

u32 AM_ScriptParser::makeBinary(const AM_ScriptToken& place, u8 op, u32 left, u32 right) {
    if (isLiteral(left) && isLiteral(right)) {
        const auto result =
            AM_ScriptFolding::binary(op, constantOf(node(left)), constantOf(node(right)));
        return makeLiteral(place, result.type, result.value);
    }
    const u32 made = make(AM_ScriptNode::k_binary, place);
    node(made).op = op;
    node(made).a = left;
    node(made).b = right;
    // Chains of arithmetic are walked without recursion.
    deepen(made, left, op < k_opAnd ? 0 : 1);
    deepen(made, right);
    return made;
}

u32 AM_ScriptParser::makePrefix(const AM_ScriptToken& place, u8 op, u32 operand) {
    if (isLiteral(operand)) {
        const auto result = AM_ScriptFolding::prefix(op, constantOf(node(operand)));
        return makeLiteral(place, result.type, result.value);
    }
    const u32 made = make(AM_ScriptNode::k_prefix, place);
    node(made).op = op;
    node(made).a = operand;
    deepen(made, operand);
    return made;
}

void AM_ScriptParser::checkTarget(u32 target, const AM_ScriptToken& sign) {
    if (!isTarget(node(target)))
        AM_scriptFail(k_scriptNoTarget, sign,
                      "expected a variable, an element or an object's value for " +
                          AM_scriptQuote(sign));
}

u32 AM_ScriptParser::expression() {
    const Nesting deeper(*this);
    const u32 left = conditional();
    const u8 op = find(k_assigning, token);
    if (op == 0) return left;
    const AM_ScriptToken sign = token;
    checkTarget(left, sign);
    advance();
    const u32 right = expression();
    const u32 made = make(AM_ScriptNode::k_assign, sign);
    node(made).op = op;
    node(made).a = left;
    node(made).b = right;
    node(left).isWritten = true;
    node(left).isRead = op != k_opAssign;
    deepen(made, left);
    deepen(made, right);
    return made;
}

u32 AM_ScriptParser::conditional() {
    const u32 condition = binary(k_logicalLevel);
    const AM_ScriptToken sign = token;
    if (!accept("?")) return condition;
    const Nesting deeper(*this);
    const u32 first = expression();
    expect(":", "and the other value of '?'");
    const u32 second = conditional();
    const u32 made = make(AM_ScriptNode::k_conditional, sign);
    node(made).a = condition;
    node(made).b = first;
    node(made).c = second;
    deepen(made, condition);
    deepen(made, first);
    deepen(made, second);
    return made;
}

// Operators of this level or tighter ones.
u32 AM_ScriptParser::binary(i32 loosest) {
    u32 left = prefix();
    for (;;) {
        const u8 op = find(k_binary, token);
        const i32 level = op != 0 ? AM_scriptOpcode(op).precedence : 0;
        if (op == 0 || level > loosest) return left;
        const AM_ScriptToken sign = token;
        advance();
        const u32 right = binary(level - 1);
        left = makeBinary(sign, op, left, right);
    }
}

u32 AM_ScriptParser::prefix() {
    const AM_ScriptToken sign = token;
    if (sign.is("++") || sign.is("--")) return countPrefix();
    constexpr Operator operators[] = {
        {"-", k_opNegate}, {"+", k_opMoveFloat}, {"!", k_opNot}, {"~", k_opComplement}};
    const u8 op = find(operators, sign);
    if (op == 0) return postfix();
    const Nesting deeper(*this);
    advance();
    const u32 operand = prefix();
    if (op == k_opMoveFloat && isLiteral(operand)) return operand;
    return makePrefix(sign, op, operand);
}

u32 AM_ScriptParser::countPrefix() {
    const Nesting deeper(*this);
    const AM_ScriptToken sign = token;
    advance();
    const u32 target = prefix();
    checkTarget(target, sign);
    node(target).isWritten = true;
    const u32 made = make(AM_ScriptNode::k_count, sign);
    node(made).op = sign.is("++") ? k_opPreIncrement : k_opPreDecrement;
    node(made).a = target;
    deepen(made, target);
    return made;
}

u32 AM_ScriptParser::postfix() {
    const u32 target = primary();
    if (!token.is("++") && !token.is("--")) return target;
    checkTarget(target, token);
    node(target).isWritten = true;
    const u32 made = make(AM_ScriptNode::k_count, token);
    node(made).op = token.is("++") ? k_opPostIncrement : k_opPostDecrement;
    node(made).a = target;
    deepen(made, target);
    advance();
    return made;
}

u32 AM_ScriptParser::primary() {
    const AM_ScriptToken first = token;
    if (first.kind == AM_ScriptToken::k_int || first.kind == AM_ScriptToken::k_float) {
        advance();
        return makeLiteral(first, first.kind == AM_ScriptToken::k_int ? k_scriptInt : k_scriptFloat,
                           first.value);
    }
    if (accept("(")) {
        const u32 inner = expression();
        expect(")", "behind the expression");
        return inner;
    }
    return named();
}

u32 AM_ScriptParser::named() {
    const AM_ScriptToken name = takeName("a value");
    const bool isPath = token.is(".");
    const i32 symbol = isPath || token.is("(") ? -1 : lookUp(name.text);
    if (symbol >= 0) return variable(static_cast<u32>(symbol), name);
    if (token.is("["))
        AM_scriptFail(k_scriptUnknownName, name,
                      "expected an array in front of '[', " + AM_scriptQuote(name) + " is none");
    std::string path(name.text);
    while (accept(".")) {
        path += '.';
        path += takeName("a name behind '.'").text;
    }
    const bool isCall = token.is("(");
    const u32 made = make(isCall ? AM_ScriptNode::k_call : AM_ScriptNode::k_object, name);
    node(made).value = static_cast<i32>(tree.paths.size());
    tree.paths.push_back(std::move(path));
    if (isCall) {
        const u32 first = arguments(made);
        node(made).a = first;
    }
    return made;
}

u32 AM_ScriptParser::variable(u32 index, const AM_ScriptToken& name) {
    noteUse(index);
    const bool isArray = tree.symbols[index].isArray;
    if (isArray != token.is("["))
        failHere(k_scriptWrongType, (isArray ? "'[' and an index behind the array "
                                             : "no index behind the variable ") +
                                        AM_scriptQuote(name));
    const u32 made = make(isArray ? AM_ScriptNode::k_element : AM_ScriptNode::k_variable, name);
    node(made).value = static_cast<i32>(index);
    if (!accept("[")) return made;
    const u32 at = expression();
    expect("]", "behind the index");
    node(made).a = at;
    deepen(made, at);
    return made;
}

u32 AM_ScriptParser::arguments(u32 call) {
    advance();
    u32 first = 0;
    u32 last = 0;
    u32 count = 0;
    if (accept(")")) return first;
    do {
        if (count++ == k_maxScriptArguments)
            failHere(k_scriptWrongArguments, "no more than 32 arguments");
        const u32 argument = expression();
        if (last == 0)
            first = argument;
        else
            node(last).next = argument;
        last = argument;
        deepen(call, argument);
    } while (accept(","));
    expect(")", "behind the arguments");
    return first;
}
