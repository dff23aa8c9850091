// What holds for models of any code; that they stay what they are, golden_test.cpp watches.
#include "AM_DelayModel.h"

#include "AM_ModelExchange.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>

namespace {

AM_DelayModel build(const std::string& code) {
    static AM_DelayModelBuilder builder;
    AM_DelayModel model;
    builder.build(code.c_str(), model);
    return model;
}

bool sameModel(const AM_DelayModel& a, const AM_DelayModel& b) {
    return std::memcmp(a.lengths, b.lengths, sizeof(a.lengths)) == 0 &&
           std::memcmp(a.aliases, b.aliases, sizeof(a.aliases)) == 0 && a.seed == b.seed &&
           a.tests == b.tests && a.family == b.family && a.routing == b.routing &&
           a.gainLaw == b.gainLaw &&
           std::memcmp(a.outputPan, b.outputPan, sizeof(a.outputPan)) == 0;
}

std::string randomCode(std::mt19937& engine) {
    std::string code;
    for (const char* alphabet : AM_codeAlphabets)
        code += alphabet[engine() % std::strlen(alphabet)];
    code += '-';
    for (u32 n = engine() % 9; n > 0; --n)
        code += static_cast<char>(' ' + engine() % 95);
    return code;
}

} // namespace

TEST(DelayModel, CodesSelectByAlphabetAndSeedByTail) {
    const AM_DelayModel none = build("press button");
    EXPECT_STREQ(AM_matrixFamilies[none.family].label, "HHD");
    EXPECT_EQ(none.routing, 0);
    EXPECT_EQ(none.bridges, 0);
    EXPECT_EQ(none.gainLaw, 0);
    EXPECT_EQ(none.law, 0);
    EXPECT_EQ(none.arrangement, 0);
    EXPECT_EQ(none.hash, 0u);
    EXPECT_TRUE(sameModel(build("BZ7-AB"), build("7ZB-AB")));
    EXPECT_FALSE(sameModel(build("BZ7-AB"), build("BZ7-AC")));
    const AM_DelayModel all = build("FTNR2YQS-AB");
    const i32 expected[] = {5, 3, 3, 0, 2, 3, 4, 0};
    EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), all.selections));
    EXPECT_EQ(all.hash, u32{'A' * 31 + 'B'});
    // What stands behind the first '-' selects nothing, and seeds as signed characters.
    EXPECT_EQ(build("-FTN2YQ").selections[0], 0);
    EXPECT_EQ(AM_hashCodeTail("A-\xff-"), 0xffffffffu * 31u + '-');
    EXPECT_EQ(std::strlen(build(std::string(80, 'F')).code), 31u);
}

TEST(DelayModel, SameTextSameModelWhateverCameBefore) {
    std::mt19937 engine(7);
    for (i32 round = 0; round < 40; ++round) {
        const std::string code = randomCode(engine);
        const AM_DelayModel first = build(code);
        build(randomCode(engine));
        build("press button");
        EXPECT_TRUE(sameModel(first, build(code))) << code;
        AM_DelayModelBuilder fresh;
        AM_DelayModel other;
        fresh.build(code.c_str(), other);
        EXPECT_TRUE(sameModel(first, other)) << code;
    }
}

TEST(DelayModel, EveryModelIsWhole) {
    std::mt19937 engine(11);
    for (i32 round = 0; round < 400; ++round) {
        const std::string code = randomCode(engine);
        const AM_DelayModel m = build(code);
        ASSERT_EQ(m.numInputs, m.numMatrices) << code;
        std::set<i32> targets;
        for (i32 i = 0; i < m.numInputs; ++i) {
            targets.insert(m.inputs[i].target);
            ASSERT_LT(m.inputs[i].source, m.inputs[i].fromMatrix ? m.numMatrices : 4);
        }
        ASSERT_EQ(targets.size(), static_cast<size_t>(m.numMatrices)) << "each matrix ticks once";
        ASSERT_EQ(m.numOutputs, m.routing == 2   ? m.numMatrices - 2
                                : m.routing == 3 ? (m.numMatrices + 2) / 4 * 2
                                                 : m.numMatrices);
        for (i32 j = 0; j < m.numOutputs; ++j) {
            ASSERT_LT(m.outputs[j], m.numMatrices);
            ASSERT_FALSE(m.muted[m.outputs[j]] && m.routing >= 2) << code;
            ASSERT_NEAR(m.outputLeft[j] * m.outputLeft[j] + m.outputRight[j] * m.outputRight[j],
                        1.0f, 1e-6f);
        }
        for (i32 k = 0; k < k_numDelays; ++k) {
            ASSERT_GE(m.lengths[k], 1) << code;
            ASSERT_LE(m.lengths[k], k_maxDelayLength) << code;
            ASSERT_LT(m.aliases[k], k_numDelays);
            if (m.aliases[k] >= 0) {
                ASSERT_EQ(m.aliases[k] % m.matrixSize, 0);
            }
        }
    }
}

