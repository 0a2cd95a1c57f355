#include "locate/locate.h"

#include "block_map.h"

#include <gtest/gtest.h>

namespace {

// The bw x bh map numbered 1, 2, ... row by row, turned into a map sized by GetRoatedDrctSize.
TEST(RoatedHoleDrct, TurnsAboutTheCentreBlock)
{
    const struct
    {
        int bw, bh, theta;
        const char* out;
    } rows[] = {
        // unturned, 3 blocks wider and higher: an odd side moves by two blocks, an even one by one
        {3, 2, 0, ". . . . . .|. . 1 2 3 .|. . 4 5 6 .|. . . . . .|. . . . . ."},
        {4, 3, 0, ". . . . . . .|. . . . . . .|. 1 2 3 4 . .|. 5 6 7 8 . .|. 9 10 11 12 . .|. . . . . . ."},
        // a quarter turn counter-clockwise: the right column comes to the top, read downward
        {3, 2, -90, ". . . . .|. . . . .|. 3 6 . .|. 2 5 . .|. 1 4 . .|. . . . ."},
        // below the centre the source is found by shifts of negative products, rounding toward minus infinity:
        // block (4, 5) takes 17, from column 1, row 3 (truncation would give 13). The width comes from one
        // diagonal, the height from the other.
        {5, 4, -30,
         ". . . . . 5 . .|. . . . 4 5 . .|. . 2 3 9 9 15 .|. . 6 7 13 14 20 .|"
         ". . 6 12 13 18 19 .|. . . 16 17 . . .|. . . . . . . .|. . . . . . . ."},
    };
    for (const auto& [bw, bh, theta, text] : rows) {
        BlockMap work(bw, bh);
        for (int i = 0; i < bw * bh; i++)
            work.cells[i] = static_cast<signed char>(i + 1);
        int ow = 0, oh = 0;
        GetRoatedDrctSize(bw, bh, theta, ow, oh);
        BlockMap out(ow, oh, 99);
        RoatedHoleDrct(work.data(), bw, bh, theta, out.data(), ow, oh);
        EXPECT_EQ(out.text(), BlockMap(text).text()) << bw << " x " << bh << " by " << theta;
    }
}

} // namespace
