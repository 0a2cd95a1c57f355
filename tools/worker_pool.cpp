#include "worker_pool.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <vector>

namespace kovral_tool {

namespace {

constexpr int kTickMilliseconds = 100;
// Workers that die before taking a task, in a row, before the batch gives up on them.
constexpr int kMaxFruitlessStarts = 8;
constexpr size_t kNoTask = SIZE_MAX;

volatile sig_atomic_t g_firstSignal = 0;
volatile sig_atomic_t g_signals = 0;

void NoteSignal(int signal)
{
    if (!g_firstSignal)
        g_firstSignal = signal;
    g_signals = g_signals + 1;
}

struct Worker
{
    pid_t pid = -1;
    int taskFd = -1;     // this process writes task indices
    int resultFd = -1;   // this process reads one JSON line per finished task
    std::string pending; // bytes of an unfinished line
    size_t task = kNoTask;
};

// Moves exactly size bytes with transfer (read or write), retrying after
// signals and short transfers; false at end of file or on an error.
template <typename Byte, typename Transfer>
bool TransferAll(int fd, Byte* p, size_t size, Transfer transfer)
{
    while (size > 0) {
        ssize_t n = transfer(fd, p, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool WriteAll(int fd, const void* data, size_t size)
{
    return TransferAll(fd, static_cast<const char*>(data), size, ::write);
}

bool ReadAll(int fd, void* data, size_t size)
{
    return TransferAll(fd, static_cast<char*>(data), size, ::read);
}

[[noreturn]] void WorkerMain(int taskFd, int resultFd, const TaskFunction& task)
{
    uint64_t index = 0;
    while (ReadAll(taskFd, &index, sizeof index)) {
        TaskOutcome outcome;
        try {
            outcome = task(static_cast<size_t>(index));
        } catch (const std::exception& e) {
            outcome = {false, 0, std::string("internal error: ") + e.what()};
        }
        nlohmann::json result{{"ok", outcome.ok},
                              {"fingers", outcome.fingers},
                              {"message", outcome.message},
                              {"skipped", outcome.skipped},
                              {"record", outcome.record}};
        std::string line = result.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
        if (!WriteAll(resultFd, line.data(), line.size()))
            break;
    }
    _exit(0);
}

std::string DeathReason(int status)
{
    if (WIFSIGNALED(status))
        return "the worker process was killed by signal " + std::to_string(WTERMSIG(status)) + " ("
            + strsignal(WTERMSIG(status)) + ") while splitting this file";
    return "the worker process ended (status " + std::to_string(WEXITSTATUS(status)) + ") while splitting this file";
}

class Pool
{
public:
    Pool(size_t count, const TaskFunction& task, const ReportFunction& report, const DeathFunction& died)
        : count_(count), task_(task), report_(report), died_(died)
    { }

    // Hands out no more tasks: a worker leaves when it has finished its own.
    // Returns the number of tasks never started.
    size_t Stop()
    {
        size_t notStarted = count_ - next_;
        next_ = count_;
        for (Worker& worker : workers_)
            if (worker.taskFd >= 0) {
                close(worker.taskFd);
                worker.taskFd = -1;
            }
        return notStarted;
    }

    // Ends the running tasks at once.
    void Kill()
    {
        killing_ = true;
        for (const Worker& worker : workers_)
            kill(worker.pid, SIGKILL);
    }

    // Starts a worker and hands it the next task; false when none could be started.
    bool Start(std::string& error)
    {
        int tasks[2], results[2];
        if (pipe2(tasks, O_CLOEXEC) != 0) {
            error = std::strerror(errno);
            return false;
        }
        if (pipe2(results, O_CLOEXEC) != 0) {
            error = std::strerror(errno);
            close(tasks[0]);
            close(tasks[1]);
            return false;
        }
        std::fflush(stdout);
        std::fflush(stderr);
        pid_t pid = fork();
        if (pid == 0) {
            for (const Worker& other : workers_) {
                close(other.taskFd);
                close(other.resultFd);
            }
            close(tasks[1]);
            close(results[0]);
            signal(SIGPIPE, SIG_DFL);
            // The batch decides when to stop; a terminal's Ctrl-C reaches the workers too.
            signal(SIGINT, SIG_IGN);
            signal(SIGTERM, SIG_IGN);
            WorkerMain(tasks[0], results[1], task_);
        }
        close(tasks[0]);
        close(results[1]);
        if (pid < 0) {
            error = std::strerror(errno);
            close(tasks[1]);
            close(results[0]);
            return false;
        }
        workers_.push_back({pid, tasks[1], results[0], "", kNoTask});
        Assign(workers_.back());
        return true;
    }

    void Assign(Worker& worker)
    {
        if (next_ >= count_) {
            // No more work: end of file tells the worker to leave.
            if (worker.taskFd >= 0)
                close(worker.taskFd);
            worker.taskFd = -1;
            return;
        }
        uint64_t index = next_;
        if (WriteAll(worker.taskFd, &index, sizeof index))
            worker.task = next_++;
    }

    // Waits for results (or a tick) and handles them; false when all work is done.
    bool Step(int jobs, const std::function<void()>& tick)
    {
        if (workers_.empty())
            return false;
        std::vector<pollfd> fds;
        for (const Worker& worker : workers_)
            fds.push_back({worker.resultFd, POLLIN, 0});
        int ready = poll(fds.data(), fds.size(), kTickMilliseconds);
        tick();
        if (ready <= 0)
            return true; // also after a signal, which the caller looks at
        for (size_t i = fds.size(); i-- > 0;)
            if (fds[i].revents)
                Read(i);
        // Replace workers that died while tasks remain.
        while (next_ < count_ && static_cast<int>(workers_.size()) < jobs && fruitlessStarts_ < kMaxFruitlessStarts) {
            std::string error;
            if (!Start(error))
                break;
        }
        if (workers_.empty())
            FailRemaining("cannot start a worker process");
        return !workers_.empty();
    }

    void FailRemaining(const std::string& reason)
    {
        for (; next_ < count_; next_++)
            report_(next_, {false, 0, reason});
    }

private:
    void Read(size_t i)
    {
        char chunk[4096];
        ssize_t n = read(workers_[i].resultFd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            return;
        if (n <= 0) {
            Reap(i);
            return;
        }
        Worker& worker = workers_[i];
        worker.pending.append(chunk, static_cast<size_t>(n));
        for (size_t end; (end = worker.pending.find('\n')) != std::string::npos;) {
            nlohmann::json line = nlohmann::json::parse(worker.pending.substr(0, end), nullptr, false);
            worker.pending.erase(0, end + 1);
            TaskOutcome outcome{false, 0, "the worker process sent a garbled result"};
            if (line.is_object())
                outcome = {line.value("ok", false), line.value("fingers", 0), line.value("message", ""),
                           line.value("skipped", false), line.value("record", "")};
            size_t task = worker.task;
            worker.task = kNoTask;
            fruitlessStarts_ = 0;
            if (task != kNoTask)
                report_(task, outcome);
            Assign(worker);
        }
    }

    void Reap(size_t i)
    {
        Worker worker = workers_[i];
        workers_.erase(workers_.begin() + static_cast<std::ptrdiff_t>(i));
        if (worker.taskFd >= 0)
            close(worker.taskFd);
        close(worker.resultFd);
        int status = 0;
        while (waitpid(worker.pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (worker.task != kNoTask) {
            if (died_)
                died_(worker.task, worker.pid);
            report_(worker.task, {false, 0, killing_ ? "discarded: the run was interrupted" : DeathReason(status)});
        } else if (next_ < count_)
            fruitlessStarts_++;
    }

    size_t count_;
    size_t next_ = 0;
    int fruitlessStarts_ = 0;
    bool killing_ = false;
    const TaskFunction& task_;
    const ReportFunction& report_;
    const DeathFunction& died_;
    std::vector<Worker> workers_;
};

} // namespace

void CatchInterruptions()
{
    // Without SA_RESTART: a signal ends the wait for results at once.
    struct sigaction note = {};
    note.sa_handler = NoteSignal;
    sigemptyset(&note.sa_mask);
    sigaction(SIGINT, &note, nullptr);
    sigaction(SIGTERM, &note, nullptr);
}

int Interruption()
{
    return g_firstSignal;
}

BatchEnd RunInWorkers(size_t count, int jobs, const TaskFunction& task, const ReportFunction& report,
                      const std::function<void()>& tick, const DeathFunction& died)
{
    BatchEnd end;
    end.signal = Interruption();
    if (count == 0 || end.signal) {
        end.notStarted = count;
        return end;
    }
    // A worker that dies makes writes to its pipe fail instead of ending this process.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &previous);

    Pool pool(count, task, report, died);
    std::string error;
    int started = 0;
    for (int i = 0; i < jobs && static_cast<size_t>(i) < count; i++)
        if (pool.Start(error))
            started++;
    if (started == 0)
        pool.FailRemaining("cannot start a worker process: " + error);
    bool stopped = false, killed = false;
    while (pool.Step(jobs, tick)) {
        const int signals = g_signals;
        if (signals >= 1 && !stopped) {
            stopped = true;
            end.signal = Interruption();
            end.notStarted = pool.Stop();
        }
        if (signals >= 2 && !killed) {
            killed = true;
            pool.Kill();
        }
    }
    sigaction(SIGPIPE, &previous, nullptr);
    return end;
}

} // namespace kovral_tool
