// One slap from file to outputs: decode, split, write finger images, summary
// and overlay.
#ifndef KOVRAL_TOOLS_SLAP_JOB_H
#define KOVRAL_TOOLS_SLAP_JOB_H

#include "cli_options.h"
#include "image_decoding.h"
#include "input_files.h"
#include "output_commit.h"
#include "worker_pool.h"

#include <kovral.h>

#include <set>

namespace kovral_tool {

// Holds the library initialised for the largest slap; one per process.
class SlapSplitter
{
public:
    // inputs: the files of the run, never replaced by an output.
    SlapSplitter(const Options& options, const std::set<FileIdentity>& inputs);
    ~SlapSplitter();
    SlapSplitter(const SlapSplitter&) = delete;
    SlapSplitter& operator=(const SlapSplitter&) = delete;

    // Splits input (the bundled sample when its path is empty) and writes its
    // outputs together (see OutputSet). Fails without writing anything when
    // an output exists and neither --force nor --skip-existing is given (the
    // sample's own earlier results are replaced), when the image cannot be
    // read, when the finger size does not fit it, or when an output would
    // replace an input. With --force, outputs of the slap that this run does
    // not write (more fingers, the other format, an overlay) are removed.
    TaskOutcome Split(const InputFile& input);

private:
    bool Decode(const InputFile& input, GrayImage& image, std::string& error) const;

    const Options& options_;
    const std::set<FileIdentity>& inputs_;
    kovral_splitter* splitter_ = nullptr; // the accurate locator's, made at the first accurate split
};

} // namespace kovral_tool

#endif
