// How scripts reach the objects of the program that embeds them.
#pragma once

#include "AM_Types.h"

#include <string_view>

// The types of the script language; the numbers are those of AM_PScript's declarations.
enum AM_ScriptType : u8 {
    k_scriptVoid = 0,
    k_scriptInt = 1,  // i32
    k_scriptFloat = 2 // f32
};

// An argument or a result: the member that its signature names.
union AM_ScriptValue {
    f32 asFloat;
    i32 asInt;
};

// The most arguments a function may have.
inline constexpr u32 k_maxScriptArguments = 32;

// What a path leads to.
struct AM_ScriptObject {
    enum Kind : u8 { k_value, k_function };
    Kind kind = k_value;
    AM_ScriptType type = k_scriptFloat; // of a value: k_scriptInt or k_scriptFloat
    bool readable = true;               // of a value
    bool writable = true;               // of a value
    i32 handle = 0;                     // handed back at run time; any number
    // Of a function: 'f', 'i' or 'v' (nothing) for the result, then 'f' or 'i' for each argument,
    // such as "ff". It is copied. Any other character makes the call log, once a run, "ERROR:
    // unknown ObjFunc Attribute '%c' on execution\n" and give 0; behind the first it takes one
    // argument, as it is.
    std::string_view signature;
};

// Implemented by the embedder; called on the thread that compiles or runs. What it throws ends the
// compile or the run and reaches the caller; the machine stays usable.
class AM_IScriptObjects {
public:
    virtual ~AM_IScriptObjects() = default;
    // Compile time: fills `out` for a path such as "knob.colour.hue"; false if there is none. Names
    // without a dot are asked for, too, where the script hasn't declared them.
    virtual bool resolve(std::string_view path, AM_ScriptObject& out) = 0;
    // The same for a path that is called; `arguments` has an 'f' or 'i' for each of them, so that
    // the signature may go by what is given.
    virtual bool resolveCall(std::string_view path, std::string_view /*arguments*/,
                             AM_ScriptObject& out) {
        return resolve(path, out);
    }

    // Run time, with handles that `resolve` gave; only the readers, writers and calls are asked for
    // that its answers allow.
    virtual f32 readFloat(i32 /*handle*/) { return 0; }
    virtual i32 readInt(i32 /*handle*/) { return 0; }
    virtual void writeFloat(i32 /*handle*/, f32 /*value*/) {}
    virtual void writeInt(i32 /*handle*/, i32 /*value*/) {}
    // `arguments` holds `count` values of the kinds in the signature.
    virtual AM_ScriptValue call(i32 /*handle*/, const AM_ScriptValue* /*arguments*/,
                                u32 /*count*/) {
        return {};
    }
};
