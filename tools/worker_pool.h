// Runs the slaps of a batch in forked worker processes: the library splits one
// image at a time per process, so parallel splits need processes.
#ifndef KOVRAL_TOOLS_WORKER_POOL_H
#define KOVRAL_TOOLS_WORKER_POOL_H

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace kovral_tool {

struct TaskOutcome
{
    TaskOutcome(bool ok = false, int fingers = 0, std::string message = "", bool skipped = false,
                std::string record = "")
        : ok(ok), fingers(fingers), message(std::move(message)), skipped(skipped), record(std::move(record))
    { }

    bool ok;
    int fingers;
    std::string message; // the reason of a failure, or what was written
    bool skipped;        // ok, and nothing needed doing
    std::string record;  // the slap's JSON summary when one was written, else ""
};

using TaskFunction = std::function<TaskOutcome(size_t index)>;
using ReportFunction = std::function<void(size_t index, const TaskOutcome& outcome)>;
// Called when the worker pid died (or was killed) while running task index.
using DeathFunction = std::function<void(size_t index, pid_t pid)>;

// From now on SIGINT and SIGTERM only note that the run should stop; a
// batch in RunInWorkers then ends as described there.
void CatchInterruptions();

// The first of SIGINT and SIGTERM that arrived since CatchInterruptions, or 0.
int Interruption();

struct BatchEnd
{
    int signal = 0;        // the interruption that ended the batch early, or 0
    size_t notStarted = 0; // tasks never handed to a worker because of it
};

// Runs task(i) for every i below count in up to jobs worker processes forked
// from this one; a worker takes the next task whenever it finishes one, so
// tasks are reported in the order they finish. report runs in this process as
// outcomes arrive and tick about ten times a second in between. A worker that
// dies takes only its current task with it: that task is reported as failed
// with the signal or exit status, died is called, and a new worker goes on
// with the rest.
//
// Workers ignore SIGINT and SIGTERM: after an interruption (see
// CatchInterruptions) no task is started, each running one finishes and is
// reported, and every worker is reaped before this returns. A second
// interruption kills the running workers: their tasks are reported as
// discarded, died is called for each.
BatchEnd RunInWorkers(size_t count, int jobs, const TaskFunction& task, const ReportFunction& report,
                      const std::function<void()>& tick, const DeathFunction& died = {});

} // namespace kovral_tool

#endif
