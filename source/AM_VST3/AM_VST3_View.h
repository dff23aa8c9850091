// The editor's place in the VST3 binding.
#pragma once

#include "pluginterfaces/gui/iplugview.h"

class AM_VST3_Controller;

// A new editor for `controller`, with one reference; null while the product has none. Host main
// thread.
Steinberg::IPlugView* AM_VST3_createView(AM_VST3_Controller& controller);
