// sind, cosd, sindn and cosdn with any int: an argument outside -179..359 (or
// 180) gives the value of its equivalent in 0..359; every argument gives the
// true sine and cosine to table precision and stays within the tables.
//
// Input: the argument as i32 (see fuzz_bytes.h).
#include "fuzz_bytes.h"
#include "trig/trig.h"

#include <cmath>
#include <cstdint>

namespace {

constexpr int FULL_TURN = 360;
constexpr int LOWEST_FOLDED = -179;
constexpr int HIGHEST_FOLDED = 359;
constexpr double TABLE_PRECISION = 1e-6;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    const int a = in.I32();
    const int same = (a % FULL_TURN + FULL_TURN) % FULL_TURN;

    const float s = sind(a), c = cosd(a);
    if (a < LOWEST_FOLDED || a > HIGHEST_FOLDED || a == HALF_TURN) {
        FUZZ_CHECK(s == sind(same) && c == cosd(same));
        FUZZ_CHECK(sindn(a) == sindn(same) && cosdn(a) == cosdn(same));
    }
    FUZZ_CHECK(std::fabs(s - std::sin(same * PI / HALF_TURN)) < TABLE_PRECISION);
    FUZZ_CHECK(std::fabs(c - std::cos(same * PI / HALF_TURN)) < TABLE_PRECISION);
    FUZZ_CHECK(sindn(a) >= -FIXED_ONE && sindn(a) <= FIXED_ONE);
    FUZZ_CHECK(cosdn(a) >= -FIXED_ONE && cosdn(a) <= FIXED_ONE);
    return 0;
}
