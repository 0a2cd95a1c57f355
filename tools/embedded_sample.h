// The sample slap compiled into the program, for a run without inputs.
#ifndef KOVRAL_TOOLS_EMBEDDED_SAMPLE_H
#define KOVRAL_TOOLS_EMBEDDED_SAMPLE_H

#include <cstdint>
#include <span>

namespace kovral_tool {

// The PNG file's bytes; empty in a build without the sample.
std::span<const uint8_t> BundledSample();

} // namespace kovral_tool

#endif
