// Text between the host's 16-bit characters and UTF-8.
#pragma once

#include "base/source/fstring.h"

#include <string>

// `text` ends at its first null.
inline std::string toUtf8(const Steinberg::Vst::TChar* text) {
    Steinberg::String string(text);
    string.toMultiByte(Steinberg::kCP_Utf8);
    return string.text8();
}
