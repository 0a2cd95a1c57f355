// The replaced operator new behind failing_new.h.
#include "failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Allocations left before the first failure; negative: none fails.
std::atomic<long> g_allocsLeft{-1};
std::atomic<bool> g_andAfter{false};
std::atomic<long> g_failures{0};

bool ShouldFail()
{
    long left = g_allocsLeft.load();
    while (left >= 0) {
        const long next = left > 0 ? left - 1 : (g_andAfter ? 0 : -1);
        if (g_allocsLeft.compare_exchange_weak(left, next)) {
            if (left != 0)
                return false;
            g_failures++;
            return true;
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

} // namespace

namespace failing_new {

void Arm(long n, bool andAfter)
{
    g_failures = 0;
    g_andAfter = andAfter;
    g_allocsLeft = n;
}

void Disarm()
{
    g_allocsLeft = -1;
}

long Failures()
{
    return g_failures.load();
}

} // namespace failing_new

void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}
