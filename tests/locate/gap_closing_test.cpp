#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Maps before and after the single-cell fill (nullptr: unchanged). In a 3 x 3 map only the centre is visited.
TEST(FillSingleBlank, PairOrderAndScanOrder)
{
    const char* const rows[][2] = {
        {". . .|9 . 9|. . .", ". . .|9 9 9|. . ."},          // left and right equal
        {". 9 .|9 . 10|. 9 .", ". 9 .|9 9 10|. 9 ."},        // up and down equal
        {"9 . .|9 . 10|. . 9", nullptr},                     // up and down both 0 end the search
        {"9 1 .|9 . 10|. 2 9", "9 1 .|9 9 10|. 2 9"},        // up-left and down-right
        {"9 1 11|. . 10|11 2 12", "9 1 11|. 11 10|11 2 12"}, // then up-right and down-left; one positive side
        {". 9 .|-1 . .|. 9 .", nullptr},                     // no positive side: up and down never compared
        // (2, 2) fills from above and below; its new 9 then fills (3, 2) from the left and (3, 3) from above: on
        // the values on entry neither would change. (1, 0) and other border blocks never change.
        {"9 . 9 . . . .|. 9 9 9 . . .|9 9 . . 9 . .|. 9 9 . . . .|. . . 9 . . .",
         "9 . 9 . . . .|. 9 9 9 . . .|9 9 9 9 9 . .|. 9 9 9 . . .|. . . 9 . . ."},
    };
    for (const auto& [before, after] : rows) {
        BlockMap map(before);
        FillSingleBlank(map.data(), map.w, map.h);
        EXPECT_EQ(map.text(), BlockMap(after ? after : before).text()) << before;
    }
}

// Row `gap` of a 12 x 20 map as given, rows `up` and `down` full of the values given, the rest 0. Columns
// first..last close: 9 in the working map, 1 in the direction map.
TEST(CloseFpNotch, FirstGapOfARow)
{
    const struct
    {
        const char* row;
        int gap, up, upValue, down, downValue, first, last;
    } rows[] = {
        {"9 9 9 . 9 9 9 9 9 9 9 9", 4, 1, 9, 7, 9, 3, 4},   // a gap of 1, the farthest rows searched: 1 and bh - 13
        {"9 9 . . . . 9 9 9 9 9 9", 4, 1, 9, 7, 9, 2, 6},   // a gap of 4
        {"9 9 . . . . . 9 9 9 9 9", 4, 1, 9, 7, 9, 0, -1},  // a gap of 5 stays
        {"9 . 9 9 . . 9 9 9 9 9 9", 4, 1, 9, 7, 9, 4, 6},   // a block in column 0 never starts a gap
        {". 9 . . . . . 9 . 9 9 9", 4, 1, 9, 7, 9, 0, -1},  // only the first gap counts
        {"9 9 9 9 9 9 9 9 9 . . 9", 4, 1, 9, 7, 9, 0, -1},  // the block after the gap in the last column
        {"9 9 9 9 9 9 9 9 . 9 9 .", 4, 1, 9, 7, 9, 8, 9},   // in the one before
        {"9 9 9 . 9 9 9 9 9 9 9 9", 4, 0, 9, 7, 9, 0, -1},  // row 0 is never searched, so row 1 never closes
        {"9 9 9 . 9 9 9 9 9 9 9 9", 4, 1, 9, 8, 9, 0, -1},  // nor is any row below bh - 13
        {"9 9 9 . 9 9 9 9 9 9 9 9", 4, 1, 10, 7, 9, 0, -1}, // another label above does not count
        {"9 9 9 . 9 9 9 9 9 9 9 9", 4, 1, 9, 7, 10, 0, -1}, // nor below
        {"9 9 9 . 9 9 9 9 9 9 9 9", 6, 1, 9, 7, 9, 3, 4},   // bh - 14, the last row that can close
    };
    for (const auto& r : rows) {
        BlockMap work(12, 20), map(12, 20);
        work.fill(0, r.up, 11, r.up, r.upValue).fill(0, r.down, 11, r.down, r.downValue);
        const BlockMap line(r.row);
        std::copy(line.cells.begin(), line.cells.end(), &work.at(0, r.gap));
        BlockMap expected = work, marks = BlockMap(12, 20).fill(r.first, r.gap, r.last, r.gap, 1);
        expected.fill(r.first, r.gap, r.last, r.gap, 9);
        CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
        EXPECT_EQ(work.text() + map.text(), expected.text() + marks.text()) << r.row << " in row " << r.gap;
    }
}

// Row 2 closes (3..5, 2); its new block (4, 2) is all that row 3 finds above its gap (4, 3).
TEST(CloseFpNotch, ClosedRowsCountForLaterRows)
{
    BlockMap work = BlockMap(10, 17).fill(1, 0, 8, 4, 9).fill(4, 1, 4, 1, 0), map(10, 17), expected = work;
    work.fill(3, 2, 4, 2, 0).fill(4, 3, 4, 3, 0);
    const BlockMap marks = BlockMap(10, 17).fill(3, 2, 5, 2, 1).fill(4, 3, 5, 3, 1);
    CloseFpNotch(work.data(), map.data(), work.w, work.h, 9);
    EXPECT_EQ(work.text() + map.text(), expected.text() + marks.text());
}

} // namespace
