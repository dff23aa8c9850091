// The objects that scripts find in glassmere-script; docs/script-language.md lists them.
#pragma once

#include "AM_IScriptObjects.h"

#include <string>
#include <vector>

// Prints into a text, which whoever runs the script takes out. Made anew, it has its first values.
class ScriptObjects final : public AM_IScriptObjects {
public:
    bool resolve(std::string_view path, AM_ScriptObject& out) override;
    bool resolveCall(std::string_view path, std::string_view arguments,
                     AM_ScriptObject& out) override;
    f32 readFloat(i32 handle) override;
    i32 readInt(i32 handle) override;
    void writeFloat(i32 handle, f32 value) override;
    void writeInt(i32 handle, i32 value) override;
    AM_ScriptValue call(i32 handle, const AM_ScriptValue* arguments, u32 count) override;

    // What was printed since the last time.
    std::string takeOutput();

private:
    void print(i32 handle, const AM_ScriptValue* arguments, u32 count);
    f32 random();

    std::string output;
    std::string signature;           // of the call that was resolved last
    std::vector<std::string> prints; // the kinds of arguments, each with a handle of its own
    f32 value = 0;
    f32 hue = 0;
    i32 count = 0;
    f32 light = 0;
    u32 seed = 1;
};
