// What the library does at its boundary where a caller could expect several
// answers: the reserved argument of a split, and BMP images too large for
// the 32-bit size fields of the file. (Odd Init sizes, allocation failures,
// null records and out-of-domain angles have their own tests.)
#include "api/api.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <thread>

#include "slapgen.h"
#include "split_cases.h"

namespace {

// The fourth argument of a split is never read: a pointer that would fault
// gives the same split as a null one.
TEST(Boundary, SplitNeverReadsReserved)
{
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    const split_cases::Case hand{"hand", slapgen::Generate(slapgen::FourFingerHand(1200, 900, 0, true, 5)), 320, 480};
    const split_cases::Result plain = split_cases::SplitLegacy(hand);
    const split_cases::Result odd = split_cases::SplitLegacy(hand, reinterpret_cast<void*>(uintptr_t{1}));
    KOVRAL_Uninit();
    ASSERT_EQ(plain.rc, KOVRAL_OK);
    EXPECT_EQ(plain.count, 4);
    EXPECT_TRUE(odd == plain);
}

// An image whose padded pixel data does not fit 32 bits is written like any
// other: the file and data size fields hold their values modulo 2^32. The
// 4 GiB image is untouched anonymous memory; the file is a pipe whose reader
// takes the headers and goes away, so that the rows fail to write, and the
// result is still 1 (write results are not examined once the file is open).
TEST(Boundary, OversizedBmpWrapsItsSizeFields)
{
    constexpr int SIDE = 65536; // stride x height = 2^32: both size fields wrap
    constexpr uint64_t PIXELS = uint64_t{SIDE} * SIDE;
    constexpr uint32_t PIXEL_OFFSET = 1078;
    constexpr size_t HEADERS = 54;
    void* image = mmap(nullptr, PIXELS, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (image == MAP_FAILED)
        GTEST_SKIP() << "no 4 GiB of address space";
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    unsigned char head[HEADERS] = {};
    size_t got = 0;
    std::thread reader([&] {
        ssize_t n = 1;
        while (got < HEADERS && n > 0) {
            n = read(fds[0], head + got, HEADERS - got);
            got += n > 0 ? static_cast<size_t>(n) : 0;
        }
        close(fds[0]);
    });
    char path[64];
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", fds[1]);
    void (*previous)(int) = std::signal(SIGPIPE, SIG_IGN);
    const int rc = KOVRAL_SaveToBmp(static_cast<unsigned char*>(image), SIDE, SIDE, path);
    std::signal(SIGPIPE, previous);
    close(fds[1]);
    reader.join();
    munmap(image, PIXELS);

    EXPECT_EQ(rc, KOVRAL_OK);
    ASSERT_EQ(got, HEADERS);
    auto field
        = [&](int at) { return head[at] | head[at + 1] << 8 | head[at + 2] << 16 | uint32_t{head[at + 3]} << 24; };
    EXPECT_EQ(field(2), PIXEL_OFFSET) << "file size 2^32 + 1078, modulo 2^32";
    EXPECT_EQ(field(34), 0u) << "pixel data size 2^32, modulo 2^32";
    EXPECT_EQ(field(18), static_cast<uint32_t>(SIDE));
    EXPECT_EQ(field(22), static_cast<uint32_t>(SIDE));
}

} // namespace
