#include "locate/locate.h"

#include "block_map_text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// The centre of a 3 x 3 map, the only block the single-cell fill visits.
TEST(FillSingleBlank, PairOrder)
{
    struct Row { const char* map; int centre; };
    const Row rows[] = {
        {". . .|9 . 9|. . .", 9},         // left and right equal
        {". 9 .|9 . 10|. 9 .", 9},        // up and down equal
        {"9 . .|9 . 10|. . 9", 0},        // up and down both 0 end the search before the diagonals
        {"9 1 .|9 . 10|. 2 9", 9},        // up-left and down-right
        {"9 1 11|. . 10|11 2 12", 11},    // up-right and down-left; one positive side is enough
        {". 9 .|-1 . .|. 9 .", 0},        // no positive side: up and down are never compared
        {"9 9 9|10 . 11|12 13 14", 0},    // no equal pair
        {". . .|9 1 9|. . .", 1},         // only 0 is filled
    };
    for (const Row& row : rows) {
        BlockMap map = ParseBlockMap(row.map);
        FillSingleBlank(map.data(), map.w, map.h);
        EXPECT_EQ(map.at(1, 1), row.centre) << row.map;
    }
}

// (2, 2) fills from above and below; its new 9 then fills (3, 2) from the left
// and (3, 3) from above. On the values on entry neither would change. Border
// blocks, filled or not, never change; nor do maps under 3 x 3.
TEST(FillSingleBlank, FilledBlocksCountLaterInThePass)
{
    BlockMap map = ParseBlockMap(R"(
        9  .  9  .  .  .  .
        .  9  9  9  .  .  .
        9  9  .  .  9  .  .
        .  9  9  .  .  .  .
        .  .  .  9  .  .  .)");
    FillSingleBlank(map.data(), map.w, map.h);
    EXPECT_EQ(BlockMapText(map), Normalised(R"(
        9  .  9  .  .  .  .
        .  9  9  9  .  .  .
        9  9  9  9  9  .  .
        .  9  9  9  .  .  .
        .  .  .  9  .  .  .)"));
    for (const char* text : {"9 . 9|9 . 9", "9 9|. .|9 9"}) {
        BlockMap small = ParseBlockMap(text);
        FillSingleBlank(small.data(), small.w, small.h);
        EXPECT_EQ(BlockMapText(small), Normalised(text));
    }
}

// Row 4 of a 12 x 20 region of 9s; the direction map starts all 0.
TEST(CloseFpNotch, FirstGapOfARow)
{
    struct Row { const char* row; const char* closed; const char* marks; };
    const Row rows[] = {
        {"9 9 9 . 9 9 9 9 9 9 9 9", "9 9 9 9 9 9 9 9 9 9 9 9", ". . . 1 1 . . . . . . ."}, // gap of 1, b marked too
        {"9 9 . . 9 9 9 9 9 9 9 9", "9 9 9 9 9 9 9 9 9 9 9 9", ". . 1 1 1 . . . . . . ."},
        {"9 9 . . . 9 9 9 9 9 9 9", "9 9 9 9 9 9 9 9 9 9 9 9", ". . 1 1 1 1 . . . . . ."},
        {"9 9 . . . . 9 9 9 9 9 9", "9 9 9 9 9 9 9 9 9 9 9 9", ". . 1 1 1 1 1 . . . . ."}, // gap of 4
        {"9 9 . . . . . 9 9 9 9 9", nullptr, nullptr},                                        // gap of 5
        {"9 . 9 9 . . 9 9 9 9 9 9", "9 . 9 9 9 9 9 9 9 9 9 9", ". . . . 1 1 1 . . . . ."}, // column 0 is never a
        {". 9 . . . . . 9 . 9 9 9", nullptr, nullptr},                                        // only the first gap
        {"9 9 9 10 10 9 9 9 9 9 9 9", "9 9 9 9 9 9 9 9 9 9 9 9", ". . . 1 1 1 . . . . . ."}, // other labels bridged
        {"9 9 9 9 9 9 9 9 9 . . 9", nullptr, nullptr},                                        // b in the last column
        {"9 9 9 9 9 9 9 9 . 9 9 .", "9 9 9 9 9 9 9 9 9 9 9 .", ". . . . . . . . 1 1 . ."}, // b in the one before
        {"9 9 9 . . . . . . . . .", nullptr, nullptr},                                        // no b
    };
    for (const Row& row : rows) {
        BlockMap work(12, 20, 9), map(12, 20), marks(12, 20);
        const BlockMap line = ParseBlockMap(row.row);
        std::copy(line.cells.begin(), line.cells.end(), &work.at(0, 4));
        if (row.marks) {
            const BlockMap markLine = ParseBlockMap(row.marks);
            std::copy(markLine.cells.begin(), markLine.cells.end(), &marks.at(0, 4));
        }
        CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
        EXPECT_EQ(BlockMapText(&work.at(0, 4), 12, 1), Normalised(row.closed ? row.closed : row.row)) << row.row;
        EXPECT_EQ(BlockMapText(map), BlockMapText(marks)) << row.row;
    }
}

// A one-block gap in one row of an 8 x 20 region: rows 2..6 close; rows 0 and 1
// have no row to search above, rows 7..19 none below. 12 rows: nothing closes.
TEST(CloseFpNotch, RowsThatCanClose)
{
    for (int i = 0; i < 21; i++) {
        const int bh = i < 20 ? 20 : 12;
        const int row = i < 20 ? i : 4;
        BlockMap work(8, bh, 9), map(8, bh);
        work.at(3, row) = 0;
        CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
        const bool closed = bh == 20 && row >= 2 && row <= 6;
        EXPECT_EQ(work.at(3, row) + map.at(3, row), closed ? 10 : 0) << "row " << row << " of " << bh;
    }
}

// Row 4 of an 8 x 20 map is ". 9 9 . 9 . . ."; column 3 holds only the two
// blocks given.
TEST(CloseFpNotch, ColumnSearchLimits)
{
    struct Row { int upRow, upValue, downRow, downValue; bool closed; };
    const Row rows[] = {
        {1, 9, 7, 9, true},    // the farthest rows searched: 1 and bh - 13
        {0, 9, 7, 9, false},   // row 0 is never searched
        {1, 9, 8, 9, false},   // below the last row searched
        {1, 10, 7, 9, false},  // another label above does not count
        {1, 9, 7, 10, false},  // nor below
    };
    for (const Row& row : rows) {
        BlockMap work(8, 20), map(8, 20);
        work.fill(1, 4, 2, 4, 9);
        work.at(4, 4) = 9;
        work.at(3, row.upRow) = static_cast<signed char>(row.upValue);
        work.at(3, row.downRow) = static_cast<signed char>(row.downValue);
        CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
        EXPECT_EQ(work.at(3, 4), row.closed ? 9 : 0) << row.upRow << " " << row.downRow;
    }
}

// Rows 0..4 of a 10 x 17 map, the rest 0. Row 2 closes (3..5, 2); its new block
// (4, 2) is all that row 3 finds above its gap (4, 3). Row 1 never closes.
TEST(CloseFpNotch, ClosedRowsCountForLaterRows)
{
    const BlockMap top = ParseBlockMap(R"(
        .  9  9  9  9  9  9  9  9  .
        .  9  9  9  .  9  9  9  9  .
        .  9  9  .  .  9  9  9  9  .
        .  9  9  9  .  9  9  9  9  .
        .  9  9  9  9  9  9  9  9  .)");
    BlockMap work(10, 17), map(10, 17), expected = work, marks = map;
    std::copy(top.cells.begin(), top.cells.end(), work.cells.begin());
    expected.fill(1, 0, 8, 4, 9);
    expected.at(4, 1) = 0;
    marks.fill(3, 2, 5, 2, 1);
    marks.fill(4, 3, 5, 3, 1);
    CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
    EXPECT_EQ(BlockMapText(work), BlockMapText(expected));
    EXPECT_EQ(BlockMapText(map), BlockMapText(marks));
}

} // namespace
