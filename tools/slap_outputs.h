// The files written for one slap: finger images, the JSON summary and the
// overlay, named after the slap.
#ifndef KOVRAL_TOOLS_SLAP_OUTPUTS_H
#define KOVRAL_TOOLS_SLAP_OUTPUTS_H

#include "cli_options.h"
#include "slap_sources.h"

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
    std::string input; // the file as given, or "(bundled sample)"
    int width = 0;
    int height = 0;
    int fingerWidth = 0;
    int fingerHeight = 0;
    int result = 0; // the split's result code (as KOVRAL_DoSplit's)
    int count = 0;
    KOVRAL_INFO_ fingers[kMaxFingers] = {};
    std::vector<std::string> fingerFiles; // file names beside the summary, left to right
    int judgement = KOVRAL_EINVAL;        // KOVRAL_JudegeFingers on four fingers
    SlapPlacement placement;              // the file's slap, its resolution, finger positions and boxes
    // With the accurate locator: per finger confidence and flags, and the report.
    bool accurate = false;
    int confidence[kMaxFingers] = {};
    uint32_t flags[kMaxFingers] = {};
    kovral_slap_report report = {};
};

// KOVRAL_HAND_* of a slap finger position code (13, 14, 15), else KOVRAL_HAND_UNKNOWN.
int HandOfPosition(int position);

// Output paths of slap name in outDir. A finger image of a fingerprint file's
// slap carries its NIST finger position fgp (>= 0): NAME_finger1_fgp2.bmp.
std::string FingerPath(const Options& options, const std::string& name, int position, int fgp = -1);
std::string SummaryPath(const Options& options, const std::string& name);
std::string OverlayPath(const Options& options, const std::string& name);

// Every file that a run with any options may write for slap name: summary,
// overlay, and finger images of every position and finger position code in
// either format.
std::vector<std::string> PossibleOutputs(const Options& options, const std::string& name);

enum class EarlierOutputs
{
    None,
    Complete, // the summary, every finger image it names, and the overlay if asked for
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
