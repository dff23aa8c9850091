// What can go wrong with a script.
#pragma once

#include "AM_Types.h"

#include <string>

// The codes of "Error in Line %d: Code %d\n" and of all results.
enum AM_ScriptErrorCode : i32 {
    k_scriptOk = 0,
    // The compiler refuses a text.
    k_scriptSyntax = -1,         // something else was expected here
    k_scriptCharacter = -2,      // a character that the language doesn't know
    k_scriptComment = -3,        // a comment that doesn't end
    k_scriptNumber = -4,         // a number that can't be read or is out of range
    k_scriptUnknownName = -5,    // no such variable, function or object
    k_scriptRedeclared = -6,     // the name is taken in this scope
    k_scriptWrongType = -7,      // an array without index, a void value ...
    k_scriptNoTarget = -8,       // what is assigned to is no variable
    k_scriptWrongArguments = -9, // too many or too few of them
    k_scriptNoAccess = -10,      // a read-only object written, a write-only one read
    k_scriptArraySize = -11,     // a size that isn't constant or out of range
    k_scriptNesting = -12,       // parts within parts, too many levels
    k_scriptTextTooLong = -13,
    k_scriptCodeFull = -14,      // the code array has reached its limit
    k_scriptTooManyValues = -15, // more values at the same time than a frame has registers
    k_scriptMemory = -16,        // more variables and arrays than the machine holds
    // Nothing was done.
    k_scriptBusy = -17,      // asked for from inside a run
    k_scriptNoProgram = -18, // the handle is unknown
    // A run was stopped.
    k_scriptStepLimit = -20,
    k_scriptCallDepth = -21,
    k_scriptFrameMemory = -22,
    k_scriptMissingCallback = -23
};

// The last error.
struct AM_ScriptError {
    i32 code = k_scriptOk;
    i32 line = 0;     // the first line of a text has the number that came with it
    i32 column = 0;   // bytes, from 1; 0 for errors of a run
    std::string text; // one sentence, such as "expected ';' behind the expression, found 'x'"
};
