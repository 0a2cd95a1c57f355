// What a batch tells while it runs: a progress bar with rate and time left on
// a terminal, one log line per slap otherwise, errors always, and the closing
// summary line.
#ifndef KOVRAL_TOOLS_PROGRESS_DISPLAY_H
#define KOVRAL_TOOLS_PROGRESS_DISPLAY_H

#include "worker_pool.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace kovral_tool {

class Progress
{
public:
    // The bar goes to standard error when that is a terminal; log lines go to
    // standard output when it is not. quiet leaves only errors. program
    // starts every error line.
    Progress(size_t total, bool quiet, std::string program = "kovral-split");

    // One slap finished: an error line on standard error for a failure.
    void Done(const std::string& input, const TaskOutcome& outcome);

    // Redraws the bar now and then, so that rate and time left move.
    void Tick();

    // Clears the bar.
    void Finish();

    // "12 slaps split, 45 fingers found, 1 failure, 3 skipped, 3.4 s, 3.5 slaps/s":
    // the rate counts only the slaps split, and is left out when there are none.
    std::string Summary() const;

    size_t Split() const { return split_; }
    size_t Failures() const { return failures_; }
    size_t Fingers() const { return fingers_; }

private:
    double Seconds() const;
    void Draw();
    void Clear();

    using Clock = std::chrono::steady_clock;
    size_t total_;
    bool quiet_;
    bool bar_;
    size_t done_ = 0;
    size_t split_ = 0;
    size_t skipped_ = 0;
    size_t fingers_ = 0;
    size_t failures_ = 0;
    Clock::time_point start_ = Clock::now();
    Clock::time_point drawn_{};
    std::string program_;
};

} // namespace kovral_tool

#endif
