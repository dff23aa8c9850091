// The front of the script language: compiles and runs texts, and shares variables with them.
// docs/script-language.md describes the language.
#pragma once

#include "AM_IScriptObjects.h"
#include "AM_ScriptError.h"
#include "AM_ScriptMachine.h"

#include <string>
#include <string_view>
#include <unordered_map>

inline constexpr size_t k_maxScriptText = 1048576; // bytes

// A variable that the embedder has declared: visible in every text compiled from then on.
struct AM_ScriptVariable {
    AM_ScriptType type;
    bool isArray;
    u32 place;  // in the machine's store
    u32 length; // 1 if it is no array
};
using AM_ScriptVariables = std::unordered_map<std::string, AM_ScriptVariable>;

// One thread at a time, never an audio thread. Texts are only read, and end at their first zero.
// Results are AM_ScriptErrorCode, negative for errors; error() then says more.
class AM_PScript {
public:
    explicit AM_PScript(AM_IScriptObjects* objects = nullptr);

    // Compiles `text` and runs it once; returns k_scriptOk or the error. `line` is the number of
    // its first line; `length` 0 means up to the terminating zero. A text that doesn't compile
    // logs "Error in Line %d: Code %d\n" and leaves the code as it was. The instructions are listed
    // in the log (see setListing). Functions stay callable for later texts; a text without
    // functions gives its instructions back.
    i32 run(const char* text, i32 line, u32 length);
    i32 run(std::string_view text, i32 line = 1);

    // Compiles without running; returns a handle above 0 for execute, or the error, logged as
    // above. Nothing is listed.
    i32 compile(std::string_view text, i32 line = 1);
    // Runs a compiled program; returns k_scriptOk or why it was stopped. It may run any number of
    // times; each time its own variables begin anew.
    i32 execute(i32 program);
    // Gives a program's instructions back, unless it has functions: those stay. False for an
    // unknown handle.
    bool release(i32 program);
    // Forgets all programs, functions and variables. False inside a run.
    bool clear();

    // The error of the last call, code k_scriptOk if there was none.
    const AM_ScriptError& error() const { return lastError; }
    // Whether `run` lists the instructions and its ordinary end in the log; on at first.
    void setListing(bool wanted) { listing = wanted; }
    // Logs the instructions of a compiled program.
    void list(i32 program) const { scriptMachine.list(program); }
    // Instructions executed by the last run.
    u32 steps() const { return scriptMachine.getSteps(); }

    // Declares a variable with the value 0. False and a log line if the name is taken ("ERROR can't
    // redeclare variable %s\n"), is no name or `type` is neither k_scriptInt nor k_scriptFloat
    // ("ERROR can't create variable %s of type %d\n"), or the store is full ("OUT OF MEMORY ERROR:
    // can't create int %s\n" or "... float %s\n").
    bool declare(const char* name, i32 type);
    // The same for an array of 1 to k_maxScriptArray elements, "[ %d ]" behind the name in the log.
    bool declareArray(const char* name, i32 type, i32 size);
    // Sets a variable or an element of an array, converting as a script does; false if there is
    // none.
    bool setFloat(std::string_view name, f32 value, u32 index = 0);
    bool setInt(std::string_view name, i32 value, u32 index = 0);
    // The value, converted as a script does; 0 if there is none.
    f32 getFloat(std::string_view name, u32 index = 0) const;
    i32 getInt(std::string_view name, u32 index = 0) const;

    const AM_ScriptMachine& machine() const { return scriptMachine; }

private:
    bool add(const char* name, i32 type, i32 size, bool isArray);
    const AM_ScriptVariable* find(std::string_view name, u32 index) const;
    template <class T>
    bool set(std::string_view name, T value, u32 index);
    template <class T>
    T get(std::string_view name, u32 index) const;
    // Keeps a run's result as the last error.
    i32 finish(i32 code);

    AM_ScriptMachine scriptMachine;
    AM_ScriptVariables variables;
    AM_ScriptError lastError;
    bool listing = true;
};
