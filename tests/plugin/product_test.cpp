// What makes the product: identity and parameters. (Their numbers: see tests/AM_VST3.)
#include "PluginHarness.h"

#include <gtest/gtest.h>

TEST(Product, IdentityAndTable) {
    EXPECT_STREQ(getPlugName(0), "Glassmere");
    const Plugin plugin;
    EXPECT_STREQ(plugin.man.pluginInfo.name, "Glassmere");
    EXPECT_STREQ(plugin.man.pluginInfo.title, "Glassmere 1.0.0");
    EXPECT_STREQ(plugin.man.pluginInfo.vendor, "vela");
    EXPECT_EQ(plugin.man.pluginInfo.numChannels, 2);
    EXPECT_EQ(k_glassmereId, u32{'v'} << 24 | u32{'l'} << 16 | u32{'G'} << 8 | u32{'M'});
}

TEST(Product, EveryNumberStartsAtItsDefaultAndReachesItsLimits) {
    Plugin plugin;
    for (i32 id = 0; id < plugin.paraMan().getNumParams(); ++id) {
        const ParameterInfo& row = *plugin.paraMan().row(id);
        if (row.isMeter() || row.isComplex() || (row.flags & k_flagMomentary)) continue;
        EXPECT_EQ(plugin.paraMan().getParameterValue(id), row.defaultValue) << row.longName;
        for (const f32 beyond : {row.maxValue + 1.0f, row.minValue - 1.0f}) {
            plugin.paraMan().setParameterValue(id, beyond, 0, true);
            EXPECT_EQ(plugin.paraMan().getParameterValue(id),
                      beyond > row.maxValue ? row.maxValue : row.minValue)
                << row.longName;
            plugin.run(StereoBuffer(64));
        }
    }
    EXPECT_EQ(plugin.paraMan().displayText(plugin.id("FB"), 50.0f), "50%");
}
