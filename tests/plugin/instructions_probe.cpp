// Runs as many blocks of 512 frames as it is told, for a count of their instructions.
#include "AM_Kernels.h"
#include "PluginHarness.h"

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
    const i32 blocks = count > 1 ? std::atoi(arguments[1]) : 0;
    Plugin plugin(48000.0, "AGUZ36-COUNT");
    StereoBuffer in = noise(512), out(512);
    for (i32 i = 0; i < blocks; ++i)
        plugin.block(in.left.data(), in.right.data(), out.left.data(), out.right.data(), 512);
    std::puts(&AM_kernels() == &AM_kernelsAvx ? "avx" : "sse");
}
