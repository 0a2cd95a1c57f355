// Which vector instructions the inner loops of the library may use. SSE2 is
// part of every x86-64 processor and used freely; wider paths are chosen once
// per process from what the processor offers. Every path gives the same bytes.
#ifndef KOVRAL_SIMD_H
#define KOVRAL_SIMD_H

// True when the AVX2 loops run: the processor has AVX2 and the environment
// variable KOVRAL_SIMD, read at the first call, is not "baseline" (the tests
// set it to run the baseline loops on any machine).
bool UseAvx2();

#endif
