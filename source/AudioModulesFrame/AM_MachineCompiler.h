// The compiler of the script language: parser, analysis and code generation in a row.
#pragma once

#include "AM_PScript.h"
#include "AM_ScriptError.h"
#include "AM_ScriptMachine.h"

#include <string_view>

// Compiles for one machine. A text is only read, and needn't live longer than the call.
class AM_MachineCompiler {
public:
    // `shared` are the embedder's variables; both must outlive this.
    AM_MachineCompiler(AM_ScriptMachine& machine, const AM_ScriptVariables& shared)
        : machine(machine), shared(shared) {}

    // Compiles `text` up to its first zero and appends it to the machine's code; `line` is the
    // number of its first line. Returns the program's handle, or the error, which error() then
    // describes: the machine is as it was. What objects throw passes through, with the same
    // promise.
    i32 compile(std::string_view text, i32 line);
    const AM_ScriptError& error() const { return lastError; }

private:
    i32 build(std::string_view text, i32 line);

    AM_ScriptMachine& machine;
    const AM_ScriptVariables& shared;
    AM_ScriptError lastError;
};
