// What texts of an editor's script can be.
#pragma once

// True for a text that can stand in the quotes of a script's value: not empty, without what would
// end the value, split it or open a comment, and none of the words by which colours' and graphics'
// values are found.
bool AM_isScriptText(const char* text);
