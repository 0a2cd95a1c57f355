#include "progress_display.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace kovral_tool {

namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr int kDefaultColumns = 80;
constexpr int kMinBarWidth = 10;
constexpr int kMaxBarWidth = 40;
constexpr int kSecondsPerMinute = 60;
constexpr const char* kClearLine = "\r\033[K";

int TerminalColumns()
{
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return kDefaultColumns;
}

std::string MinutesAndSeconds(double seconds)
{
    long s = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", s / kSecondsPerMinute, s % kSecondsPerMinute);
    return text;
}

} // namespace

Progress::Progress(size_t total, bool quiet, std::string program)
    : total_(total), quiet_(quiet), bar_(!quiet && isatty(STDERR_FILENO)), program_(std::move(program))
{ }

double Progress::Seconds() const
{
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Progress::Done(const std::string& input, const TaskOutcome& outcome)
{
    done_++;
    if (outcome.skipped)
        skipped_++;
    else if (outcome.ok) {
        split_++;
        fingers_ += static_cast<size_t>(outcome.fingers);
    } else
        failures_++;
    if (bar_)
        Clear();
    if (!outcome.ok)
        std::fprintf(stderr, "%s: %s: %s\n", program_.c_str(), input.c_str(), outcome.message.c_str());
    else if (!bar_ && !quiet_)
        std::printf("[%zu/%zu] %s: %s\n", done_, total_, input.c_str(), outcome.message.c_str());
    std::fflush(stdout);
    if (bar_)
        Draw();
}

void Progress::Tick()
{
    if (bar_ && Clock::now() - drawn_ >= kRedrawInterval)
        Draw();
}

void Progress::Finish()
{
    if (bar_)
        Clear();
}

void Progress::Clear()
{
    std::fputs(kClearLine, stderr);
    std::fflush(stderr);
}

void Progress::Draw()
{
    drawn_ = Clock::now();
    double seconds = Seconds();
    double rate = seconds > 0 ? split_ / seconds : 0;
    double pace = seconds > 0 ? done_ / seconds : 0; // skips and failures take time too
    std::string eta = done_ > 0 && pace > 0 ? MinutesAndSeconds((total_ - done_) / pace) : "-:--";
    char tail[128];
    std::snprintf(tail, sizeof tail, " %zu/%zu %3zu%%  %.1f slaps/s  ETA %s", done_, total_,
                  total_ ? done_ * 100 / total_ : 100, rate, eta.c_str());
    std::string text(tail);
    int width = std::clamp(TerminalColumns() - static_cast<int>(text.size()) - 3, 0, kMaxBarWidth);
    std::string bar;
    if (width >= kMinBarWidth) {
        size_t filled = total_ ? done_ * static_cast<size_t>(width) / total_ : 0;
        // Appended piece by piece: gcc 12 at -O3 warns of a false overlap in the concatenation.
        bar.append(1, '[').append(filled, '#').append(static_cast<size_t>(width) - filled, '.').append(1, ']');
    }
    std::fprintf(stderr, "%s%s%s", kClearLine, bar.c_str(), text.c_str());
    std::fflush(stderr);
}

std::string Progress::Summary() const
{
    double seconds = Seconds();
    char text[200];
    int used = std::snprintf(text, sizeof text, "%zu %s split, %zu %s found, %zu %s", split_,
                             split_ == 1 ? "slap" : "slaps", fingers_, fingers_ == 1 ? "finger" : "fingers",
                             failures_, failures_ == 1 ? "failure" : "failures");
    std::string summary(text, static_cast<size_t>(used));
    if (skipped_ > 0)
        summary += ", " + std::to_string(skipped_) + " skipped";
    std::snprintf(text, sizeof text, ", %.1f s", seconds);
    summary += text;
    if (split_ > 0 && seconds > 0) {
        std::snprintf(text, sizeof text, ", %.2f slaps/s", split_ / seconds);
        summary += text;
    }
    return summary;
}

} // namespace kovral_tool
