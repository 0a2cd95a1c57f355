// The files written for one slap: finger images, the JSON summary and the
// overlay, named after the slap.
#ifndef KOVRAL_TOOLS_SLAP_OUTPUTS_H
#define KOVRAL_TOOLS_SLAP_OUTPUTS_H

#include "cli_options.h"

#include <kovral.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kovral_tool {

// Fingers a split reports at most.
inline constexpr int kMaxFingers = 4;

// What one split of one slap gave, as the summary records it. Every field of
// the JSON summary comes from here, in SummaryJson.
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
    // Finger position code of the slap's record (13 right four, 14 left four,
    // 15 both thumbs; 0 none). Readers of record formats set it; with the
    // accurate locator the JSON flags a hand seen in the image that differs.
    int recordPosition = 0;
};

// KOVRAL_HAND_* of a slap finger position code (13, 14, 15), else KOVRAL_HAND_UNKNOWN.
int HandOfPosition(int position);

// Output paths of slap name in outDir.
std::string FingerPath(const Options& options, const std::string& name, int position);
std::string SummaryPath(const Options& options, const std::string& name);
std::string OverlayPath(const Options& options, const std::string& name);

// Every file that a run with any options may write for slap name: summary,
// overlay, and finger images of every position in either format.
std::vector<std::string> PossibleOutputs(const Options& options, const std::string& name);

enum class EarlierOutputs
{
    None,
    Complete,     // the summary, every finger image it names, and the overlay if asked for
    Incomplete
};

// What an earlier run left for slap name; first names the first file found.
EarlierOutputs FindEarlierOutputs(const Options& options, const std::string& name, std::string& first);

// The summary's "input" when it came from the bundled sample.
inline constexpr const char* kSampleInput = "(bundled sample)";

// The JSON summary of a split.
nlohmann::ordered_json SummaryJson(const SlapSummary& summary);

// The summary's text as written to its file.
std::string SummaryText(const SlapSummary& summary);

} // namespace kovral_tool

#endif
