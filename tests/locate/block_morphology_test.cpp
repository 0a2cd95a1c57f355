#include "locate/locate.h"

#include "block_map_text.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

struct MapCase { const char* input; const char* expected; };

template <typename Op>
void CheckMaps(const MapCase* rows, size_t count, Op op)
{
    for (size_t i = 0; i < count; i++) {
        BlockMap map = ParseBlockMap(rows[i].input);
        op(map.data(), map.w, map.h);
        EXPECT_EQ(BlockMapText(map), Normalised(rows[i].expected)) << rows[i].input;
    }
}

TEST(DrctSuojin, ClearsBlocksNextToZero)
{
    const MapCase rows[] = {
        // a 3 x 3 square keeps its centre
        {". . . . .|. 1 1 1 .|. 1 1 1 .|. 1 1 1 .|. . . . .", ". . . . .|. . . . .|. . 1 . .|. . . . .|. . . . ."},
        // outside the map is not background
        {"1 1 1 1|1 1 1 1|1 1 1 1", "1 1 1 1|1 1 1 1|1 1 1 1"},
        // 120 on entry is cleared; as a mark it does not clear its neighbours
        {"1 1 1|1 120 1|1 1 1", "1 1 1|1 . 1|1 1 1"},
        // edges and corners decide on the values on entry: the top-left and
        // bottom-right corners keep their 1 beside cleared blocks
        {"1 1 . 1 1|1 1 1 1 1|. 1 1 1 .|1 1 1 1 1|1 . 1 1 1", "1 . . . 1|. 1 . 1 .|. . 1 . .|. . 1 1 .|. . . 1 1"},
        // the other three corners
        {"1 1 1|1 1 .|1 . 1", "1 1 .|1 . .|. . ."},
        // only exactly 0 is background; labels shrink like 1s
        {". 9 -1 10 10", ". . -1 10 10"},
        // one column: only the end blocks are tested, against their one neighbour
        {"1|.|1|1|1", ".|.|1|1|1"},
        // two columns: only the corners are tested
        {"1 1|. 1|1 1|1 1", ". 1|. 1|1 1|1 1"},
        {"120", "."},
    };
    CheckMaps(rows, std::size(rows), DrctSuojin);
}

TEST(DrctKuozhan, GrowsInteriorBlocks)
{
    const MapCase rows[] = {
        // a plus, not a diamond: grown blocks do not grow; negative blocks are
        // background and end positive
        {". . . . .|. . -6 . .|. . 4 . .|. . . . -2|. . . . .", ". . . . .|. . 4 . .|. 4 4 4 .|. . 4 . 2|. . . . ."},
        // blocks of the first and last rows and columns do not grow
        {". . 1 . .|. . . . .|1 . . . 1|. . . . .|. . 1 . .", ". . 1 . .|. . . . .|1 . . . 1|. . . . .|. . 1 . ."},
        // but blocks grow into them
        {". . . .|. 7 . .|. . . .|. . . .", ". 7 . .|7 7 7 .|. 7 . .|. . . ."},
        // two rows: only the negation
        {"-3 1 1|1 . -2", "3 1 1|1 . 2"},
    };
    CheckMaps(rows, std::size(rows), DrctKuozhan);
}

// Block (2, 2) of a 5 x 5 map between interior region blocks (0: none).
TEST(DrctKuozhan, PrecedenceLowerRightLeftUpper)
{
    struct Row { int up, left, right, down, expected; };
    const Row rows[] = {
        {11, 12, 13, 14, 14}, {11, 12, 13, 0, 13}, {11, 12, 0, 0, 12}, {11, 0, 0, 0, 11}, {0, 0, 13, 14, 14},
    };
    for (const Row& row : rows) {
        BlockMap map(5, 5);
        map.at(2, 1) = static_cast<signed char>(row.up);
        map.at(1, 2) = static_cast<signed char>(row.left);
        map.at(3, 2) = static_cast<signed char>(row.right);
        map.at(2, 3) = static_cast<signed char>(row.down);
        DrctKuozhan(map.data(), map.w, map.h);
        EXPECT_EQ(map.at(2, 2), row.expected) << row.up << " " << row.left << " " << row.right << " " << row.down;
    }
}

TEST(DelDrctBlank, FillsAndClamps)
{
    struct Row { const char* input; tagRECT rect, clamped; const char* expected; };
    const Row rows[] = {
        // a gap of two fills block by block from the left
        {". . . . .|9 . . 9 9|. . . . .|. . . . .", {0, 0, 10, 10}, {1, 1, 2, 1},
         ". . . . .|9 9 9 9 9|. . . . .|. . . . ."},
        // not from the row when two to the right is 0; from the column, (6 + 9) >> 1
        {". 6 . . .|9 . 9 . .|. . . . .|. 9 . . .", {1, 1, 2, 1}, {1, 1, 2, 1},
         ". 6 . . .|9 7 9 . .|. . . . .|. 9 . . ."},
        // the row before the column, (9 + 10) >> 1; the column for the next block
        {". 20 12 . .|9 . . 10 .|. . . . .|. 20 13 . .", {1, 1, 2, 1}, {1, 1, 2, 1},
         ". 20 12 . .|9 9 12 10 .|. . . . .|. 20 13 . ."},
        // clamped to rows 1..2, columns 1..3: (1, 0), (0, 1) and (1, 3) would fill
        {"9 . 9 9 . .|. 9 . 9 . .|. . . . . .|9 . 9 9 . .|. . . . . .", {-5, 0, 100, 4}, {1, 1, 3, 2},
         "9 . 9 9 . .|. 9 9 9 . .|. . . . . .|9 . 9 9 . .|. . . . . ."},
        // the smallest map that fills
        {"9 . 9 9|9 . 9 9|. . . .|9 9 . .", {0, 0, 3, 3}, {1, 1, 1, 1}, "9 . 9 9|9 9 9 9|. . . .|9 9 . ."},
        // bottom above top after the clamping; right left of left
        {"9 . 9 9 9|9 . 9 9 9|9 . 9 9 9|9 9 9 9 9", {1, 3, 2, 5}, {1, 3, 2, 1}, nullptr},
        {"9 . 9 9 9|9 . 9 9 9|9 . 9 9 9|9 9 9 9 9", {2, 1, 1, 1}, {2, 1, 1, 1}, nullptr},
        // maps under 4 blocks wide or high: nothing is read
        {"9 . 9|9 . 9|9 . 9|9 . 9|9 9 9", {0, 0, 9, 9}, {1, 1, 0, 2}, nullptr},
        {"9 . 9 9 9|9 . 9 9 9|9 9 9 9 9", {0, 0, 9, 9}, {1, 1, 2, 0}, nullptr},
        {"9 .|. 9", {0, 0, 0, 0}, {1, 1, -1, -1}, nullptr},
    };
    for (const Row& row : rows) {
        BlockMap map = ParseBlockMap(row.input);
        tagRECT rect = row.rect;
        DelDrctBlank(map.data(), static_cast<short>(map.w), static_cast<short>(map.h), rect);
        EXPECT_EQ(BlockMapText(map), Normalised(row.expected ? row.expected : row.input)) << row.input;
        const tagRECT& c = row.clamped;
        EXPECT_TRUE(rect.left == c.left && rect.top == c.top && rect.right == c.right && rect.bottom == c.bottom)
            << row.input << ": " << rect.left << " " << rect.top << " " << rect.right << " " << rect.bottom;
    }
}

} // namespace
