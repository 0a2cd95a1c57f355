// Runs the slaps of a batch in forked worker processes: the library splits one
// image at a time per process, so parallel splits need processes.
#ifndef KOVRAL_TOOLS_WORKER_POOL_H
#define KOVRAL_TOOLS_WORKER_POOL_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace kovral_tool {

struct TaskOutcome
{
    TaskOutcome(bool ok = false, int fingers = 0, std::string message = "", std::string record = "")
        : ok(ok), fingers(fingers), message(std::move(message)), record(std::move(record))
    {
    }

    bool ok;
    int fingers;
    std::string message;   // the reason of a failure, or what was written
    std::string record;    // the slap's JSON summary when one was written, else ""
};

using TaskFunction = std::function<TaskOutcome(size_t index)>;
using ReportFunction = std::function<void(size_t index, const TaskOutcome& outcome)>;

// Runs task(i) for every i below count in up to jobs worker processes forked
// from this one; a worker takes the next task whenever it finishes one, so
// tasks are reported in the order they finish. report runs in this process as
// outcomes arrive and tick about ten times a second in between. A worker that
// dies takes only its current task with it: that task is reported as failed
// with the signal or exit status, and a new worker goes on with the rest.
void RunInWorkers(size_t count, int jobs, const TaskFunction& task, const ReportFunction& report,
                  const std::function<void()>& tick);

} // namespace kovral_tool

#endif
