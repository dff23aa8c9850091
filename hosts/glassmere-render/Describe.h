// The model that a code builds, for people and for programs.
#pragma once

#include <string>

// Several lines of text.
std::string describeAsText(const std::string& code);

// One JSON object on one line with: code, selections (8), hash, seed (of the generator behind the
// build), family (its label), routing, bridges, numMatrices, matrixSize, numInputs, numOutputs,
// pans (0 left to 1 right, as clamped, one an output), gainLaw, law, arrangement, lengths (64, in
// internal samples as the delay lines hold them), aliases (pairs: a line, and the line that it
// reads), tests. Bytes of the code that are no UTF-8 are replaced.
std::string describeAsJson(const std::string& code);
