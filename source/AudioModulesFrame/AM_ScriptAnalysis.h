// Gives the expressions of a tree their types and looks up calls and objects.
#pragma once

#include "AM_ScriptMachine.h"
#include "AM_ScriptSyntax.h"

#include <string_view>
#include <unordered_map>

// For one tree. Ends with AM_ScriptFailure at the first error.
class AM_ScriptAnalysis {
public:
    AM_ScriptAnalysis(AM_ScriptTree& tree, AM_ScriptMachine& machine);
    void run();

private:
    AM_ScriptNode& node(u32 index) { return tree.nodes[index]; }
    void statement(u32 index);
    void statements(u32 first);
    void values(u32 first);
    void returned(u32 index);
    // A part that must have a value.
    void value(u32 index);
    void expression(u32 index);
    void object(u32 index);
    void prefix(u32 index);
    void count(u32 index);
    void chain(u32 index);
    void operation(AM_ScriptNode& at);
    void conditional(u32 index);
    void assign(u32 index);
    void call(u32 index);
    bool callFunction(u32 index, std::string_view path);
    void callObject(u32 index, std::string_view path);
    void checkCount(const AM_ScriptNode& at, std::string_view path, size_t wanted);
    // Takes over what is told about a part.
    void inherit(AM_ScriptNode& at, u32 part);

    AM_ScriptTree& tree;
    AM_ScriptMachine& machine;
    std::unordered_map<std::string_view, u32> functions;
    const AM_ScriptFunctionNode* current = nullptr; // null outside of functions
    std::vector<u32> spine;
};
