#include "extract/extract.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr int BW = 20;
constexpr int BH = 40;
constexpr signed char LABEL = 12;

struct LabelRun { int row, first, last; }; // labelled cells, inclusive

tagPOINT Centre(tagRECT box, int outH, std::vector<LabelRun> runs)
{
    std::vector<signed char> work(BW * BH, 0);
    for (const LabelRun& run : runs)
        for (int c = run.first; c <= run.last; c++)
            work[run.row * BW + c] = LABEL;
    signed char label = LABEL;
    int angle = 90;
    tagPOINT centre{-1, -1};
    GetCenter(work.data(), BW, BH, 1, &box, &angle, &label, 256, outH, &centre);
    return centre;
}

TEST(FingerCentre, Examples)
{
    struct Row { tagRECT box; int outH; std::vector<LabelRun> runs; tagPOINT expected; };
    const std::vector<Row> rows = {
        // 300 high, below outH: the middle row 250 (block row 15); run 10..14 from bx0 9
        {{144, 100, 300, 400}, 360, {{15, 10, 14}}, {200, 250}},
        // 400 high: a window from 8 above the box, y = 100 + 180 - 8
        {{144, 100, 300, 500}, 360, {{17, 10, 14}}, {200, 272}},
        // exactly outH high counts as tall: y = 0 + 180 - 8, not 180
        {{144, 0, 300, 360}, 360, {{10, 10, 14}}, {200, 172}},
        // cells left of bx0 do not count: only column 12, x = (3 + 9) * 16 + 8
        {{144, 100, 300, 400}, 360, {{15, 5, 5}, {15, 12, 12}}, {200, 250}},
        // no label in the row: (20 / 2 + 9) * 16 + 8
        {{144, 100, 300, 400}, 360, {{14, 10, 14}}, {312, 250}},
        // the scan stops at the row end: the next row's first cells never count
        {{144, 100, 300, 400}, 360, {{16, 0, 5}}, {312, 250}},
    };
    for (size_t i = 0; i < rows.size(); i++) {
        const tagPOINT c = Centre(rows[i].box, rows[i].outH, rows[i].runs);
        EXPECT_EQ(c.x, rows[i].expected.x) << "row " << i;
        EXPECT_EQ(c.y, rows[i].expected.y) << "row " << i;
    }
}

// Every finger uses its own box and label; count 0 writes nothing.
TEST(FingerCentre, SeveralFingers)
{
    std::vector<signed char> work(BW * BH, 0);
    work[15 * BW + 2] = 9;
    work[15 * BW + 4] = 10;
    tagRECT boxes[2] = {{0, 100, 100, 400}, {0, 100, 100, 400}};
    signed char labels[2] = {9, 10};
    int angles[2] = {90, 90};
    tagPOINT centres[2] = {{-1, -1}, {-1, -1}};
    GetCenter(work.data(), BW, BH, 0, boxes, angles, labels, 256, 360, centres);
    EXPECT_EQ(centres[0].x, -1);
    GetCenter(work.data(), BW, BH, 2, boxes, angles, labels, 256, 360, centres);
    EXPECT_EQ(centres[0].x, 2 * 16 + 8);
    EXPECT_EQ(centres[1].x, 4 * 16 + 8);
}

} // namespace
