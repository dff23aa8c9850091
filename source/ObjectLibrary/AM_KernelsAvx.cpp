// Compiled for machines with AVX; nothing here runs on others.
#include "AM_Kernels.inl"

const AM_KernelSet AM_kernelsAvx = {
    mean,
    collect,
    {householder<4>, hadamard4, gerzon4, householder<6>, householder<8>, hadamard8},
    resample};
