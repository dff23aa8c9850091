#include "AM_PScript.h"

#include "AM_Log.h"
#include "AM_MachineCompiler.h"
#include "AM_ScriptArithmetic.h"
#include "AM_ScriptLexer.h"

#include <array>

namespace {
const char* reasonOf(i32 code) {
    switch (code) {
    case k_scriptOk:
        return "";
    case k_scriptBusy:
        return "expected the end of the running script first";
    case k_scriptNoProgram:
        return "expected the handle of a compiled program";
    case k_scriptStepLimit:
        return "stopped after 100000 instructions";
    case k_scriptCallDepth:
        return "stopped after 64 functions within functions";
    case k_scriptFrameMemory:
        return "stopped, the arrays of all functions take too much room";
    default:
        return "stopped at a missing instruction";
    }
}
} // namespace

AM_PScript::AM_PScript(AM_IScriptObjects* objects) : scriptMachine(objects) {
}

i32 AM_PScript::run(const char* text, i32 line, u32 length) {
    if (text == nullptr) return run(std::string_view(), line);
    return run(length != 0 ? std::string_view(text, length) : std::string_view(text), line);
}

i32 AM_PScript::run(std::string_view text, i32 line) {
    const i32 program = compile(text, line);
    if (program < 0) return program;
    // Whatever happens, the program's instructions are given back.
    struct Removal {
        AM_ScriptMachine& machine;
        const i32 program;
        ~Removal() { machine.remove(program, true); }
    };
    const Removal removal{scriptMachine, program};
    if (listing) scriptMachine.list(program);
    return finish(scriptMachine.execute(program, listing));
}

i32 AM_PScript::compile(std::string_view text, i32 line) {
    AM_MachineCompiler compiler(scriptMachine, variables);
    const i32 program = compiler.compile(text, line);
    lastError = compiler.error();
    if (program < 0) AM_Log("Error in Line %d: Code %d\n", lastError.line, program);
    return program;
}

i32 AM_PScript::execute(i32 program) {
    return finish(scriptMachine.execute(program, false));
}

bool AM_PScript::release(i32 program) {
    return scriptMachine.remove(program);
}

bool AM_PScript::clear() {
    if (!scriptMachine.clear()) return false;
    variables.clear();
    lastError = {};
    return true;
}

i32 AM_PScript::finish(i32 code) {
    lastError = {};
    lastError.code = code;
    lastError.text = reasonOf(code);
    return code;
}

bool AM_PScript::declare(const char* name, i32 type) {
    return add(name, type, 1, false);
}

bool AM_PScript::declareArray(const char* name, i32 type, i32 size) {
    return add(name, type, size, true);
}

bool AM_PScript::add(const char* name, i32 type, i32 size, bool isArray) {
    const std::string key = name != nullptr ? name : "";
    std::array<char, 24> brackets{};
    if (isArray) AM_STD::sprintv(brackets.data(), brackets.size(), "[ %d ]", size);
    const std::string shown = key + brackets.data();
    if (variables.contains(key)) {
        AM_Log("ERROR can't redeclare variable %s\n", shown);
        return false;
    }
    const bool isType = type == k_scriptInt || type == k_scriptFloat;
    if (!AM_scriptIsName(key) || !isType || size < 1 || size > static_cast<i32>(k_maxScriptArray)) {
        AM_Log("ERROR can't create variable %s of type %d\n", shown, type);
        return false;
    }
    const auto kind = static_cast<AM_ScriptType>(type);
    const i32 place = scriptMachine.addStore(kind, static_cast<u32>(size));
    if (place < 0) {
        AM_Log(kind == k_scriptFloat ? "OUT OF MEMORY ERROR: can't create float %s\n"
                                     : "OUT OF MEMORY ERROR: can't create int %s\n",
               shown);
        return false;
    }
    variables.emplace(
        key, AM_ScriptVariable{kind, isArray, static_cast<u32>(place), static_cast<u32>(size)});
    return true;
}

const AM_ScriptVariable* AM_PScript::find(std::string_view name, u32 index) const {
    const auto found = variables.find(std::string(name));
    return found != variables.end() && index < found->second.length ? &found->second : nullptr;
}

template <class T>
bool AM_PScript::set(std::string_view name, T value, u32 index) {
    const AM_ScriptVariable* const to = find(name, index);
    if (to == nullptr) return false;
    if (to->type == k_scriptFloat)
        scriptMachine.storedFloats()[to->place + index] = AM_scriptToFloat(value);
    else
        scriptMachine.storedInts()[to->place + index] = AM_scriptToInt(value);
    return true;
}

template <class T>
T AM_PScript::get(std::string_view name, u32 index) const {
    const AM_ScriptVariable* const from = find(name, index);
    if (from == nullptr) return 0;
    if (from->type == k_scriptFloat)
        return AM_scriptConvert<T>(scriptMachine.storedFloats()[from->place + index]);
    return AM_scriptConvert<T>(scriptMachine.storedInts()[from->place + index]);
}

bool AM_PScript::setFloat(std::string_view name, f32 value, u32 index) {
    return set(name, value, index);
}
bool AM_PScript::setInt(std::string_view name, i32 value, u32 index) {
    return set(name, value, index);
}
f32 AM_PScript::getFloat(std::string_view name, u32 index) const {
    return get<f32>(name, index);
}
i32 AM_PScript::getInt(std::string_view name, u32 index) const {
    return get<i32>(name, index);
}
