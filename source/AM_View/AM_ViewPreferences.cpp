#include "AM_ViewPreferences.h"

#include "AM_Log.h"

std::optional<AM_Resampling> AM_findResampling(std::string_view label) {
    for (i32 i = 0; i < k_numResamplings; ++i)
        if (label == AM_resamplingLabels[i]) return static_cast<AM_Resampling>(i);
    return std::nullopt;
}

AM_Resampling AM_preferredResampling(AM_IViewPreferences& preferences) {
    constexpr AM_Resampling standard = k_bilinear;
    constexpr const char* name = "Image Resampling";
    const std::string stored =
        preferences.getPreferenceValue(k_allViews, name, 0, AM_resamplingLabels[standard]);
    if (const std::optional<AM_Resampling> choice = AM_findResampling(stored)) return *choice;
    AM_Log("'%s' is no choice for '%s': '%s' is taken", stored, name,
           AM_resamplingLabels[standard]);
    return standard;
}
