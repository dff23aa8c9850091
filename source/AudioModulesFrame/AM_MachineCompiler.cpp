#include "AM_MachineCompiler.h"

#include "AM_ScriptAnalysis.h"
#include "AM_ScriptGenerator.h"
#include "AM_ScriptParser.h"

#include <utility>

namespace {
// The variables of a text that doesn't compile leave the store again.
class StoreGuard {
public:
    explicit StoreGuard(AM_ScriptMachine& machine) : machine(machine), mark(machine.storeMark()) {}
    ~StoreGuard() {
        if (!isKept) machine.returnStore(mark);
    }
    void keep() { isKept = true; }
    StoreGuard(const StoreGuard&) = delete;
    StoreGuard& operator=(const StoreGuard&) = delete;

private:
    AM_ScriptMachine& machine;
    const AM_ScriptMachine::StoreMark mark;
    bool isKept = false;
};
} // namespace

i32 AM_MachineCompiler::compile(std::string_view text, i32 line) {
    lastError = {};
    try {
        return build(text.substr(0, text.find('\0')), line);
    } catch (const AM_ScriptFailure& failure) {
        lastError = failure.error;
        return lastError.code;
    }
}

i32 AM_MachineCompiler::build(std::string_view text, i32 line) {
    AM_ScriptToken start;
    start.line = line;
    if (machine.isRunning())
        AM_scriptFail(k_scriptBusy, start, "expected the end of the running script first");
    if (text.size() > k_maxScriptText)
        AM_scriptFail(k_scriptTextTooLong, start, "expected a text of at most 1048576 bytes");
    AM_ScriptTree tree = AM_ScriptParser(text, line, shared).parse();
    AM_ScriptAnalysis(tree, machine).run();
    StoreGuard store(machine);
    AM_ScriptCode code = AM_ScriptGenerator(tree, machine).run();
    const i32 program = machine.append(std::move(code));
    if (program < 0)
        AM_scriptFail(program, start,
                      "expected a shorter text, there is room for 1000000 instructions");
    store.keep();
    return program;
}
