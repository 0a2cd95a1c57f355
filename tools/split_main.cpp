// kovral-split: splits slap images into finger images from the command line.
#include "an2k_output.h"
#include "cli_options.h"
#include "input_files.h"
#include "output_commit.h"
#include "progress_display.h"
#include "review_page.h"
#include "run_lock.h"
#include "slap_job.h"
#include "slap_outputs.h"
#include "slap_sources.h"
#include "worker_pool.h"

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

using namespace kovral_tool;

namespace {

constexpr int kFailed = 1;
// A run ended by a signal exits as a shell reports a process killed by it.
constexpr int kSignalExitBase = 128;

std::string Label(const InputFile& input)
{
    if (input.path.empty())
        return "bundled sample";
    return input.recordName.empty() ? input.path : input.path + " " + input.recordName;
}

// Tells a first-time user where the sample's results went.
void DescribeSampleResults(const Options& options, const InputFile& sample, size_t fingers)
{
    std::string dir = std::filesystem::absolute(options.outDir).lexically_normal().string();
    std::printf("Split the bundled sample slap: %zu fingers found.\nResults in %s:\n", fingers, dir.c_str());
    if (fingers > 0)
        std::printf(
            "  %s .. %s  finger images, left to right\n",
            std::filesystem::path(FingerPath(options, sample.name, 1)).filename().c_str(),
            std::filesystem::path(FingerPath(options, sample.name, static_cast<int>(fingers))).filename().c_str());
    std::printf("  %s  centres, angles, quality, hand judgement\n",
                std::filesystem::path(SummaryPath(options, sample.name)).filename().c_str());
    std::printf("  %s  the slap with every finger marked\n",
                std::filesystem::path(OverlayPath(options, sample.name)).filename().c_str());
    std::printf("Split your own: kovral-split SLAP.png ... (kovral-split --help)\n");
}

} // namespace

int main(int argc, char** argv)
{
    int exitCode = 0;
    std::optional<Options> parsed = ParseCommandLine(argc, argv, exitCode);
    if (!parsed)
        return exitCode;
    Options& options = *parsed;
    CatchInterruptions();

    // The output folder: taken once for the whole run, before any input is looked at.
    std::string error;
    if (!LockOutputFolder(options.outDir, error)) {
        std::fprintf(stderr, "kovral-split: %s\n", error.c_str());
        return kFailed;
    }
    WalkRules rules{options.recursive, options.followLinks, std::nullopt};
    struct stat outInfo;
    if (stat(options.outDir.c_str(), &outInfo) == 0)
        rules.outDir = FileIdentity{outInfo.st_dev, outInfo.st_ino};

    // Without inputs: the bundled sample, with its overlay, into the output folder.
    bool sample = options.inputs.empty();
    std::vector<InputFile> inputs;
    if (sample) {
        inputs.push_back({"", "sample", ""});
        options.overlay = true;
    } else {
        inputs = CollectInputs(options.inputs, rules);
        ExpandTransactionFiles(inputs, options.records);
    }
    const std::set<FileIdentity> inputFiles = InputIdentities(inputs);
    if (!options.report.empty()) {
        std::error_code ec;
        if (!options.force && std::filesystem::exists(std::filesystem::symlink_status(options.report, ec))) {
            std::fprintf(stderr, "kovral-split: %s exists (--force replaces it)\n", options.report.c_str());
            return kFailed;
        }
        options.overlay = true;
    }
    if (!options.an2kOut.empty() && !options.force) {
        std::error_code ec;
        if (std::filesystem::exists(std::filesystem::symlink_status(options.an2kOut, ec))) {
            std::fprintf(stderr, "kovral-split: %s exists (--force replaces it)\n", options.an2kOut.c_str());
            return kFailed;
        }
    }
    std::vector<TaskOutcome> outcomes(inputs.size());

    Progress progress(inputs.size(), options.quiet || sample);
    std::vector<size_t> runnable;
    for (size_t i = 0; i < inputs.size(); i++) {
        if (inputs[i].error.empty())
            runnable.push_back(i);
        else {
            outcomes[i] = {false, 0, inputs[i].error};
            progress.Done(Label(inputs[i]), outcomes[i]);
        }
    }

    // Each worker process initialises the library once, at its first slap.
    std::unique_ptr<SlapSplitter> splitter;
    auto task = [&](size_t k) {
        if (!splitter)
            splitter = std::make_unique<SlapSplitter>(options, inputFiles);
        return splitter->Split(inputs[runnable[k]]);
    };
    auto report = [&](size_t k, const TaskOutcome& outcome) {
        outcomes[runnable[k]] = outcome;
        progress.Done(Label(inputs[runnable[k]]), outcome);
    };
    // A worker that died may have left temporaries beside its slap's outputs.
    auto died = [&](size_t k, pid_t pid) {
        RemoveTemporariesOf(pid, std::filesystem::path(SummaryPath(options, inputs[runnable[k]].name)).parent_path());
    };
    int jobs = static_cast<int>(std::min<size_t>(static_cast<size_t>(options.jobs), runnable.size()));
    BatchEnd end = RunInWorkers(
        runnable.size(), jobs, task, report, [&] { progress.Tick(); }, died);
    progress.Finish();

    if (end.signal) {
        std::printf("kovral-split: interrupted by SIG%s: %s, %zu not started\n", sigabbrev_np(end.signal),
                    progress.Summary().c_str(), end.notStarted);
        std::fflush(stdout);
        return kSignalExitBase + end.signal;
    }

    bool reviewWritten = true;
    if (!options.report.empty()) {
        std::vector<ReviewSlap> slaps;
        for (size_t i = 0; i < inputs.size(); i++)
            slaps.push_back(ReviewEntry(options, inputs[i], Label(inputs[i]), outcomes[i]));
        reviewWritten = WriteReviewPage(options, slaps, error);
        if (!reviewWritten)
            std::fprintf(stderr, "kovral-split: %s\n", error.c_str());
    }

    if (!options.an2kOut.empty() && !WriteFingerTransaction(options, inputs, outcomes, inputFiles, error)) {
        std::fprintf(stderr, "kovral-split: %s\n", error.c_str());
        reviewWritten = false;
    }

    if (sample && progress.Failures() == 0 && !options.quiet)
        DescribeSampleResults(options, inputs[0], progress.Fingers());
    else
        std::printf("kovral-split: %s\n", progress.Summary().c_str());
    std::fflush(stdout);
    return progress.Failures() == 0 && reviewWritten ? 0 : kFailed;
}
