#include "compat/compat.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(DrctSuojinKuozhan, ShrinkAndGrow)
{
    const auto S = DrctSuojin, K = DrctKuozhan;
    const struct
    {
        void (*op)(signed char*, int, int);
        const char* before;
        const char* after;
    } rows[] = {
        // shrink: a 3 x 3 square in the corner keeps its centre and its blocks on the border: outside the map is
        // not background
        {S, ". . . .|. 1 1 1|. 1 1 1|. 1 1 1", ". . . .|. . . .|. . 1 1|. . 1 1"},
        // 120 on entry is cleared; as a mark it does not clear its neighbours
        {S, "1 1 1|1 120 1|1 1 1", "1 1 1|1 . 1|1 1 1"},
        // edges and corners decide on the values on entry
        {S, "1 1 . 1 1|1 1 1 1 1|. 1 1 1 .|1 1 1 1 1|1 . 1 1 1", "1 . . . 1|. 1 . 1 .|. . 1 . .|. . 1 1 .|. . . 1 1"},
        {S, "1 1 1|1 1 .|1 . 1", "1 1 .|1 . .|. . ."},
        // only exactly 0 is background; labels shrink like 1s
        {S, ". 9 -1 10 10", ". . -1 10 10"},
        // grow: a plus, not a diamond; negative blocks are background and end positive
        {K, ". . . . .|. . -6 . .|. . 4 . .|. . . . -2|. . . . .",
         ". . . . .|. . 4 . .|. 4 4 4 .|. . 4 . 2|. . . . ."},
        // blocks of the first and last rows and columns do not grow, but blocks grow into them
        {K, ". . 1 . .|. 7 . . .|1 . . . 1|. . . . .|. . 1 . .", ". 7 1 . .|7 7 7 . .|1 7 . . 1|. . . . .|. . 1 . ."},
        // a block between regions takes the lower, else the right, else the left neighbour
        {K, ". . . . .|. . 11 . .|. 12 . 13 .|. . 14 . .|. . . . .",
         ". . 11 . .|. 12 11 13 .|12 12 14 13 13|. 14 14 14 .|. . 14 . ."},
        {K, ". . . . .|. . 11 . .|. 12 . 13 .|. . . . .|. . . . .",
         ". . 11 . .|. 12 11 13 .|12 12 13 13 13|. 12 . 13 .|. . . . ."},
        {K, ". . . . .|. . 11 . .|. 12 . . .|. . . . .|. . . . .",
         ". . 11 . .|. 12 11 11 .|12 12 12 . .|. 12 . . .|. . . . ."},
    };
    for (const auto& [op, before, after] : rows) {
        BlockMap map(before);
        op(map.data(), map.w, map.h);
        EXPECT_EQ(map.text(), BlockMap(after).text()) << before;
    }
}

TEST(DelDrctBlank, FillsAndClamps)
{
    const struct
    {
        const char* before;
        tagRECT rect;
        std::array<int, 4> clamped;
        const char* after;
    } rows[] = {
        // a gap of two fills block by block from the left
        {". . . . .|9 . . 9 9|. . . . .|. . . . .",
         {0, 0, 10, 10},
         {1, 1, 2, 1},
         ". . . . .|9 9 9 9 9|. . . . .|. . . . ."},
        // the row before the column, (9 + 10) >> 1; the column for the next block, two to its right being 0
        {". 20 12 . .|9 . . 10 .|. . . . .|. 20 13 . .",
         {1, 1, 2, 1},
         {1, 1, 2, 1},
         ". 20 12 . .|9 9 12 10 .|. . . . .|. 20 13 . ."},
        // right = w - 2 and bottom = h - 2 clamp to columns 1..3 and rows 1..2: (1, 0), (0, 1), (1, 3) and (4, 1),
        // with the block two to its right in the next row, would fill
        {"9 . 9 9 . .|. 9 . 9 . .|9 . . . . .|9 . 9 9 . .|. . . . . .",
         {-5, 0, 4, 3},
         {1, 1, 3, 2},
         "9 . 9 9 . .|. 9 9 9 . .|9 . . . . .|9 . 9 9 . .|. . . . . ."},
        // bottom above top after the clamping; under 4 blocks wide nothing is read
        {"9 . 9 9 9|9 . 9 9 9|9 . 9 9 9|9 9 9 9 9", {1, 3, 2, 5}, {1, 3, 2, 1}, nullptr},
        {"9 . 9|9 . 9|9 . 9|9 . 9|9 9 9", {0, 0, 9, 9}, {1, 1, 0, 2}, nullptr},
    };
    for (const auto& row : rows) {
        BlockMap map(row.before);
        tagRECT rect = row.rect;
        DelDrctBlank(map.data(), static_cast<short>(map.w), static_cast<short>(map.h), rect);
        EXPECT_EQ(map.text(), BlockMap(row.after ? row.after : row.before).text()) << row.before;
        EXPECT_EQ((std::array<int, 4>{rect.left, rect.top, rect.right, rect.bottom}), row.clamped) << row.before;
    }
}

} // namespace
