// Delay lines of 32-bit floats: the bare ring, the interface through which matrices
// and the network see a delay, and the leaf that implements it. Everything runs at
// the network's internal rate on the audio thread, one sample at a time.
#pragma once

#include "AM_Types.h"

// A ring buffer whose size is meant to be a power of two. All reads use
// samples[(write - d + mask) & mask], so d = 0 is the newest sample.
class AM_SampleDelay {
public:
    // Allocates and zeroes a ring of `inMax` samples with a guard float at either end; asserts
    // "inMax > 0".
    explicit AM_SampleDelay(i32 inMax);
    ~AM_SampleDelay();
    AM_SampleDelay(const AM_SampleDelay&) = delete;
    AM_SampleDelay& operator=(const AM_SampleDelay&) = delete;

    // The sample `len` behind the newest one.
    f32 read() const { return samples[(write - len + mask) & mask]; }
    // The same, and stores `input` behind the read.
    f32 read(f32 input);
    // The sample `delay` behind the newest one.
    f32 read_ix(i32 delay) const { return samples[(write - delay + mask) & mask]; }
    // Linear interpolation between the samples at `delay` and one behind it. Its whole part
    // becomes the length, on purpose.
    f32 readF(f32 delay);
    // Stores `sample` and advances.
    void push(f32 sample);
    // Adds `sample` to the newest one.
    void addToNewest(f32 sample) { samples[(write - 1) & mask] += sample; }
    // Zeroes the ring and sets the write index to the length.
    void clear();
    // Sets the length, and the mask if `newMask` is not negative. Asserts "inLen >= 0",
    // "newmask <= max" (below the ring's size) and, unless the mask is a run of ones from bit 0,
    // "!foundZero"; a length above the mask is logged and held at the mask.
    void set(i32 inLen, i32 newMask);

    f32* samples; // guards at samples[-1] and samples[max]
    i32 len;
    i32 max;
    i32 mask;
    i32 write;     // the slot that the next sample goes to, always masked
    i32 readIndex; // set by construction and clear, read by nothing here
    u8 owned;
};

// A delay, or a matrix of delays, as the network sees it.
class iDelayElement {
public:
    // The delayed output.
    virtual f32 read() = 0;
    // Reads, feeds `input` plus the scaled output back, and returns what was read.
    virtual f32 tick(f32 input, f32 feedback) = 0;
    virtual void write(f32 sample) = 0;
    virtual void addToNewest(f32 sample) = 0;
    virtual void clear() = 0;
    virtual void setGain(f32 gain) = 0;
    virtual f32 getGain() = 0;
    // Delay in samples; a matrix sums its elements.
    virtual f32 getLength() = 0;
    // How many leaf delays this element holds.
    virtual i32 getNumDelays() = 0;

protected:
    ~iDelayElement() = default;
};

// One ring with a gain and, if set, the ears of another ring: an aliased line reads
// what the other line outputs and goes on writing its own ring.
class fixedDelay final : public iDelayElement {
public:
    // A ring of `size` samples, all zero; the length starts at size - 1.
    explicit fixedDelay(i32 size);

    f32 read() override { return readable().read(); }
    f32 tick(f32 input, f32 feedback) override;
    void write(f32 sample) override { delay.push(sample); }
    void addToNewest(f32 sample) override { delay.addToNewest(sample); }
    void clear() override { delay.clear(); }
    void setGain(f32 newGain) override { gain = newGain; }
    f32 getGain() override { return gain; }
    f32 getLength() override { return static_cast<f32>(delay.len); }
    i32 getNumDelays() override { return 1; }

    virtual ~fixedDelay() = default;
    // Sets the length in samples, held at the mask. The loop delay in `tick` is one longer.
    virtual void setLength(i32 length) { delay.set(length, -1); }
    virtual f32 readF(f32 samplesBack) { return readable().readF(samplesBack); }
    virtual f32 read_ix(i32 samplesBack) { return readable().read_ix(samplesBack); }
    // Reads `source` from now on; null ends it. Only a fixedDelay lends its ring, any other
    // element leaves the alias empty.
    virtual void setAlias(iDelayElement* source);
    virtual AM_SampleDelay* getSampleDelay() { return &delay; }

    iDelayElement* getAliasSource() const { return aliasSource; }

private:
    AM_SampleDelay& readable() { return aliasDelay ? *aliasDelay : delay; }

    AM_SampleDelay delay;
    f32 gain = 1.0f;
    iDelayElement* aliasSource = nullptr;
    AM_SampleDelay* aliasDelay = nullptr;
};
