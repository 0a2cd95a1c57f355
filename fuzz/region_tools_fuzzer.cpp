// The region tools of the finger locator on arbitrary block maps: SetHole,
// GetFpPos and CutLongFpDrct.
//
// Input, in order (see fuzz_bytes.h): tool u8 (% 3), block columns u8
// (1..100), rows u8 (1..94), label i8, flags u8 (bit 0 angle search, bit 1
// fuzzed box for the cut), four box fields u16, then the map
// (block_map_input.h).
#include "block_map_input.h"
#include "fuzz_bytes.h"
#include "locate/locate.h"

#include <cstdint>
#include <vector>

namespace {

constexpr int MAX_REGIONS = LAST_LABEL - FIRST_LABEL + 1;
constexpr int MAX_ANGLE = 179;
constexpr int UPRIGHT = 90;
constexpr int KEPT_ROWS = 37;  // rows of a region that the cut keeps
constexpr int BOX_REACH = 300; // starting box fields of GetFpPos: -300..300

int Cell(const std::vector<signed char>& map, int w, int x, int y)
{
    return map[static_cast<size_t>(y) * w + x];
}

void CheckSetHole(std::vector<signed char>& map, int w, int h)
{
    const std::vector<signed char> entry = map;
    const int count = SetHole(map.data(), w, h);
    FUZZ_CHECK(count >= 0 && count <= MAX_REGIONS);
    const int lastLabel = FIRST_LABEL - 1 + count;
    for (size_t i = 0; i < map.size(); i++) {
        if (map[i] == entry[i] || map[i] == 0)
            continue;
        // Only ridge blocks take labels, and only labels of kept regions;
        // the corner block may copy its right neighbour.
        const bool labelled = entry[i] >= 1 && entry[i] < FIRST_LABEL && map[i] >= FIRST_LABEL && map[i] <= lastLabel;
        FUZZ_CHECK(labelled || (i == 0 && w > 1 && map[0] == map[1]));
    }
}

void CheckGetFpPos(std::vector<signed char>& map, int w, int h, signed char label, tagRECT start, bool angle)
{
    const std::vector<signed char> entry = map;
    tagRECT rect = start;
    const int a = GetFpPos(map.data(), w, h, label, &rect, angle);
    FUZZ_CHECK(map == entry);
    FUZZ_CHECK(a >= 0 && a <= MAX_ANGLE);
    if (!angle)
        FUZZ_CHECK(a == UPRIGHT);
    // Each field is the caller's, or a block of the map.
    FUZZ_CHECK(rect.left == start.left || (rect.left >= 0 && rect.left < w));
    FUZZ_CHECK(rect.right == start.right || (rect.right >= 1 && rect.right < w));
    FUZZ_CHECK(rect.top == start.top || (rect.top >= 0 && rect.top < h));
    FUZZ_CHECK(rect.bottom == start.bottom || (rect.bottom >= 1 && rect.bottom < h));
}

void CheckCut(std::vector<signed char>& map, int w, int h, signed char label, tagRECT rect)
{
    const std::vector<signed char> entry = map;
    const tagRECT given = rect;
    CutLongFpDrct(map.data(), w, h, label, rect);
    if (given.bottom - given.top <= KEPT_ROWS) {
        FUZZ_CHECK(map == entry);
        FUZZ_CHECK(rect.left == given.left && rect.top == given.top && rect.right == given.right
                   && rect.bottom == given.bottom);
        return;
    }
    // Only cells of the label in the rows below the kept ones are erased.
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            const bool erasable = y >= given.top + KEPT_ROWS && y <= given.bottom && Cell(entry, w, x, y) == label;
            FUZZ_CHECK(Cell(map, w, x, y) == Cell(entry, w, x, y) || (erasable && Cell(map, w, x, y) == 0));
        }
    // What remains is measured over the whole map; an emptied label gives
    // the scan's start values.
    const bool empty = rect.left == w && rect.top == h && rect.right == 0 && rect.bottom == 0;
    FUZZ_CHECK(empty
               || (rect.left >= 0 && rect.left <= rect.right && rect.right < w && rect.top >= 0
                   && rect.top <= rect.bottom && rect.bottom < h));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    const int tool = in.U8() % 3;
    const int w = in.Range8(1, FUZZ_MAX_MAP_W);
    const int h = in.Range8(1, FUZZ_MAX_MAP_H);
    const signed char label = static_cast<signed char>(in.U8());
    const uint8_t flags = in.U8();
    int fields[4];
    for (int& f : fields)
        f = in.U16();
    std::vector<signed char> map = ReadBlockMap(in, w, h);

    if (tool == 0) {
        CheckSetHole(map, w, h);
    } else if (tool == 1) {
        const tagRECT start{fields[0] % (2 * BOX_REACH + 1) - BOX_REACH, fields[1] % (2 * BOX_REACH + 1) - BOX_REACH,
                            fields[2] % (2 * BOX_REACH + 1) - BOX_REACH, fields[3] % (2 * BOX_REACH + 1) - BOX_REACH};
        CheckGetFpPos(map, w, h, label, start, flags & 1);
    } else {
        // The cut takes a box inside the map: the label's box as the locator
        // measures it (from a zeroed box), or any box inside the map.
        tagRECT rect{0, 0, 0, 0};
        if (flags & 2) {
            const int x0 = fields[0] % w, x1 = fields[1] % w, y0 = fields[2] % h, y1 = fields[3] % h;
            rect = tagRECT{x0 < x1 ? x0 : x1, y0 < y1 ? y0 : y1, x0 < x1 ? x1 : x0, y0 < y1 ? y1 : y0};
        } else {
            GetFpPos(map.data(), w, h, label, &rect, false);
        }
        CheckCut(map, w, h, label, rect);
    }
    return 0;
}
