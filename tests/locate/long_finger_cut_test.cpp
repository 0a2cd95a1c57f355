#include "locate/locate.h"

#include "block_map_text.h"

#include <gtest/gtest.h>

namespace {

constexpr signed char L = 9;

TEST(CutLongFpDrct, KeepsTheTop37Rows)
{
    struct Row
    {
        const char* what;
        int bottom; // region rows 2..bottom
        bool cut;
    };
    const Row rows[] = {
        {"bottom - top = 37: untouched", 39, false},
        {"bottom - top = 38: rows top + 37 and top + 38 go", 40, true},
        {"much longer", 47, true},
    };
    for (const Row& row : rows) {
        BlockMap map(20, 50);
        map.fill(4, 2, 8, row.bottom, L);
        map.fill(9, 39, 15, row.bottom, L); // wider in its lowest rows
        map.at(0, 39) = L;                   // outside the box, in a cut row
        map.at(1, 20) = L;                   // outside the box, above the cut
        map.fill(16, 39, 17, 40, 1);         // ridge blocks in the cut rows stay
        map.at(3, 40) = L + 1;               // so does another label
        BlockMap expected = map;
        tagRECT rect{4, 2, 15, row.bottom};
        CutLongFpDrct(map.data(), map.w, map.h, L, rect);
        tagRECT want = rect;
        if (row.cut) {
            for (int y = 39; y <= row.bottom; y++)
                for (int x = 0; x < map.w; x++)
                    if (expected.at(x, y) == L)
                        expected.at(x, y) = 0;
            // Re-measured over the whole map: narrower, and the stray block
            // left of the entry box counts.
            want = {1, 2, 8, 38};
        } else {
            want = {4, 2, 15, row.bottom};
        }
        EXPECT_EQ(BlockMapText(map), BlockMapText(expected)) << row.what;
        EXPECT_EQ(rect.left, want.left) << row.what;
        EXPECT_EQ(rect.top, want.top) << row.what;
        EXPECT_EQ(rect.right, want.right) << row.what;
        EXPECT_EQ(rect.bottom, want.bottom) << row.what;
    }
}

} // namespace
