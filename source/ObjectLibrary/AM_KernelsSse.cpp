#include "AM_Kernels.inl"

const AM_KernelSet AM_kernelsSse = k_kernels;

const AM_KernelSet& AM_kernels() {
    static const bool wide = __builtin_cpu_supports("avx");
    return wide ? AM_kernelsAvx : AM_kernelsSse;
}
