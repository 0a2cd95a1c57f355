// Allocation failures made on purpose. This program replaces the global
// operator new: once armed, the n-th allocation from then on fails (nothrow
// forms return null, the others throw std::bad_alloc). LeakSanitizer, in the
// sanitizer build, reports anything a failure path forgets to release.
#include "api/api.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "slapgen.h"

namespace {

std::atomic<long> g_allocsBeforeFailure{-1};
std::atomic<long> g_failures{0};

bool ShouldFail()
{
    long left = g_allocsBeforeFailure.load();
    while (left >= 0) {
        if (g_allocsBeforeFailure.compare_exchange_weak(left, left - 1)) {
            if (left == 0) {
                g_failures++;
                return true;
            }
            return false;
        }
    }
    return false;
}

void* Allocate(std::size_t size)
{
    return ShouldFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size)
{
    void* p = Allocate(size);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

// Arms a failure of the n-th allocation for the lifetime of the object.
struct FailAllocation
{
    explicit FailAllocation(long n)
    {
        g_failures = 0;
        g_allocsBeforeFailure = n;
    }
    ~FailAllocation() { g_allocsBeforeFailure = -1; }
    bool Happened() const { return g_failures.load() > 0; }
};

} // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace {

TEST(AllocationFailure, InitLeavesLibraryUninitialised)
{
    // The hold, the direction map and the working map: each in turn fails.
    for (long n = 0; n < 3; n++) {
        KOVRAL_Uninit();
        {
            FailAllocation fail(n);
            EXPECT_EQ(KOVRAL_Init(800, 600), KOVRAL_OK);
            EXPECT_TRUE(fail.Happened());
        }
        EXPECT_FALSE(g_bInit) << "allocation " << n;
        EXPECT_EQ(g_pDrct, nullptr);
        EXPECT_EQ(g_pHoleDrct, nullptr);
    }
    KOVRAL_Init(800, 600);
    EXPECT_TRUE(g_bInit) << "a later Init succeeds";
    KOVRAL_Uninit();
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
