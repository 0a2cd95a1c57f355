#include "extract/extract.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace {

// A 10 x 6 source whose pixel (c, r) is 10 r + c.
TEST(WindowCopy, CopiesOnlyWindowsInsideTheSource)
{
    struct Row { int dw, dh, x0, y0; bool copies; };
    const Row rows[] = {
        {4, 3, 6, 3, true},        // ends exactly at the right and bottom edges
        {4, 3, 7, 3, false},       // one column too far
        {4, 3, 6, 4, false},       // one row too far
        {4, 3, -1, 0, false},      // negative x0
        {4, 3, 0, -1, false},      // negative y0
        {4, 0, 0, 0, false},       // no row
        {1, 1, INT_MAX, 0, false}, // x0 + dw beyond int
        {1, 1, 0, INT_MAX, false},
        {10, 6, 0, 0, true},       // the whole source
    };
    std::vector<unsigned char> src(60);
    for (int i = 0; i < 60; i++)
        src[i] = static_cast<unsigned char>(i);
    for (const Row& row : rows) {
        std::vector<unsigned char> dst(64, 255);
        CutImageBuf(dst.data(), row.dw, row.dh, src.data(), row.x0, row.y0, 10, 6);
        for (int i = 0; i < 64; i++) {
            const bool inWindow = row.copies && i < row.dw * row.dh;
            const int expected = inWindow ? 10 * (row.y0 + i / row.dw) + row.x0 + i % row.dw : 255;
            ASSERT_EQ(dst[i], expected) << row.dw << "x" << row.dh << " at " << row.x0 << "," << row.y0;
        }
    }
}

TEST(WindowCopy, NullPointersCopyNothing)
{
    std::vector<unsigned char> src(60, 1);
    std::vector<unsigned char> dst(60, 255);
    CutImageBuf(dst.data(), 4, 3, nullptr, 0, 0, 10, 6);
    CutImageBuf(nullptr, 4, 3, src.data(), 0, 0, 10, 6);
    EXPECT_EQ(dst, std::vector<unsigned char>(60, 255));
}

} // namespace
