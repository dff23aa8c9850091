// Runs the whole plug-in as a host would, in memory.
#pragma once

#include "AM_AudioThread.h"
#include "AM_DelayNetWorks.h"
#include "AM_ParaMan.h"
#include "AM_PluginTable.h"
#include "Glassmere_AudioMan.h"
#include "Signals.h"

#include <xmmintrin.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

// Flush to zero and denormals are zero, as the bindings set it around their calls.
class FlushDenormals {
public:
    FlushDenormals() : saved(_mm_getcsr()) { _mm_setcsr(saved | 0x8040); }
    ~FlushDenormals() { _mm_setcsr(saved); }

private:
    u32 saved;
};

class Plugin {
public:
    explicit Plugin(f64 rate = 48000.0, const char* code = nullptr) : man(k_glassmereId) {
        man.initialize();
        man.setSampleRate(rate);
        if (code) setCode(code);
    }

    AM_ParaMan& paraMan() { return *man.getParaMan(); }
    AM_DelayNetWorks& network() { return *static_cast<AM_DelayNetWorks*>(man.findObject("FDN")); }
    i32 id(const char* name) { return paraMan().findParameter(name); }
    // In force from the next frame, without a ramp.
    void set(const char* name, f32 value) { paraMan().setParameterValue(id(name), value, 0, true); }
    void setCode(const std::string& code) {
        paraMan().setParameterValueComplex(id("FDN:Params"), code.c_str(),
                                           static_cast<i32>(code.size()) + 1);
    }
    std::string code() { return paraMan().getText(id("FDN:Params")); }

    // One host block of `frames` frames; any pointer may be null, in and out may be the same.
    void block(f32* inL, f32* inR, f32* outL, f32* outR, i32 frames) {
        const FlushDenormals flush;
        BlockContext* context = man.getBlockContext();
        context->inputs[0] = inL;
        context->inputs[1] = inR;
        context->outputs[0] = outL;
        context->outputs[1] = outR;
        context->numFrames = frames;
        man.setTransport(context, 0.0, 0.0);
        man.processBlock();
    }

    // Processes `input` in blocks as `nextSize` gives them; in place or beside.
    StereoBuffer run(const StereoBuffer& input, const std::function<i32()>& nextSize,
                     bool inPlace = false) {
        StereoBuffer work = input;
        StereoBuffer output(input.size());
        StereoBuffer& target = inPlace ? work : output;
        for (size_t done = 0; done < input.size();) {
            const i32 frames = static_cast<i32>(std::min<size_t>(nextSize(), input.size() - done));
            block(&work.left[done], &work.right[done], &target.left[done], &target.right[done],
                  frames);
            done += static_cast<size_t>(frames);
        }
        return target;
    }
    StereoBuffer run(const StereoBuffer& input, i32 blockSize = 512, bool inPlace = false) {
        return run(
            input, [blockSize] { return blockSize; }, inPlace);
    }

    Glassmere_AudioMan man;
};

inline std::string randomCode(std::mt19937& engine) {
    std::string code;
    for (const char* alphabet : AM_codeAlphabets)
        code += alphabet[engine() % std::strlen(alphabet)];
    code += '-';
    for (u32 n = 1 + engine() % 8; n > 0; --n)
        code += static_cast<char>('A' + engine() % 26);
    return code;
}
