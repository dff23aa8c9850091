// Program texts: each is refused with a place and a sentence, or its run ends within the limits,
// and what it took is given back.
#include "AM_PScript.h"
#include "fuzz/FuzzTarget.h"

#include <stdexcept>
#include <string>

namespace {
// Values of all kinds, and functions that don't answer as a script would like.
class Objects final : public AM_IScriptObjects {
public:
    bool resolve(std::string_view path, AM_ScriptObject& out) override {
        if (path != "o.i" && path != "o.f" && path != "in" && path != "out") return false;
        out.type = path == "o.i" ? k_scriptInt : k_scriptFloat;
        out.readable = path != "out";
        out.writable = path != "in";
        return true;
    }
    bool resolveCall(std::string_view path, std::string_view kinds, AM_ScriptObject& out) override {
        constexpr std::string_view paths[] = {"print", "mix", "o.odd", "nested", "throws"};
        constexpr std::string_view signatures[] = {"", "ffi", "fqi", "i", "v"};
        out.kind = AM_ScriptObject::k_function;
        for (out.handle = 0; out.handle < 5; ++out.handle)
            if (path == paths[out.handle]) break;
        if (out.handle == 5) return false;
        any.assign(1, 'v').append(kinds);
        out.signature = out.handle == 0 ? std::string_view(any) : signatures[out.handle];
        return true;
    }
    f32 readFloat(i32) override { return f; }
    i32 readInt(i32) override { return i; }
    void writeFloat(i32, f32 value) override { f = value; }
    void writeInt(i32, i32 value) override { i = value; }
    AM_ScriptValue call(i32 handle, const AM_ScriptValue* arguments, u32 count) override {
        AM_ScriptValue result{};
        if (handle == 1) result.asFloat = arguments[0].asFloat + static_cast<f32>(count);
        if (handle == 3) result.asInt = script->run("1;");
        if (handle == 4) throw std::runtime_error("from an object");
        return result;
    }
    AM_PScript* script = nullptr;

private:
    std::string any;
    f32 f = 0;
    i32 i = 0;
};

void execute(AM_PScript& script, i32 program) {
    try {
        const i32 result = script.execute(program);
        require(result == k_scriptOk ||
                (result <= k_scriptStepLimit && !script.error().text.empty()));
        require(script.steps() <= k_maxScriptSteps + k_maxScriptArray);
    } catch (const std::runtime_error&) {
    }
    require(!script.machine().isRunning());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static FuzzSilence silence;
    silence.begin();
    Objects objects;
    AM_PScript script(&objects);
    objects.script = &script;
    script.declare("n", k_scriptInt);
    script.declareArray("list", k_scriptFloat, 5);
    const std::string text(reinterpret_cast<const char*>(data), size);
    const i32 program = script.compile(text);
    const auto& code = script.machine().getCode();
    if (program < 0) {
        const AM_ScriptError& error = script.error();
        require(error.code == program && error.line > 0 && !error.text.empty());
        require(code.empty() && script.machine().functionCount() == 0);
        return 0;
    }
    script.list(program);
    execute(script, program);
    execute(script, program);
    // A second text, as long as the first one and behind it, may call its functions.
    const size_t before = code.size();
    const i32 second = script.compile(text, 1000000);
    require(second > 0 && code.size() == 2 * before);
    execute(script, second);
    const bool stays = script.machine().functionCount() > 0;
    require(script.release(program) && script.release(second));
    require(code.size() == (stays ? 2 * before : 0));
    return 0;
}
