#include "AM_DelayMatrix.h"

#include "AM_Assert.h"

#include <cmath>

f32 iDelayMatrix::read() {
    f32 sum = 0.0f;
    for (i32 i = 0; i < numElements; ++i)
        sum += elements[i]->read();
    return sum / static_cast<f32>(numElements);
}

void iDelayMatrix::write(f32 sample) {
    for (i32 i = 0; i < numElements; ++i)
        elements[i]->write(sample);
}

void iDelayMatrix::addToNewest(f32 sample) {
    for (i32 i = 0; i < numElements; ++i)
        elements[i]->addToNewest(sample);
}

void iDelayMatrix::clear() {
    for (i32 i = 0; i < numElements; ++i)
        elements[i]->clear();
}

void iDelayMatrix::setGain(f32 gain) {
    for (i32 i = 0; i < numElements; ++i)
        elements[i]->setGain(gain);
}

f32 iDelayMatrix::getGain() {
    f32 sum = 0.0f;
    for (i32 i = 0; i < numElements; ++i)
        sum += elements[i]->getGain();
    return sum / static_cast<f32>(numElements);
}

f32 iDelayMatrix::getLength() {
    f32 sum = 0.0f;
    for (i32 i = 0; i < numElements; ++i)
        sum += elements[i]->getLength();
    return sum;
}

i32 iDelayMatrix::getNumDelays() {
    i32 sum = 0;
    for (i32 i = 0; i < numElements; ++i)
        sum += elements[i]->getNumDelays();
    return sum;
}

void iDelayMatrix::setElements(iDelayElement** array, i32 count) {
    elements = array;
    numElements = count;
}

void iDelayMatrix::setElement(iDelayElement* element, i32 index) {
    AM_ASSERT(index >= 0 && index < numElements, "inX < numElements");
    elements[index] = element;
}

template <i32 N>
f32 fdnMatrixHouseHolder<N>::tick(f32 input, f32 feedback) {
    feedback = effective(feedback);
    const f32 m = read();
    const f32 c = feedback * -2.0f;
    // Each element adds y * feedback * gain by itself.
    for (i32 i = 0; i < N; ++i) {
        iDelayElement* element = elements[i];
        const f32 g = element->getGain();
        element->tick(g * c * m + input, feedback);
    }
    return m;
}

template class fdnMatrixHouseHolder<4>;
template class fdnMatrixHouseHolder<6>;
template class fdnMatrixHouseHolder<8>;

f32 fdnMatrixGerzon4::tick(f32 input, f32 feedback) {
    feedback = effective(feedback);
    const f32 s = static_cast<f32>(static_cast<f64>(feedback) / std::sqrt(2.0));
    const f32 y0 = elements[0]->read();
    const f32 y1 = elements[1]->read();
    const f32 y2 = elements[2]->read();
    const f32 y3 = elements[3]->read();
    feed(0, (y2 + y1) * s, input);
    feed(1, (-y0 - y3) * s, input);
    feed(2, (y0 - y3) * s, input);
    feed(3, (y1 - y2) * s, input);
    return ((y1 + y0) + y2) + y3;
}

f32 fdnMatrixHadamardWalsh4::tick(f32 input, f32 feedback) {
    const f32 s = effective(feedback) * 0.5f;
    const f32 y0 = elements[0]->read();
    const f32 y1 = elements[1]->read();
    const f32 y2 = elements[2]->read();
    const f32 y3 = elements[3]->read();
    const f32 sum01 = y1 + y0;
    const f32 difference01 = y0 - y1;
    const f32 rows[4] = {(sum01 + y2) + y3, (difference01 + y2) - y3, (sum01 - y2) - y3,
                         (difference01 - y2) + y3};
    for (i32 r = 0; r < 4; ++r)
        feed(order[r], rows[r] * s, input);
    return rows[0];
}

f32 fdnMatrixHadamardWalsh8::tick(f32 input, f32 feedback) {
    feedback = effective(feedback);
    const f32 s = static_cast<f32>((static_cast<f64>(feedback) * 0.4) * 0.875);
    f32 y[8];
    for (i32 i = 0; i < 8; ++i)
        y[i] = elements[i]->read();
    // The first four terms, from left to right, are shared by two rows each.
    const f32 sum01 = y[0] + y[1];
    const f32 difference01 = y[0] - y[1];
    const f32 head0 = (sum01 + y[2]) + y[3];
    const f32 head1 = (difference01 + y[2]) - y[3];
    const f32 head2 = (sum01 - y[2]) - y[3];
    const f32 head3 = (difference01 - y[2]) + y[3];
    const f32 rows[8] = {
        (((head0 + y[4]) + y[5]) + y[6]) + y[7], (((head1 + y[4]) - y[5]) + y[6]) - y[7],
        (((head2 + y[4]) + y[5]) - y[6]) - y[7], (((head3 + y[4]) - y[5]) - y[6]) + y[7],
        (((head0 - y[4]) - y[5]) - y[6]) - y[7], (((head1 - y[4]) + y[5]) - y[6]) + y[7],
        (((head2 - y[4]) - y[5]) + y[6]) + y[7], (((head3 - y[4]) + y[5]) + y[6]) - y[7]};
    for (i32 r = 0; r < 8; ++r)
        feed(order[r], rows[r] * s, input);
    return rows[0];
}
