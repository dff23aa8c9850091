// Feedback matrices: each couples a small group of delay lines, so that a line's
// input is the external input plus a fixed linear mix of what all lines of the group
// output. A matrix is itself an iDelayElement, so matrices nest.
#pragma once

#include "AM_SampleDelay.h"

class iDelayMatrix : public iDelayElement {
public:
    // The mean of the elements' outputs.
    f32 read() override;
    // These pass the one value on to every element.
    void write(f32 sample) override;
    void addToNewest(f32 sample) override;
    void clear() override;
    void setGain(f32 gain) override;
    // The mean of the elements' gains.
    f32 getGain() override;
    // The sum, not the mean, of the elements' lengths.
    f32 getLength() override;
    i32 getNumDelays() override;

    // Uses `array` of `count` elements, neither copied nor owned.
    virtual void setElements(iDelayElement** array, i32 count);
    // Asserts "inX < numElements".
    virtual void setElement(iDelayElement* element, i32 index);
    // A muted matrix still lets its input into the lines but recirculates nothing.
    virtual void setMuteFeedback(u8 mute) { muteFeedback = mute; }
    virtual u8 isFeedbackMuted() { return muteFeedback; }

protected:
    ~iDelayMatrix() = default;
    // The feedback that counts: 0 while muted.
    f32 effective(f32 feedback) { return isFeedbackMuted() ? 0.0f : feedback; }
    // Feeds element `index` with the mix `value` times its gain; its own feedback is off, but the
    // zero is multiplied through, so that a non-finite output stays visible.
    void feed(i32 index, f32 value, f32 input) {
        iDelayElement* element = elements[index];
        const f32 g = element->getGain();
        element->tick(g * value + input, 0.0f);
    }

    iDelayElement** elements = nullptr;
    i32 numElements = 0;
    u8 muteFeedback = 0;
};

// Reflection through the mean: y - 2 * mean(y). `tick` returns the mean.
template <i32 N>
class fdnMatrixHouseHolder final : public iDelayMatrix {
public:
    fdnMatrixHouseHolder() { setElements(inlineElements, N); }
    f32 tick(f32 input, f32 feedback) override;

    // -2 / N, the factor of the sum; `tick` gets to it by way of the mean.
    f32 reflection = -2.0f / static_cast<f32>(N);

private:
    iDelayElement* inlineElements[N] = {};
};

extern template class fdnMatrixHouseHolder<4>;
extern template class fdnMatrixHouseHolder<6>;
extern template class fdnMatrixHouseHolder<8>;

// A fixed 4x4 sign pattern with two lines a row, scaled by 1/sqrt(2). `tick` returns the sum.
class fdnMatrixGerzon4 final : public iDelayMatrix {
public:
    fdnMatrixGerzon4() { setElements(inlineElements, 4); }
    f32 tick(f32 input, f32 feedback) override;

private:
    iDelayElement* inlineElements[4] = {};
};

// 4x4 Hadamard, scaled by 1/2. `tick` returns the sum.
class fdnMatrixHadamardWalsh4 final : public iDelayMatrix {
public:
    fdnMatrixHadamardWalsh4() { setElements(inlineElements, 4); }
    f32 tick(f32 input, f32 feedback) override;

private:
    i32 order[4] = {0, 1, 2, 3};
    iDelayElement* inlineElements[4] = {};
};

// 8x8 Hadamard in Sylvester's order, scaled by 0.35, a little below the unitary 1/sqrt(8).
// `tick` returns the sum.
class fdnMatrixHadamardWalsh8 final : public iDelayMatrix {
public:
    fdnMatrixHadamardWalsh8() { setElements(inlineElements, 8); }
    f32 tick(f32 input, f32 feedback) override;

private:
    i32 order[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    iDelayElement* inlineElements[8] = {};
};
