#include "AM_ScriptMachine.h"

#include "AM_Log.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace {
// Stands in where the embedder has none.
class NoObjects final : public AM_IScriptObjects {
public:
    bool resolve(std::string_view, AM_ScriptObject&) override { return false; }
};
NoObjects noObjects;

// A frame's window begins inside of its caller's, so this many registers are always enough.
constexpr size_t k_stackRegisters = size_t{k_scriptRegisters} * (k_maxScriptCalls + 1);

bool printsDistance(u8 opcode) {
    return opcode == k_opBranch || opcode == k_opBranchTrue || opcode == k_opBranchFalse;
}
// Whether the operands are the registers A and B.
bool printsOperandB(const AM_ScriptInstruction& instruction) {
    const AM_ScriptOpcode& row = AM_scriptOpcode(instruction.opcode);
    const bool registers = (instruction.flags & k_flagConstant) == 0;
    return row.leftKind != k_operandNone && row.rightKind != k_operandNone && registers;
}
} // namespace

// A run from its beginning to its end, however it ends.
class AM_ScriptMachine::Run {
public:
    Run(AM_ScriptMachine& machine, const Program& program) : machine(machine) {
        machine.running = true;
        machine.indexReported = false;
        machine.attributeReported = false;
        machine.errorState = k_scriptOk;
        machine.steps = 0;
        machine.charged = 0;
        machine.stepLimit = k_maxScriptSteps;
        machine.floats = machine.floatStack.data();
        machine.ints = machine.intStack.data();
        machine.depth = 0;
        machine.frame = {};
        machine.ip = program.first;
    }
    ~Run() {
        machine.running = false;
        machine.ip = static_cast<u32>(machine.code.size());
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    AM_ScriptMachine& machine;
};

AM_ScriptMachine::AM_ScriptMachine(AM_IScriptObjects* wanted) {
    floatStack.resize(k_stackRegisters);
    intStack.resize(k_stackRegisters);
    setObjects(wanted);
}

void AM_ScriptMachine::setObjects(AM_IScriptObjects* wanted) {
    objects = wanted != nullptr ? wanted : &noObjects;
}

i32 AM_ScriptMachine::append(AM_ScriptCode&& program) {
    if (running) return k_scriptBusy;
    const size_t first = code.size();
    const size_t count = program.instructions.size();
    if (count > k_maxScriptCode - first || nextHandle == std::numeric_limits<i32>::max())
        return k_scriptCodeFull;
    code.insert(code.end(), program.instructions.begin(), program.instructions.end());
    lines.insert(lines.end(), program.lines.begin(), program.lines.end());
    programs.push_back({nextHandle, static_cast<u32>(first), static_cast<u32>(count),
                        program.frameFloats, program.frameInts, !program.functions.empty()});
    for (AM_ScriptFunction& function : program.functions) {
        function.entry += static_cast<u32>(first);
        latestFunctions[function.name] = static_cast<i32>(functions.size());
        functions.push_back(std::move(function));
    }
    ip = static_cast<u32>(code.size());
    return nextHandle++;
}

bool AM_ScriptMachine::remove(i32 handle, bool reuse) {
    const auto found = find(handle);
    if (running || found == programs.end()) return false;
    if (!found->hasFunctions) erase(*found);
    programs.erase(found);
    if (reuse && handle == nextHandle - 1) nextHandle = handle;
    return true;
}

// All distances are relative, so what is behind a program can move up.
void AM_ScriptMachine::erase(const Program& program) {
    const u32 end = program.first + program.count;
    code.erase(code.begin() + program.first, code.begin() + end);
    lines.erase(lines.begin() + program.first, lines.begin() + end);
    for (Program& other : programs)
        if (other.first >= end) other.first -= program.count;
    if (end != code.size() + program.count)
        for (AM_ScriptFunction& function : functions)
            if (function.entry >= end) function.entry -= program.count;
    ip = static_cast<u32>(code.size());
}

bool AM_ScriptMachine::clear() {
    if (running) return false;
    code = {};
    lines = {};
    programs.clear();
    functions.clear();
    latestFunctions.clear();
    objectFunctions.clear();
    storeFloats = {};
    storeInts = {};
    ip = 0;
    return true;
}

std::vector<AM_ScriptMachine::Program>::const_iterator AM_ScriptMachine::find(i32 handle) const {
    const auto found = std::lower_bound(
        programs.begin(), programs.end(), handle,
        [](const Program& program, i32 wanted) { return program.handle < wanted; });
    return found != programs.end() && found->handle == handle ? found : programs.end();
}

i32 AM_ScriptMachine::lineOf(u32 index) const {
    return index < lines.size() ? lines[index] : 0;
}

i32 AM_ScriptMachine::findFunction(std::string_view name) const {
    const auto found = latestFunctions.find(std::string(name));
    return found != latestFunctions.end() ? found->second : -1;
}

i32 AM_ScriptMachine::addObjectFunction(i32 handle, std::string_view signature) {
    for (size_t i = 0; i < objectFunctions.size(); ++i)
        if (objectFunctions[i].handle == handle && objectFunctions[i].signature == signature)
            return static_cast<i32>(i);
    objectFunctions.push_back({handle, std::string(signature)});
    return static_cast<i32>(objectFunctions.size() - 1);
}

i32 AM_ScriptMachine::addStore(AM_ScriptType type, u32 count) {
    const size_t place = type == k_scriptFloat ? storeFloats.size() : storeInts.size();
    if (count > k_maxScriptStore - place) return -1;
    if (type == k_scriptFloat)
        storeFloats.resize(place + count);
    else
        storeInts.resize(place + count);
    return static_cast<i32>(place);
}

void AM_ScriptMachine::returnStore(StoreMark mark) {
    storeFloats.resize(std::min(mark.floats, storeFloats.size()));
    storeInts.resize(std::min(mark.ints, storeInts.size()));
}

void AM_ScriptMachine::list(i32 handle) const {
    const auto program = find(handle);
    if (program == programs.end()) return;
    const auto end = static_cast<i32>(program->first + program->count);
    for (auto index = static_cast<i32>(program->first); index < end; ++index) {
        const AM_ScriptInstruction& at = code[static_cast<size_t>(index)];
        const char* text = AM_scriptOpcode(at.opcode).text;
        if (at.opcode == k_opEndOfLine)
            AM_Log("%d:\t eol\n", index);
        else if (printsDistance(at.opcode))
            AM_Log("%d:\t %s %d (%d)\n", index, text, at.value, index + at.value);
        else
            AM_Log("%d:\t %d %s %d\n", index, i32{at.operandA}, text,
                   printsOperandB(at) ? i32{at.operandB} : at.value);
    }
}

i32 AM_ScriptMachine::execute(i32 handle, bool tracing) {
    if (running) return k_scriptBusy;
    const auto program = find(handle);
    if (program == programs.end()) return k_scriptNoProgram;
    const Run run(*this, *program);
    if (pushFrame(program->frameFloats, program->frameInts))
        loop(code.data() + program->first, tracing);
    return errorState;
}

void AM_ScriptMachine::loop(const AM_ScriptInstruction* at, bool tracing) {
    // The count stays in a register here; what handlers count lowers the limit instead.
    const AM_ScriptInstruction* const end = code.data() + code.size();
    i64 count = 0;
    while (at < end) {
        const AM_ScriptHandler handler = at->handler;
        if (handler == nullptr) {
            stopAtMissing(at, tracing);
            break;
        }
        count += 1 + (at->flags & k_flagFusedMask);
        at = handler(*this, at);
        if (count > stepLimit) {
            if (depth > 0) AM_Log("returning from function after 100000 instruction chains\n");
            AM_Log("stopped machine after 100000 instruction chains\n");
            errorState = k_scriptStepLimit;
            break;
        }
    }
    steps = static_cast<u32>(count) + charged;
}

void AM_ScriptMachine::stopAtMissing(const AM_ScriptInstruction* at, bool tracing) {
    const auto index = static_cast<i32>(indexOf(at));
    const bool ordinary = at->opcode == k_opStop && depth == 0;
    if (depth > 0) AM_Log("returning from function after missing callback in %d\n", index);
    if (tracing || !ordinary) AM_Log("stopped machine after missing callback in %d\n", index);
    if (!ordinary) errorState = k_scriptMissingCallback;
}

const AM_ScriptInstruction* AM_ScriptMachine::stop(i32 reason) {
    errorState = reason;
    return code.data() + code.size();
}

bool AM_ScriptMachine::pushFrame(u32 wantedFloats, u32 wantedInts) {
    const u32 floatTop = frame.floatTop + wantedFloats;
    const u32 intTop = frame.intTop + wantedInts;
    if (floatTop > k_maxScriptFrameElements || intTop > k_maxScriptFrameElements) {
        AM_Log("stopped machine after arrays of %d elements\n", i32{k_maxScriptFrameElements});
        errorState = k_scriptFrameMemory;
        return false;
    }
    frame = {frame.floatTop, floatTop, frame.intTop, intTop};
    if (floatTop > frameFloatArea.size()) frameFloatArea.resize(floatTop);
    if (intTop > frameIntArea.size()) frameIntArea.resize(intTop);
    return true;
}

const AM_ScriptInstruction* AM_ScriptMachine::enter(const AM_ScriptInstruction* from) {
    if (depth == k_maxScriptCalls) {
        AM_Log("stopped machine after %d functions within functions\n", i32{k_maxScriptCalls});
        return stop(k_scriptCallDepth);
    }
    const AM_ScriptFunction& called = function(from->value);
    calls[depth++] = {from, floats, ints, frame};
    frame.floatBase = frame.floatTop;
    frame.intBase = frame.intTop;
    const bool hasArrays = (called.frameFloats | called.frameInts) != 0;
    if (hasArrays && !pushFrame(called.frameFloats, called.frameInts))
        return stop(k_scriptFrameMemory);
    floats += from->operandA;
    ints += from->operandB;
    return code.data() + called.entry;
}

const AM_ScriptInstruction* AM_ScriptMachine::leave(const AM_ScriptInstruction* from) {
    if (depth == 0) return from + 1;
    const Call& call = calls[--depth];
    from = call.from;
    floats = call.floats;
    ints = call.ints;
    frame = call.frame;
    return from + 1;
}

// Arguments are in the windows that a function of a script would have; the result goes there, too.
void AM_ScriptMachine::callObject(const AM_ScriptInstruction* from) {
    const AM_ScriptObjectFunction& called = objectFunctions[static_cast<size_t>(from->value)];
    const std::string& signature = called.signature;
    f32* nextFloat = floats + from->operandA;
    i32* nextInt = ints + from->operandB;
    f32* const floatResult = nextFloat;
    i32* const intResult = nextInt;
    std::array<AM_ScriptValue, k_maxScriptArguments> arguments{};
    const u32 count = signature.empty() ? 0 : static_cast<u32>(signature.size() - 1);
    char unknown =
        !signature.empty() && signature[0] != 'f' && signature[0] != 'i' && signature[0] != 'v'
            ? signature[0]
            : '\0';
    for (u32 i = 0; i < count; ++i) {
        const char kind = signature[i + 1];
        if (kind == 'f')
            arguments[i].asFloat = *nextFloat++;
        else if (kind == 'i')
            arguments[i].asInt = *nextInt++;
        else
            unknown = kind;
    }
    AM_ScriptValue result{};
    if (unknown == '\0')
        result = objects->call(called.handle, arguments.data(), count);
    else if (!std::exchange(attributeReported, true))
        AM_Log("ERROR: unknown ObjFunc Attribute '%c' on execution\n", i32{unknown});
    if (!signature.empty() && signature[0] == 'f')
        *floatResult = result.asFloat;
    else
        *intResult = result.asInt;
}

void AM_ScriptMachine::reportIndex(const AM_ScriptInstruction* from, i32 index, u32 length) {
    if (indexReported) return;
    indexReported = true;
    AM_Log("index %d outside of an array of %d elements in Line %d\n", index,
           static_cast<i32>(length), lineOf(indexOf(from)));
}
