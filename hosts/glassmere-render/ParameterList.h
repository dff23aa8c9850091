// The parameters of an instance, for people and for programs.
#pragma once

#include "Instance.h"

#include <string>

// A table: short name, long name, module, range, default, value text.
std::string listAsText(Instance& instance);

// A JSON array with an object a parameter: id, short, long, module, kind ("integer", "float",
// "meter", "text", "data", "reference"), minimum, maximum, default, value (null for texts and
// data), text.
std::string listAsJson(Instance& instance);
