// --an2k-out: the fingers of a run as one ANSI/NIST-ITL transaction.
#ifndef KOVRAL_TOOLS_AN2K_OUTPUT_H
#define KOVRAL_TOOLS_AN2K_OUTPUT_H

#include "cli_options.h"
#include "input_files.h"
#include "output_commit.h"
#include "worker_pool.h"

#include <set>
#include <string>
#include <vector>

namespace kovral_tool {

// Writes options.an2kOut: a Type-1 record and one Type-14 record per finger
// image of every slap split (inputs in order, fingers left to right), with
// its NIST finger position, the source's impression type, 500 ppi and the
// pixels uncompressed; 14.020 says where each finger was cut from. Read from
// the outputs of the run (the summaries and finger images); written to a
// temporary and renamed into place. On failure returns false and sets error.
bool WriteFingerTransaction(const Options& options, const std::vector<InputFile>& inputs,
                            const std::vector<TaskOutcome>& outcomes, const std::set<FileIdentity>& inputFiles,
                            std::string& error);

} // namespace kovral_tool

#endif
