// The script machine: the code array, two register stacks and the loop that calls one handler per
// instruction. AM_MachineCompiler fills it, AM_PScript is its front.
#pragma once

#include "AM_IScriptObjects.h"
#include "AM_ScriptError.h"
#include "AM_ScriptOpcodes.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

inline constexpr u32 k_maxScriptSteps = 100000;  // of a run with all its calls
inline constexpr u32 k_maxScriptCalls = 64;      // functions within functions
inline constexpr u32 k_maxScriptCode = 1000000;  // instructions
inline constexpr u32 k_scriptRegisters = 256;    // of a frame, for each of the two types
inline constexpr u32 k_maxScriptArray = 65536;   // elements of one array, of a frame's arrays
inline constexpr u32 k_maxScriptStore = 1048576; // elements that stay, for each type
inline constexpr u32 k_maxScriptFrameElements = 1048576; // of all frames at once, for each type

// A function that compiled code may call.
struct AM_ScriptFunction {
    std::string name;
    AM_ScriptType result = k_scriptVoid;
    std::vector<AM_ScriptType> parameters;
    u32 entry = 0;       // index in the code array
    u32 frameFloats = 0; // elements of its local arrays
    u32 frameInts = 0;
};

// A function of an object, with its own copy of the signature.
struct AM_ScriptObjectFunction {
    i32 handle;
    std::string signature;
};

// What the compiler hands over: instructions whose distances are relative to themselves.
struct AM_ScriptCode {
    std::vector<AM_ScriptInstruction> instructions;
    std::vector<i32> lines;                   // of the text, one for each instruction
    std::vector<AM_ScriptFunction> functions; // their entries count from the first instruction
    u32 frameFloats = 0;                      // elements of the arrays outside of functions
    u32 frameInts = 0;
};

// One thread at a time, never an audio thread. From inside a run (an object's call) nothing can be
// added, removed or run: that answers k_scriptBusy.
class AM_ScriptMachine {
public:
    explicit AM_ScriptMachine(AM_IScriptObjects* objects = nullptr);
    AM_ScriptMachine(const AM_ScriptMachine&) = delete;
    AM_ScriptMachine& operator=(const AM_ScriptMachine&) = delete;

    // Appends a program and returns its handle, above 0, or k_scriptCodeFull or k_scriptBusy; then
    // nothing has changed.
    i32 append(AM_ScriptCode&& program);
    // Takes a program away. If it has functions, only its handle goes: they stay callable. With
    // `reuse` the latest handle may be given out again. False for an unknown handle or in a run.
    bool remove(i32 program, bool reuse = false);
    // Runs a program from its first instruction; returns k_scriptOk or why the run was stopped.
    // With `tracing` on, its ordinary end is logged as well, as "stopped machine after missing
    // callback in %d\n": the closing "stop" has no handler.
    i32 execute(i32 program, bool tracing);
    // Logs a program's instructions, one a line.
    void list(i32 program) const;
    // Forgets all code, functions and variables. False inside a run.
    bool clear();

    // The objects that scripts reach; null for none.
    void setObjects(AM_IScriptObjects* wanted);
    // Never null.
    AM_IScriptObjects* getObjects() const { return objects; }

    // Instructions that the last run has executed; it is stopped above k_maxScriptSteps.
    u32 getSteps() const { return steps; }
    // The end of the code while nothing runs, else the instruction that a run began with.
    u32 getIp() const { return ip; }
    // The source line of an instruction, 0 for an index outside of the code.
    i32 lineOf(u32 index) const;
    // The code array.
    const std::vector<AM_ScriptInstruction>& getCode() const { return code; }
    // True inside a run.
    bool isRunning() const { return running; }

