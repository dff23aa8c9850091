// Any text is a legal code: its model is whole, and built in bounded time.
#include "AM_DelayModel.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static AM_DelayModelBuilder builder;
    static AM_DelayModel model;
    const std::string code(reinterpret_cast<const char*>(data), size);
    builder.build(code.c_str(), model);
    for (i32 k = 0; k < k_numDelays; ++k)
        if (model.lengths[k] < 1 || model.lengths[k] > k_maxDelayLength ||
            model.aliases[k] >= k_numDelays)
            std::abort();
    if (model.numInputs != model.numMatrices || model.numOutputs > k_maxMatrices) std::abort();
    return 0;
}
