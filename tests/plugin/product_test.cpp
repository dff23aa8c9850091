// What makes the product: identity, table, parameters as hosts will know them, lifetime.
#include "PluginHarness.h"

#include "AM_Allocator.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Product, IdentityAndTable) {
    EXPECT_STREQ(getPlugName(0), "Glassmere");
    const Plugin plugin;
    EXPECT_STREQ(plugin.man.pluginInfo.name, "Glassmere");
    EXPECT_STREQ(plugin.man.pluginInfo.title, "Glassmere 1.0.0");
    EXPECT_STREQ(plugin.man.pluginInfo.vendor, "vela");
    EXPECT_EQ(plugin.man.pluginInfo.numChannels, 2);
    EXPECT_EQ(k_glassmereId, u32{'v'} << 24 | u32{'l'} << 16 | u32{'G'} << 8 | u32{'M'});
}

// Saved projects know parameters by these numbers.
TEST(Product, HostNumbersAreFrozen) {
    Plugin plugin;
    const char* published[] = {"Output", "Active FDN", "Feedback", "Dry", "Wet"};
    i32 count = 0;
    for (i32 id = 0; id < plugin.paraMan().getNumParams(); ++id) {
        const ParameterInfo& row = *plugin.paraMan().row(id);
        if (!(row.flags & k_flagHost)) continue;
        ASSERT_LT(count, 5);
        EXPECT_STREQ(row.longName, published[count]);
        EXPECT_EQ(row.hostId, count);
        ++count;
    }
    EXPECT_EQ(count, 5);
}

TEST(Product, EveryNumberStartsAtItsDefaultAndReachesItsLimits) {
    Plugin plugin;
    for (i32 id = 0; id < plugin.paraMan().getNumParams(); ++id) {
        const ParameterInfo& row = *plugin.paraMan().row(id);
        if (row.isMeter() || row.isComplex() || (row.flags & k_flagMomentary)) continue;
        EXPECT_EQ(plugin.paraMan().getParameterValue(id), row.defaultValue) << row.longName;
        EXPECT_EQ(plugin.id(row.longName), plugin.id(row.longName));
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

TEST(Product, InstancesComeAndGoOnAnyThreadAndLeaveNothing) {
    { const Plugin warm; }
    const size_t before = AM_liveAllocations();
    std::vector<std::thread> threads;
    for (u32 t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (u32 n = 0; n < 4; ++n) {
                std::mt19937 engine(t * 10 + n);
                Plugin plugin(44100.0, randomCode(engine).c_str());
                plugin.run(noise(500, n), 77);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(AM_liveAllocations(), before);
    // Never initialised, or initialised and never run.
    { Glassmere_AudioMan unused(k_glassmereId); }
    EXPECT_EQ(AM_liveAllocations(), before);
}
