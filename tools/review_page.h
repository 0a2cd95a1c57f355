// The review page of a batch (--report): one HTML file, no server and nothing
// fetched from elsewhere, with a row per slap (overlay thumbnail, finger
// images, quality, flags, hand), failed and flagged slaps first, sortable by
// column, and counts at the top. Images are referenced relative to the page.
#ifndef KOVRAL_TOOLS_REVIEW_PAGE_H
#define KOVRAL_TOOLS_REVIEW_PAGE_H

#include "cli_options.h"
#include "input_files.h"
#include "worker_pool.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace kovral_tool {

// One slap as the page shows it.
struct ReviewSlap
{
    std::string input;                               // the file as the user named it
    bool ok = false;                                 // split, and every output written
    std::string message;                             // why it failed
    nlohmann::ordered_json record;                   // its JSON summary as written this run; null when none was
    std::filesystem::path overlay;                   // the overlay image; empty when there is none
    std::vector<std::filesystem::path> fingerImages; // left to right
};

// The page. Image paths are made relative to pageDir. Slaps keep their order
// within each group: failed, then flagged (no finger found, or any flag or
// deficiency in the summary), then the rest.
std::string ReviewPageHtml(const std::vector<ReviewSlap>& slaps, const std::filesystem::path& pageDir);

// The slap of input as the batch left it; outcome is what its worker reported.
ReviewSlap ReviewEntry(const Options& options, const InputFile& input, const std::string& label,
                       const TaskOutcome& outcome);

// Writes the page to options.report the way every output is written (a
// temporary beside it, renamed into place). On failure returns false and sets error.
bool WriteReviewPage(const Options& options, const std::vector<ReviewSlap>& slaps, std::string& error);

} // namespace kovral_tool

#endif
