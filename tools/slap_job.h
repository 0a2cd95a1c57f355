// One slap from file to outputs: decode, split, write finger images, summary
// and overlay.
#ifndef KOVRAL_TOOLS_SLAP_JOB_H
#define KOVRAL_TOOLS_SLAP_JOB_H

#include "cli_options.h"
#include "image_decoding.h"
#include "input_files.h"
#include "worker_pool.h"

#include <kovral.h>

namespace kovral_tool {

// Holds the library initialised for the largest slap; one per process.
class SlapSplitter
{
public:
    explicit SlapSplitter(const Options& options);
    ~SlapSplitter();
    SlapSplitter(const SlapSplitter&) = delete;
    SlapSplitter& operator=(const SlapSplitter&) = delete;

    // Splits input (the bundled sample when its path is empty) and writes its
    // outputs. Fails without writing anything when an output exists and
    // --force is not given, when the image cannot be read, or when the finger
    // size does not fit it.
    TaskOutcome Split(const InputFile& input);

private:
    bool Decode(const InputFile& input, GrayImage& image, std::string& error) const;

    const Options& options_;
    kovral_splitter* splitter_ = nullptr; // the accurate locator's, made at the first accurate split
};

} // namespace kovral_tool

#endif