    // --- For the compiler.
    // The latest function of this name, or -1.
    i32 findFunction(std::string_view name) const;
    const AM_ScriptFunction& function(i32 index) const {
        return functions[static_cast<size_t>(index)];
    }
    u32 functionCount() const { return static_cast<u32>(functions.size()); }
    // Index of an object's function in the table that calls refer to.
    i32 addObjectFunction(i32 handle, std::string_view signature);
    const AM_ScriptObjectFunction& objectFunction(i32 index) const {
        return objectFunctions[static_cast<size_t>(index)];
    }
    // Room for `count` elements that stay, all 0; returns the first one's place, -1 if the store is
    // full.
    i32 addStore(AM_ScriptType type, u32 count);
    // How much of the store is in use, and the way back to that.
    struct StoreMark {
        size_t floats;
        size_t ints;
    };
    StoreMark storeMark() const { return {storeFloats.size(), storeInts.size()}; }
    void returnStore(StoreMark mark);

    // --- For handlers, which see a running machine only.
    f32* floats = nullptr; // the windows of the running frame
    i32* ints = nullptr;
    f32* storedFloats() { return storeFloats.data(); }
    const f32* storedFloats() const { return storeFloats.data(); }
    i32* storedInts() { return storeInts.data(); }
    const i32* storedInts() const { return storeInts.data(); }
    f32* frameFloats() { return frameFloatArea.data(); }
    i32* frameInts() { return frameIntArea.data(); }
    // Where the arrays of the running frame begin in these.
    u32 frameFloatBase() const { return frame.floatBase; }
    u32 frameIntBase() const { return frame.intBase; }
    // Counts `amount` further steps.
    void charge(u32 amount) {
        charged += amount;
        stepLimit -= amount;
    }
    // Enters the function that an instruction names, with its windows at registers A and B of the
    // present ones; returns what a handler returns.
    const AM_ScriptInstruction* enter(const AM_ScriptInstruction* from);
    // Returns from a function.
    const AM_ScriptInstruction* leave(const AM_ScriptInstruction* from);
    // Calls the object function that an instruction names.
    void callObject(const AM_ScriptInstruction* from);
    // Logs an index outside of an array, once a run.
    void reportIndex(const AM_ScriptInstruction* from, i32 index, u32 length);

private:
    // Where the arrays of a frame begin and end in their areas.
    struct Frame {
        u32 floatBase = 0;
        u32 floatTop = 0;
        u32 intBase = 0;
        u32 intTop = 0;
    };
    // What a function returns to.
    struct Call {
        const AM_ScriptInstruction* from = nullptr;
        f32* floats = nullptr;
        i32* ints = nullptr;
        Frame frame;
    };
    // Those with a handle, in the order of handles and of the code array.
    struct Program {
        i32 handle;
        u32 first;
        u32 count;
        u32 frameFloats;
        u32 frameInts;
        bool hasFunctions;
    };
    class Run;

    std::vector<Program>::const_iterator find(i32 handle) const;
    void erase(const Program& program);
    // Makes room for the arrays of a frame on top of the present one.
    bool pushFrame(u32 wantedFloats, u32 wantedInts);
    void loop(const AM_ScriptInstruction* at, bool tracing);
    void stopAtMissing(const AM_ScriptInstruction* at, bool tracing);
    // Makes the loop end; returns what a handler returns.
    const AM_ScriptInstruction* stop(i32 reason);
    u32 indexOf(const AM_ScriptInstruction* at) const { return static_cast<u32>(at - code.data()); }

    std::vector<AM_ScriptInstruction> code;
    std::vector<i32> lines;
    std::vector<Program> programs;
    std::vector<AM_ScriptFunction> functions;
    std::unordered_map<std::string, i32> latestFunctions;
    std::vector<AM_ScriptObjectFunction> objectFunctions;
    std::vector<f32> floatStack;
    std::vector<i32> intStack;
    std::vector<f32> storeFloats;
    std::vector<i32> storeInts;
    std::vector<f32> frameFloatArea;
    std::vector<i32> frameIntArea;
    std::array<Call, k_maxScriptCalls> calls;
    u32 depth = 0; // calls at work
    Frame frame;
    AM_IScriptObjects* objects;
    i32 nextHandle = 1;
    u32 ip = 0;
    u32 steps = 0;
    u32 charged = 0;   // steps that handlers have counted
    i64 stepLimit = 0; // of the loop's own count
    i32 errorState = k_scriptOk;
    bool running = false;
    bool indexReported = false;
    bool attributeReported = false;
};
