#include "embedded_sample.h"

#ifdef KOVRAL_SAMPLE_PATH
// The file goes into read-only data as it is, between two labels.
asm(".pushsection .rodata\n"
    ".balign 16\n"
    ".globl kovral_sample_begin\n"
    ".hidden kovral_sample_begin\n"
    "kovral_sample_begin:\n"
    ".incbin \"" KOVRAL_SAMPLE_PATH "\"\n"
    ".globl kovral_sample_end\n"
    ".hidden kovral_sample_end\n"
    "kovral_sample_end:\n"
    ".popsection\n");

extern "C" const uint8_t kovral_sample_begin[];
extern "C" const uint8_t kovral_sample_end[];
#endif

namespace kovral_tool {

std::span<const uint8_t> BundledSample()
{
#ifdef KOVRAL_SAMPLE_PATH
    return {kovral_sample_begin, kovral_sample_end};
#else
    return {};
#endif
}

} // namespace kovral_tool
