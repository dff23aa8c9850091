// What holds for every mix; that the signs stay what they are, golden_test.cpp watches.
#include "AM_DelayMatrix.h"

#include "AM_Assert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

// A matrix over lines of length 1, each holding one known output.
template <class Matrix, i32 N>
struct Group {
    Matrix matrix;
    std::vector<std::unique_ptr<fixedDelay>> lines;

    Group() {
        for (i32 i = 0; i < N; ++i) {
            lines.push_back(std::make_unique<fixedDelay>(8));
            lines[i]->setLength(1);
            matrix.setElement(lines[i].get(), i);
        }
    }
    void setOutputs(const std::vector<f32>& y) {
        for (i32 i = 0; i < N; ++i) {
            lines[i]->write(y[i]);
            lines[i]->write(0.0f);
        }
    }
    f32 fed(i32 i) { return lines[i]->read_ix(0); }
    // Column `k` of the mix: what each line is fed when only line k sounds.
    std::vector<f32> column(i32 k, f32 feedback = 1.0f) {
        std::vector<f32> y(N, 0.0f);
        y[k] = 1.0f;
        setOutputs(y);
        matrix.tick(0.0f, feedback);
        std::vector<f32> result(N);
        for (i32 i = 0; i < N; ++i)
            result[i] = fed(i);
        return result;
    }
};

// Energy out over energy in of the mix, for each column, and the columns' products.
template <class Matrix, i32 N>
void expectOrthogonal(f32 scale) {
    Group<Matrix, N> group;
    std::vector<std::vector<f32>> columns;
    for (i32 k = 0; k < N; ++k)
        columns.push_back(group.column(k));
    for (i32 a = 0; a < N; ++a)
        for (i32 b = 0; b < N; ++b) {
            f64 product = 0.0;
            for (i32 i = 0; i < N; ++i)
                product += static_cast<f64>(columns[a][i]) * columns[b][i];
            EXPECT_NEAR(product, a == b ? scale : 0.0, 1e-6) << a << " " << b;
        }
}

} // namespace

TEST(DelayMatrix, MixesPreserveEnergyButForTheEightLineHadamard) {
    expectOrthogonal<fdnMatrixHouseHolder<4>, 4>(1.0f);
    expectOrthogonal<fdnMatrixHouseHolder<6>, 6>(1.0f);
    expectOrthogonal<fdnMatrixHouseHolder<8>, 8>(1.0f);
    expectOrthogonal<fdnMatrixGerzon4, 4>(1.0f);
    expectOrthogonal<fdnMatrixHadamardWalsh4, 4>(1.0f);
    expectOrthogonal<fdnMatrixHadamardWalsh8, 8>(8.0f * 0.35f * 0.35f);
}

TEST(DelayMatrix, HouseholderFeedsInputLessTheOutput) {
    Group<fdnMatrixHouseHolder<4>, 4> group;
    group.setOutputs({0.3f, 0.3f, 0.3f, 0.3f});
    EXPECT_FLOAT_EQ(group.matrix.tick(1.0f, 1.0f), 0.3f);
    for (i32 i = 0; i < 4; ++i)
        EXPECT_FLOAT_EQ(group.fed(i), 1.0f - 0.3f);
    EXPECT_EQ(fdnMatrixHouseHolder<6>().reflection, -0.33333334f);
}

TEST(DelayMatrix, EveryMixScalesWithTheLineGain) {
    Group<fdnMatrixHadamardWalsh8, 8> group;
    group.matrix.setGain(0.5f);
    EXPECT_EQ(group.matrix.getGain(), 0.5f);
    group.setOutputs(std::vector<f32>(8, 1.0f));
    EXPECT_EQ(group.matrix.tick(0.25f, 1.0f), 8.0f);
    EXPECT_FLOAT_EQ(group.fed(0), 0.25f + 0.5f * 2.8f);
    for (i32 i = 1; i < 8; ++i)
        EXPECT_FLOAT_EQ(group.fed(i), 0.25f);
}

TEST(DelayMatrix, AMutedMatrixRecirculatesNothing) {
    Group<fdnMatrixHouseHolder<6>, 6> householder;
    Group<fdnMatrixGerzon4, 4> gerzon;
    householder.matrix.setMuteFeedback(1);
    gerzon.matrix.setMuteFeedback(1);
    householder.setOutputs({1, 2, 3, 4, 5, 6});
    gerzon.setOutputs({1, 2, 3, 4});
    householder.matrix.tick(0.75f, 0.9f);
    gerzon.matrix.tick(0.75f, 0.9f);
    for (i32 i = 0; i < 4; ++i) {
        EXPECT_EQ(householder.fed(i), 0.75f);
        EXPECT_EQ(gerzon.fed(i), 0.75f);
    }
}

TEST(DelayMatrix, NestedMatricesCountAndReachTheirLeaves) {
    Group<fdnMatrixHouseHolder<4>, 4> groups[4];
    fdnMatrixHouseHolder<4> root;
    for (i32 g = 0; g < 4; ++g) {
        root.setElement(&groups[g].matrix, g);
        for (i32 i = 0; i < 4; ++i)
            groups[g].lines[i]->setLength(1 + ((g + i) & 3));
    }
    EXPECT_EQ(root.getNumDelays(), 16);
    EXPECT_EQ(root.getLength(), 4.0f * (1 + 2 + 3 + 4));
    root.setGain(0.125f);
    root.write(3.0f);
    root.addToNewest(1.0f);
    EXPECT_EQ(groups[3].lines[2]->getGain(), 0.125f);
    EXPECT_EQ(groups[2].fed(1), 4.0f);
    root.clear();
    EXPECT_EQ(groups[2].fed(1), 0.0f);
    EXPECT_THROW(root.setElement(&groups[0].matrix, 4), AM_AssertionError);
}
