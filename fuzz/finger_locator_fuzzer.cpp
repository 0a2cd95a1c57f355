// FindFpPos on arbitrary direction maps of 1 x 1 up to 100 x 94 blocks,
// holding any values.
//
// Input, in order (see fuzz_bytes.h): block columns u8 (1..100), rows u8
// (1..94), then the map (block_map_input.h).
#include "block_map_input.h"
#include "fuzz_bytes.h"
#include "locate/locate.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr int MAX_CANDIDATES = 10;
constexpr int BLOCK = 16;
constexpr int MIN_EMITTED_BLOCKS = 10; // narrower regions are never emitted
constexpr int MAX_ANGLE = 179;
constexpr int32_t SENTINEL = 0x5A5A5A5A;
constexpr signed char SENTINEL_LABEL = -99;
constexpr signed char WORK_JUNK = 0x77;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    const int bw = in.Range8(1, FUZZ_MAX_MAP_W);
    const int bh = in.Range8(1, FUZZ_MAX_MAP_H);
    std::vector<signed char> map = ReadBlockMap(in, bw, bh);
    const std::vector<signed char> entry = map;
    std::vector<signed char> work(map.size(), WORK_JUNK);

    // Exactly ten entries each, as the split passes them.
    std::unique_ptr<tagRECT[]> boxes(new tagRECT[MAX_CANDIDATES]);
    std::unique_ptr<int[]> angles(new int[MAX_CANDIDATES]);
    std::unique_ptr<signed char[]> labels(new signed char[MAX_CANDIDATES]);
    for (int i = 0; i < MAX_CANDIDATES; i++) {
        boxes[i] = tagRECT{SENTINEL, SENTINEL, SENTINEL, SENTINEL};
        angles[i] = SENTINEL;
        labels[i] = SENTINEL_LABEL;
    }

    const int n = FindFpPos(map.data(), bw, bh, work.data(), boxes.get(), angles.get(), labels.get());

    FUZZ_CHECK(n >= 0 && n <= MAX_CANDIDATES);
    for (int i = 0; i < MAX_CANDIDATES; i++) {
        const tagRECT& b = boxes[i];
        if (i >= n) {
            FUZZ_CHECK(b.left == SENTINEL && b.top == SENTINEL && b.right == SENTINEL && b.bottom == SENTINEL);
            FUZZ_CHECK(angles[i] == SENTINEL && labels[i] == SENTINEL_LABEL);
            continue;
        }
        // Boxes in pixels on the block grid, right and bottom one past the last.
        FUZZ_CHECK(b.left >= 0 && b.right <= bw * BLOCK && b.right - b.left >= MIN_EMITTED_BLOCKS * BLOCK);
        FUZZ_CHECK(b.top >= 0 && b.bottom <= bh * BLOCK && b.top < b.bottom);
        FUZZ_CHECK(b.left % BLOCK == 0 && b.top % BLOCK == 0 && b.right % BLOCK == 0 && b.bottom % BLOCK == 0);
        FUZZ_CHECK(angles[i] >= 0 && angles[i] <= MAX_ANGLE);
        FUZZ_CHECK(labels[i] >= FIRST_LABEL && labels[i] <= LAST_LABEL);
    }
    // The direction map changes only where notches were closed, to 1.
    for (size_t i = 0; i < map.size(); i++)
        FUZZ_CHECK(map[i] == entry[i] || map[i] == 1);
    return 0;
}
