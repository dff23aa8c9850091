#include "AM_Kernels.inl"

const AM_KernelSet AM_kernelsSse = {
    mean,
    collect,
    {householder<4>, hadamard4, gerzon4, householder<6>, householder<8>, hadamard8},
    resample};

const AM_KernelSet& AM_kernels() {
    static const bool wide = __builtin_cpu_supports("avx");
    return wide ? AM_kernelsAvx : AM_kernelsSse;
}
