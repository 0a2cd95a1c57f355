// Several splitters on several threads at once: every byte as one thread
// alone gives it. Built and run under ThreadSanitizer in CI (label threads).
#include <kovral.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "split_cases.h"

namespace {

TEST(SplitterThreads, SplittersOnThreadsMatchOneThread)
{
    std::vector<split_cases::Case> cases = split_cases::Cases();
    cases.resize(4); // hands of every size class but the smallest cost too long under the sanitizer
    kovral_splitter* alone = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    std::vector<split_cases::Result> expected;
    for (const auto& c : cases)
        expected.push_back(split_cases::SplitOn(alone, c));
    kovral_splitter_free(alone);

    // Each thread its own splitter, every slap in its own order, twice.
    constexpr int THREADS = 3;
    std::vector<std::vector<split_cases::Result>> got(THREADS, std::vector<split_cases::Result>(cases.size()));
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; t++)
        threads.emplace_back([&, t] {
            kovral_splitter* s = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
            for (int round = 0; round < 2; round++)
                for (size_t k = 0; k < cases.size(); k++) {
                    const size_t i = (k + t) % cases.size();
                    got[t][i] = split_cases::SplitOn(s, cases[i]);
                }
            kovral_splitter_free(s);
        });
    for (auto& thread : threads)
        thread.join();
    for (int t = 0; t < THREADS; t++)
        for (size_t i = 0; i < cases.size(); i++)
            EXPECT_TRUE(got[t][i] == expected[i]) << cases[i].what << " on thread " << t;
}

} // namespace
