// Compiled for machines with AVX; nothing here runs on others.
#include "AM_Kernels.inl"

const AM_KernelSet AM_kernelsAvx = k_kernels;
