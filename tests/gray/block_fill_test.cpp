// Rectangle fill and masked 2 x 2 block fill.
#include "gray/gray.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The image as text, a string per row of w: '.' for 0, '#' for 7.
std::vector<std::string> Rows(const std::vector<unsigned char>& img, int w)
{
    std::vector<std::string> rows;
    for (size_t i = 0; i < img.size(); i++)
        (i % w ? rows.back() : rows.emplace_back()) += img[i] == 0 ? '.' : img[i] == 7 ? '#' : '?';
    return rows;
}

TEST(BlockFill, ImgBlockSet)
{
    struct Case
    {
        int x, y, bw, bh, stride;
        std::vector<std::string> expected;
    };
    const std::vector<std::string> none(4, "........");
    const Case cases[] = {
        {2, 1, 4, 2, 8, {"........", "..####..", "..####..", "........"}},
        {1, 0, 3, 2, 5, {".###..##", "#.......", "........", "........"}}, // stride 5 seen 8 wide
        {2, 1, 4, 0, 8, none},
        {2, 1, 4, -2, 8, none},
        {2, 1, 0, 2, 8, none},
        {2, 1, -4, 2, 8, none}, // a negative width writes nothing at all
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img(32, 0);
        ImgBlockSet(img.data(), c.x, c.y, c.bw, c.bh, c.stride, 7);
        EXPECT_EQ(Rows(img, 8), c.expected) << c.x << "," << c.y << " " << c.bw << "x" << c.bh;
    }
}

TEST(BlockFill, DelUseless)
{
    struct Case
    {
        int w, h;
        std::vector<unsigned char> mask;
        std::vector<std::string> expected; // plus a spare row that stays untouched
    };
    const Case cases[] = {
        {4, 4, {255, 0, 0, 255}, {"##..", "##..", "..##", "..##", "...."}},
        {4, 2, {254, 1}, {"....", "....", "...."}},      // only 255 blanks
        {5, 2, {0, 0, 255}, {"....#", "....#", "....."}}, // odd width: 3 cells, the last one column wide
        {3, 3, {0, 255, 255, 255}, {"..#", "..#", "###", "..."}},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> img(c.w * (c.h + 1), 0);
        DelUseless(img.data(), c.w, c.h, c.mask.data(), 7);
        EXPECT_EQ(Rows(img, c.w), c.expected) << c.w << " x " << c.h;
    }
    DelUseless(nullptr, 0, 4, nullptr, 7);
    DelUseless(nullptr, 4, -1, nullptr, 7);
}

} // namespace
