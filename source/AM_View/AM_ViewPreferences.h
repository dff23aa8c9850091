// What the drawing asks of the user's choices for editors. A higher floor keeps them.
#pragma once

#include "AM_Context.h"

#include <optional>
#include <string>
#include <string_view>

// The choices that hold for all views are those of this group.
inline constexpr const char* k_allViews = "AllViews";

// The editor's thread.
class AM_IViewPreferences {
public:
    virtual ~AM_IViewPreferences() = default;
    // The text that is stored under a group and a name, and one of them by its number; `standard`
    // if there is none.
    virtual std::string getPreferenceValue(const char* group, const char* name, i32 id,
                                           const char* standard) = 0;
};

// The choice with this one of AM_resamplingLabels, case counted; nothing for what is none.
std::optional<AM_Resampling> AM_findResampling(std::string_view label);

// How images are scaled: "Image Resampling" of all views, "Bilinear" without one. A name that is
// none of the labels is logged and counts as "Bilinear" too.
AM_Resampling AM_preferredResampling(AM_IViewPreferences& preferences);
