// What a well-known DSP compiler makes of network64.dsp.
#pragma once

#include <memory>
#include <vector>

class dsp;

class Yardstick {
public:
    // At 48 kHz, with noise to chew on.
    explicit Yardstick(int frames);
    ~Yardstick();
    void block();

private:
    std::unique_ptr<dsp> network;
    std::vector<float> in[2], out[2];
};
