// The sound of a code is a promise to its users: these figures hold for every compiler and
// optimisation level, and change only when the sound is meant to.
#include "PluginHarness.h"

#include <gtest/gtest.h>

namespace {

// FNV-1a, 64 bits.
u64 hashBytes(const void* bytes, size_t size, u64 hash = 0xcbf29ce484222325u) {
    const u8* p = static_cast<const u8*>(bytes);
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ p[i]) * 0x100000001b3u;
    return hash;
}

struct GoldenModel {
    const char* code;
    u32 seed;
    u32 tests;
    u64 lengths;
};
struct GoldenRender {
    const char* code;
    f64 rate;
    f32 feedback;
    u64 samples;
};

const GoldenModel goldenModels[] = {
#include "golden_models.inc"
};
const GoldenRender goldenRenders[] = {
#include "golden_renders.inc"
};

u64 hashRender(const GoldenRender& golden) {
    Plugin plugin(golden.rate, golden.code);
    plugin.set("FB", golden.feedback);
    plugin.set("Wet", 100.0f);
    const StereoBuffer out = plugin.run(noise(20000), 500);
    return hashBytes(out.right.data(), out.size() * sizeof(f32),
                     hashBytes(out.left.data(), out.size() * sizeof(f32)));
}

} // namespace

TEST(Golden, Models) {
    AM_DelayModelBuilder builder;
    AM_DelayModel model;
    for (const GoldenModel& golden : goldenModels) {
        builder.build(golden.code, model);
        const u64 hash = hashBytes(model.aliases, sizeof(model.aliases),
                                   hashBytes(model.lengths, sizeof(model.lengths)));
        EXPECT_TRUE(model.seed == golden.seed && model.tests == golden.tests &&
                    hash == golden.lengths)
            << "{\"" << golden.code << "\", " << model.seed << "u, " << model.tests << "u, 0x"
            << std::hex << hash << "u},";
    }
}

TEST(Golden, Renders) {
    for (const GoldenRender& golden : goldenRenders) {
        const u64 hash = hashRender(golden);
        EXPECT_EQ(hash, golden.samples) << "{\"" << golden.code << "\", " << golden.rate << ", "
                                        << golden.feedback << "f, 0x" << std::hex << hash << "u},";
    }
}
