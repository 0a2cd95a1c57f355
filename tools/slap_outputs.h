// The files written for one slap: finger images, the JSON summary and the
// overlay, named after the slap, never replacing a file unless asked to.
#ifndef KOVRAL_TOOLS_SLAP_OUTPUTS_H
#define KOVRAL_TOOLS_SLAP_OUTPUTS_H

#include "cli_options.h"

#include <kovral.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

namespace kovral_tool {

// Fingers a split reports at most.
inline constexpr int kMaxFingers = 4;

// What one split of one slap gave, as the summary records it.
struct SlapSummary
{
    std::string input;              // the file as given, or "(bundled sample)"
    int width = 0;
    int height = 0;
    int fingerWidth = 0;
    int fingerHeight = 0;
    int result = 0;                 // KOVRAL_DoSplit's result code
    int count = 0;
    KOVRAL_INFO_ fingers[kMaxFingers] = {};
    std::vector<std::string> fingerFiles;   // file names beside the summary, left to right
    int judgement = KOVRAL_EINVAL;  // KOVRAL_JudegeFingers on four fingers
    // With the accurate locator: per finger confidence and flags, and the report.
    bool accurate = false;
    int confidence[kMaxFingers] = {};
    uint32_t flags[kMaxFingers] = {};
    kovral_slap_report report = {};
};

// Output paths of slap name in outDir.
std::string FingerPath(const Options& options, const std::string& name, int position);
std::string SummaryPath(const Options& options, const std::string& name);
std::string OverlayPath(const Options& options, const std::string& name);

// Without --force: the first output of this slap that exists already, or ""
// when there is none. Finger images of every position count, so that a run
// never mixes its results with an earlier run's.
std::string FirstExistingOutput(const Options& options, const std::string& name);

// With --force: removes finger images of positions after count left from an earlier run.
void RemoveStaleFingers(const Options& options, const std::string& name, int count);

// The JSON summary of a split.
nlohmann::ordered_json SummaryJson(const SlapSummary& summary);

// Writes the file at path through a temporary file in the same directory
// (created if missing), so that an interrupted run leaves no partial output
// under the final name. write gets the temporary path and returns success.
// On failure returns false and sets error.
bool WriteOutput(const std::string& path, const std::function<bool(const std::string&)>& write, std::string& error);

} // namespace kovral_tool

#endif
