// The instruction set choice, made once.
#include "simd/simd.h"

#include <cstdlib>
#include <cstring>

bool UseAvx2()
{
    static const bool avx2 = [] {
        const char* forced = std::getenv("KOVRAL_SIMD");
        if (forced != nullptr && std::strcmp(forced, "baseline") == 0)
            return false;
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return avx2;
}
