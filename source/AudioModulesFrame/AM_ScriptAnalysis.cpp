#include "AM_ScriptAnalysis.h"

#include <algorithm>

namespace {
using Node = AM_ScriptNode;

u8 sum(u32 a, u32 b) {
    return static_cast<u8>(std::min<u32>(a + b, Node::k_noticeable));
}
} // namespace

AM_ScriptAnalysis::AM_ScriptAnalysis(AM_ScriptTree& tree, AM_ScriptMachine& machine)
    : tree(tree), machine(machine) {
    for (size_t i = 0; i < tree.functions.size(); ++i)
        functions.emplace(tree.functions[i].name.text, static_cast<u32>(i));
}

void AM_ScriptAnalysis::run() {
    statement(tree.outside.body);
    for (const AM_ScriptFunctionNode& function : tree.functions) {
        current = &function;
        statement(function.body);
    }
}

void AM_ScriptAnalysis::statements(u32 first) {
    for (u32 at = first; at != 0; at = node(at).next)
        statement(at);
}

void AM_ScriptAnalysis::values(u32 first) {
    for (u32 at = first; at != 0; at = node(at).next)
        value(at);
}

void AM_ScriptAnalysis::statement(u32 index) {
    if (index == 0) return;
    const Node at = node(index);
    switch (at.kind) {
    case Node::k_block:
    case Node::k_expressions:
        statements(at.a);
        break;
    case Node::k_declare:
        values(at.a);
        break;
    case Node::k_if:
        value(at.a);
        statement(at.b);
        statement(at.c);
        break;
    case Node::k_loop:
        statement(at.a);
        if (at.b != 0) value(at.b);
        statement(at.c);
        statement(at.d);
        break;
    case Node::k_return:
        returned(index);
        break;
    case Node::k_break:
    case Node::k_continue:
        break;
    default:
        expression(index);
    }
}

void AM_ScriptAnalysis::returned(u32 index) {
    const Node at = node(index);
    const bool wanted = current != nullptr && current->result != k_scriptVoid;
    if (wanted && at.a == 0)
        AM_scriptFail(k_scriptWrongType, AM_scriptPlace(at),
                      "expected a value behind 'return', " + AM_scriptQuote(current->name) +
                          " gives one");
    if (!wanted && at.a != 0)
        AM_scriptFail(k_scriptWrongType, AM_scriptPlace(node(at.a)),
                      current != nullptr ? "expected ';' behind 'return', " +
                                               AM_scriptQuote(current->name) + " gives no value"
                                         : "expected ';' behind 'return' outside of functions");
    if (wanted) value(at.a);
}

void AM_ScriptAnalysis::value(u32 index) {
    expression(index);
    if (node(index).type == k_scriptVoid)
        AM_scriptFail(k_scriptWrongType, AM_scriptPlace(node(index)),
                      "expected a value, this function gives none");
}

void AM_ScriptAnalysis::inherit(AM_ScriptNode& at, u32 part) {
    at.writes |= node(part).writes;
    at.cost = sum(at.cost, node(part).cost);
}

void AM_ScriptAnalysis::expression(u32 index) {
    Node& at = node(index);
    switch (at.kind) {
    case Node::k_literal:
        break;
    case Node::k_variable:
        at.type = tree.symbols[static_cast<size_t>(at.value)].type;
        at.cost = 1;
        break;
    case Node::k_element:
        value(at.a);
        at.type = tree.symbols[static_cast<size_t>(at.value)].type;
        at.writes = node(at.a).writes;
        at.cost = Node::k_noticeable;
        break;
    case Node::k_object:
        object(index);
        break;
    case Node::k_prefix:
        prefix(index);
        break;
    case Node::k_count:
        count(index);
        break;
    case Node::k_binary:
        chain(index);
        break;
    case Node::k_conditional:
        conditional(index);
        break;
    case Node::k_assign:
        assign(index);
        break;
    default:
        call(index);
    }
}

void AM_ScriptAnalysis::object(u32 index) {
    Node& at = node(index);
    const std::string& path = tree.paths[static_cast<size_t>(at.value)];
    AM_ScriptObject found;
    if (!machine.getObjects()->resolve(path, found))
        AM_scriptFail(k_scriptUnknownName, AM_scriptPlace(at),
                      "expected a variable or an object, " + AM_scriptQuote(path) + " is neither");
    if (found.kind != AM_ScriptObject::k_value)
        AM_scriptFail(k_scriptWrongType, AM_scriptPlace(at),
                      "expected '(' and arguments behind the function " + AM_scriptQuote(path));
    if (at.isWritten && !found.writable)
        AM_scriptFail(k_scriptNoAccess, AM_scriptPlace(at),
                      "expected something that can be written, " + AM_scriptQuote(path) +
                          " is read-only");
    if (at.isRead && !found.readable)
        AM_scriptFail(k_scriptNoAccess, AM_scriptPlace(at),
                      "expected something that can be read, " + AM_scriptQuote(path) +
                          " is write-only");
    at.type = found.type == k_scriptFloat ? k_scriptFloat : k_scriptInt;
    at.value = found.handle;
    at.cost = Node::k_noticeable;
}

