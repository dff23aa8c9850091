// The models that are kept for the next instance.
#include "AM_ModelCache.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

TEST(ModelCache, GivesBackWhatWasBuiltAndForgetsTheOldest) {
    const auto builder = std::make_unique<AM_DelayModelBuilder>();
    const auto code = [](i32 i) { return "AGUR237S-CACHE" + std::to_string(i); };
    constexpr i32 extra = 3;
    for (i32 i = 0; i < AM_ModelCache::k_numModels + extra; ++i) {
        AM_DelayModel built;
        AM_DelayModel found;
        EXPECT_FALSE(AM_ModelCache::find(code(i).c_str(), &found));
        builder->build(code(i).c_str(), built);
        AM_ModelCache::keep(built);
        AM_ModelCache::keep(built);
        ASSERT_TRUE(AM_ModelCache::find(code(i).c_str(), &found));
        EXPECT_STREQ(found.code, built.code);
        EXPECT_EQ(found.seed, built.seed);
        EXPECT_EQ(std::memcmp(found.lengths, built.lengths, sizeof built.lengths), 0);
    }
    AM_DelayModel found;
    EXPECT_FALSE(AM_ModelCache::find(code(extra - 1).c_str(), &found));
    EXPECT_TRUE(AM_ModelCache::find(code(extra).c_str(), &found));
    // Codes count up to their 31st character, and no further.
    const std::string longest = "AGUR237S-" + std::string(22, 'X');
    AM_DelayModel built;
    builder->build((longest + "more").c_str(), built);
    AM_ModelCache::keep(built);
    EXPECT_TRUE(AM_ModelCache::find(longest.c_str(), &found));
    EXPECT_FALSE(AM_ModelCache::find(longest.substr(0, 30).c_str(), &found));
}
