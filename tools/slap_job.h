// One slap from file to outputs: decode, split, write finger images, summary
// and overlay.
#ifndef KOVRAL_TOOLS_SLAP_JOB_H
#define KOVRAL_TOOLS_SLAP_JOB_H

#include "cli_options.h"
#include "image_decoding.h"
#include "input_files.h"
#include "output_commit.h"
#include "slap_sources.h"
#include "worker_pool.h"

#include <kovral.h>

#include <memory>
#include <set>
#include <vector>

namespace kovral_tool {

// What a worker keeps from slap to slap, so that after its first slap a
// split allocates and clears nothing: the splitter, the finger buffers, the
// reader's memory and the encoded finger file. One thread at a time.
class SplitWorkspace
{
public:
    SplitWorkspace() = default;
    ~SplitWorkspace();
    SplitWorkspace(const SplitWorkspace&) = delete;
    SplitWorkspace& operator=(const SplitWorkspace&) = delete;

private:
    friend class SlapSplitter;
    kovral_splitter* splitter_ = nullptr; // made at the first split, for the largest slap
    std::vector<uint8_t> fingers_;        // the four finger buffers, one after the other
    kovral_io::ImageFileReader reader_;
    GrayImage sample_;   // the bundled sample, decoded
    GrayImage slap_;     // a slap of a fingerprint file, decoded
    GrayImage prepared_; // a slap resampled or cut to the limits
    std::vector<uint8_t> encoded_;
};

// Splits slaps and writes their outputs; one per worker.
class SlapSplitter
{
public:
    // inputs: the files of the run, never replaced by an output. workspace:
    // the memory of the splits, the splitter's own when not given.
    SlapSplitter(const Options& options, const std::set<FileIdentity>& inputs, SplitWorkspace* workspace = nullptr);
    SlapSplitter(const SlapSplitter&) = delete;
    SlapSplitter& operator=(const SlapSplitter&) = delete;

    // Splits input (the bundled sample when its path is empty; a record of a
    // transaction file when input.record is set) and writes its
    // outputs together (see OutputSet). Fails without writing anything when
    // an output exists and neither --force nor --skip-existing is given (the
    // sample's own earlier results are replaced), when the image cannot be
    // read, when the finger size does not fit it, or when an output would
    // replace an input. With --force, outputs of the slap that this run does
    // not write (more fingers, the other format, an overlay) are removed.
    TaskOutcome Split(const InputFile& input);

private:
    // The slap of input as read, in the workspace's memory until the next
    // Decode; null with error on failure.
    const GrayImage* Decode(const InputFile& input, SlapSource& source, std::string& error);

    const Options& options_;
    const std::set<FileIdentity>& inputs_;
    std::unique_ptr<SplitWorkspace> own_;
    SplitWorkspace& work_;
};

} // namespace kovral_tool

#endif
