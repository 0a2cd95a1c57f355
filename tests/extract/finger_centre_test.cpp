// Finger centres from the boxes and the labelled block map.
#include "extract/extract.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

constexpr int BW = 20;

// All rows go through one call on a shared 20-column map, each finger with its own box and its own label
// (row index + 1) in the given cells of one block row. outH is 360.
TEST(FingerCentre, Examples)
{
    const struct
    {
        tagRECT box;
        int blockRow;
        std::vector<int> cells;
        std::pair<int, int> centre;
    } rows[] = {
        {{144, 100, 300, 400}, 15, {10, 14}, {200, 250}},    // 300 high: the middle row; cells 1 and 5 past bx0 9
        {{144, 100, 300, 500}, 17, {10, 14}, {200, 272}},    // 400 high: a window from 8 above, 100 + 180 - 8
        {{144, 0, 300, 360}, 10, {10, 14}, {200, 172}},      // exactly outH high counts as tall: not 180
        {{144, 200, 300, 500}, 21, {5, 12, 13}, {200, 350}}, // column 5 is left of bx0; (3 + 4) / 2 truncates
        {{144, 100, 300, 400}, 14, {10, 14}, {312, 250}},    // no label in the row: (20 / 2 + 9) * 16 + 8
        {{144, 100, 300, 400}, 16, {0, 5}, {312, 250}},      // the next row's first cells never count
    };
    const int count = static_cast<int>(std::size(rows));
    std::vector<signed char> work(BW * 40, 0), labels = {1, 2, 3, 4, 5, 6};
    std::vector<tagRECT> boxes;
    for (int i = 0; i < count; i++) {
        boxes.push_back(rows[i].box);
        for (int cell : rows[i].cells)
            work[rows[i].blockRow * BW + cell] = labels[i];
    }
    std::vector<tagPOINT> centres(count);
    GetCenter(work.data(), BW, 40, count, boxes.data(), nullptr, labels.data(), 256, 360,
              centres.data()); // no angles
    for (int i = 0; i < count; i++)
        EXPECT_EQ(std::pair(centres[i].x, centres[i].y), rows[i].centre) << "row " << i;
}

} // namespace