TEST(DelayModel, ArrangementsKeepOrRepeatLengthsAsDesigned) {
    // 16 matrices of 4: the places of the even arrangement overlap, so lengths come twice.
    AM_CollisionLaws laws;
    AM_DelayLengths lengths;
    for (i32 i = 0; i < k_numDelays; ++i)
        lengths[i] = 1000 + 7 * ((i * 37) & 63);
    AM_DelayLengths eights;
    std::copy(std::begin(lengths), std::end(lengths), eights);
    laws.arrange(2, 16, 4, lengths);
    EXPECT_EQ(lengths[4 * 4], lengths[1]) << "row 4 column 0 is row 0 column 1";
    EXPECT_EQ(lengths[0], 1000);
    EXPECT_EQ(lengths[2], 1000 + 7 * 63);
    laws.arrange(2, 8, 8, eights);
    EXPECT_EQ(std::set<i32>(std::begin(eights), std::end(eights)).size(), 64u);

    // Equal lengths are spread upwards by sorting.
    std::fill(std::begin(lengths), std::end(lengths), 500);
    laws.arrange(3, 8, 8, lengths);
    const auto [low, high] = std::minmax_element(std::begin(lengths), std::end(lengths));
    EXPECT_EQ(*low, 500);
    EXPECT_EQ(*high, 563);

    // Rising leaves its mark on the last four lines of the six-line family only.
    std::fill(std::begin(lengths), std::end(lengths), 500);
    laws.arrange(1, 10, 6, lengths);
    EXPECT_EQ(std::count(std::begin(lengths), std::end(lengths), 1), 4);
    EXPECT_EQ(lengths[60], 1);
}

TEST(DelayModel, ChromaticLawHoldsOneOctaveARatioOfTwo) {
    const AM_DelayModel m = build("AQ-NOTE");
    i32 sorted[k_numDelays];
    std::copy(std::begin(m.lengths), std::end(m.lengths), sorted);
    std::sort(std::begin(sorted), std::end(sorted));
    for (i32 k = 0; k + 12 < k_numDelays; ++k)
        EXPECT_NEAR(static_cast<f64>(sorted[k + 12]) / sorted[k], 2.0, 2.2 / sorted[k]);
    EXPECT_EQ(m.tests, 0u);
}

TEST(ModelGenerator, LeavesTheFixedPointOfZero) {
    AM_ModelGenerator generator;
    generator.start(0);
    EXPECT_EQ(generator.random(5.0f, 9.0f), 5.0f);
    EXPECT_EQ(generator.seed, 1u);
    for (i32 i = 0; i < 1000; ++i) {
        const f32 value = generator.random(-3.0f, 4.0f);
        EXPECT_GE(value, -3.0f);
        EXPECT_LT(value, 4.0f);
    }
    generator.start(4294967290u);
    generator.random(0, 1);
    EXPECT_EQ(generator.seed, 4294967291u - 279470273u) << "-1 times the multiplier";
}

// A reader that fetches while models are published sees whole models, the last one at the end.
TEST(ModelExchange, ReaderSeesWholeModels) {
    auto exchange = std::make_unique<AM_ModelExchange>();
    EXPECT_EQ(exchange->fetch(), nullptr);
    constexpr i32 count = 20000;
    std::thread writer([&] {
        for (i32 n = 1; n <= count; ++n) {
            AM_DelayModel& model = exchange->buildSlot();
            std::fill(std::begin(model.lengths), std::end(model.lengths), n);
            exchange->publish();
        }
    });
    i32 last = 0;
    while (last != count) {
        if (const AM_DelayModel* model = exchange->fetch()) {
            ASSERT_GT(model->lengths[0], last);
            last = model->lengths[0];
            ASSERT_EQ(std::count(std::begin(model->lengths), std::end(model->lengths), last), 64);
        }
    }
    writer.join();
    EXPECT_EQ(exchange->fetch(), nullptr);
}
