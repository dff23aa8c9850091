// Picks letters for the buttons that draw a new code. Its two words are shared by the
// whole process and stepped on every audio block, so what a button gives depends on the
// time; it is apart from the model's generator, which must stay reproducible.
#pragma once

#include "AM_Types.h"

namespace AM_LetterPicker {

// One step of the generator. Any thread; a race only changes what is drawn.
void step();

// Steps, then picks a character of `text` (not empty). Any thread.
char pick(const char* text);

} // namespace AM_LetterPicker
