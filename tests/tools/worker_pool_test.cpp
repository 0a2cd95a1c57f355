// The worker processes of a batch: every task reported once, results that
// come from the workers, and a crash that costs only its own task.
#include "worker_pool.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <map>

namespace {

using kovral_split::RunInWorkers;
using kovral_split::TaskOutcome;

TEST(WorkerPool, CrashesCostOnlyTheirTask)
{
    struct Row
    {
        int jobs;
        size_t tasks;
    };
    const Row rows[] = {{1, 7}, {2, 7}, {3, 2}};   // more workers than tasks included
    for (const Row& row : rows)
    {
        SCOPED_TRACE("jobs " + std::to_string(row.jobs));
        const pid_t parent = getpid();
        std::map<size_t, TaskOutcome> reported;
        int ticks = 0;
        RunInWorkers(
            row.tasks, row.jobs,
            [&](size_t i) {
                if (i == 1 || i == 4)
                    std::abort();
                return TaskOutcome{getpid() != parent, static_cast<int>(i), "task " + std::to_string(i)};
            },
            [&](size_t i, const TaskOutcome& outcome) {
                EXPECT_EQ(reported.count(i), 0u) << "task " << i << " reported twice";
                reported[i] = outcome;
            },
            [&] { ticks++; });
        ASSERT_EQ(reported.size(), row.tasks);
        for (const auto& [i, outcome] : reported)
        {
            if (i == 1 || i == 4)
            {
                EXPECT_FALSE(outcome.ok);
                EXPECT_NE(outcome.message.find("killed by signal " + std::to_string(SIGABRT)), std::string::npos)
                    << outcome.message;
            }
            else
            {
                EXPECT_TRUE(outcome.ok) << "task " << i << " ran in this process";
                EXPECT_EQ(outcome.fingers, static_cast<int>(i));
                EXPECT_EQ(outcome.message, "task " + std::to_string(i));
            }
        }
        EXPECT_GT(ticks, 0);
    }
}

} // namespace
