#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// A region of 9s in rows 2..bottom, wider in its last rows, with a stray block left of its box in row 39 and one
// above. bottom - top = 37: untouched; 38: rows top + 37 and top + 38 lose the label in every column, and the box
// is measured again over the whole map: narrower, the stray block above counting.
TEST(CutLongFpDrct, KeepsTheTop37Rows)
{
    for (int bottom : {39, 40}) {
        // What a cut keeps: the top 37 rows, the stray block above, ridge blocks and another label in the cut rows.
        BlockMap kept = BlockMap(20, 50).fill(4, 2, 8, 38, 9).fill(1, 20, 1, 20, 9).fill(16, 39, 17, 40, 1);
        kept.fill(3, 40, 3, 40, 10);
        BlockMap map = kept;
        map.fill(4, 39, 8, bottom, 9).fill(9, 39, 15, bottom, 9).fill(0, 39, 0, 39, 9);
        const BlockMap expected = bottom == 40 ? kept : map;
        tagRECT rect{4, 2, 15, bottom};
        CutLongFpDrct(map.data(), map.w, map.h, 9, rect);
        EXPECT_EQ(map.text(), expected.text()) << bottom;
        const std::array<int, 4> box{rect.left, rect.top, rect.right, rect.bottom};
        EXPECT_EQ(box, (bottom == 40 ? std::array<int, 4>{1, 2, 8, 38} : std::array<int, 4>{4, 2, 15, 39}));
    }
}

} // namespace