void AM_ScriptAnalysis::prefix(u32 index) {
    value(node(index).a);
    Node& at = node(index);
    const bool keeps = at.op == k_opNegate || at.op == k_opMoveFloat;
    at.type = keeps ? node(at.a).type : k_scriptInt;
    at.cost = 1;
    inherit(at, at.a);
}

void AM_ScriptAnalysis::count(u32 index) {
    value(node(index).a);
    Node& at = node(index);
    at.type = node(at.a).type;
    at.writes = true;
    at.cost = Node::k_noticeable;
}

// A chain of operators from the left, however long.
void AM_ScriptAnalysis::chain(u32 index) {
    const size_t base = spine.size();
    u32 first = index;
    do {
        spine.push_back(first);
        first = node(first).a;
    } while (AM_scriptIsChained(node(spine.back())) && AM_scriptIsChained(node(first)));
    value(first);
    while (spine.size() > base) {
        Node& at = node(spine.back());
        spine.pop_back();
        value(at.b);
        operation(at);
    }
}

void AM_ScriptAnalysis::operation(AM_ScriptNode& at) {
    const bool isArithmetic = at.op < k_opShiftLeft;
    const bool isFloat = node(at.a).type == k_scriptFloat || node(at.b).type == k_scriptFloat;
    at.type = isArithmetic && isFloat ? k_scriptFloat : k_scriptInt;
    at.cost = 1;
    inherit(at, at.a);
    inherit(at, at.b);
}

void AM_ScriptAnalysis::conditional(u32 index) {
    value(node(index).a);
    value(node(index).b);
    value(node(index).c);
    Node& at = node(index);
    const bool isFloat = node(at.b).type == k_scriptFloat || node(at.c).type == k_scriptFloat;
    at.type = isFloat ? k_scriptFloat : k_scriptInt;
    at.cost = 2;
    inherit(at, at.a);
    inherit(at, at.b);
    inherit(at, at.c);
}

void AM_ScriptAnalysis::assign(u32 index) {
    value(node(index).a);
    value(node(index).b);
    Node& at = node(index);
    at.type = node(at.a).type;
    at.writes = true;
    at.cost = Node::k_noticeable;
}

void AM_ScriptAnalysis::call(u32 index) {
    values(node(index).a);
    Node& at = node(index);
    at.cost = Node::k_noticeable;
    for (u32 argument = at.a; argument != 0; argument = node(argument).next)
        at.writes |= node(argument).writes;
    const std::string& path = tree.paths[static_cast<size_t>(at.value)];
    if (!callFunction(index, path)) callObject(index, path);
}

void AM_ScriptAnalysis::checkCount(const AM_ScriptNode& at, std::string_view path, size_t wanted) {
    size_t given = 0;
    for (u32 argument = at.a; argument != 0; argument = node(argument).next)
        ++given;
    if (given != wanted)
        AM_scriptFail(k_scriptWrongArguments, AM_scriptPlace(at),
                      "expected " + std::to_string(wanted) +
                          (wanted == 1 ? " argument for " : " arguments for ") +
                          AM_scriptQuote(path) + ", found " + std::to_string(given));
}

bool AM_ScriptAnalysis::callFunction(u32 index, std::string_view path) {
    Node& at = node(index);
    const auto own = functions.find(path);
    if (own != functions.end()) {
        const AM_ScriptFunctionNode& called = tree.functions[own->second];
        checkCount(at, path, called.parameters.size());
        at.type = called.result;
        at.value = static_cast<i32>(machine.functionCount() + own->second);
        return true;
    }
    const i32 earlier = machine.findFunction(path);
    if (earlier < 0) return false;
    checkCount(at, path, machine.function(earlier).parameters.size());
    at.type = machine.function(earlier).result;
    at.value = earlier;
    return true;
}

void AM_ScriptAnalysis::callObject(u32 index, std::string_view path) {
    Node& at = node(index);
    std::string given;
    for (u32 argument = at.a; argument != 0; argument = node(argument).next)
        given += node(argument).type == k_scriptFloat ? 'f' : 'i';
    AM_ScriptObject found;
    if (!machine.getObjects()->resolveCall(path, given, found) ||
        found.kind != AM_ScriptObject::k_function)
        AM_scriptFail(k_scriptUnknownName, AM_scriptPlace(at),
                      "expected a function in front of '(', " + AM_scriptQuote(path) + " is none");
    const std::string_view signature = found.signature.empty() ? "v" : found.signature;
    if (signature.size() - 1 > k_maxScriptArguments)
        AM_scriptFail(k_scriptWrongArguments, AM_scriptPlace(at),
                      "expected a function of no more than 32 arguments");
    checkCount(at, path, signature.size() - 1);
    at.kind = Node::k_objectCall;
    at.type = signature[0] == 'f' ? k_scriptFloat : k_scriptInt;
    if (signature[0] == 'v') at.type = k_scriptVoid;
    at.value = machine.addObjectFunction(found.handle, signature);
}
