// Ridge texture test of one block: the pair threshold, the three count
// thresholds and the order of the row and column passes, on literal blocks
// with known pair counts.
#include "direction/direction.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

// '#' hits '.', '+' does not (20 apart), '-' hits nothing, 'o' / '%' are
// '.' / '#' raised by 30, '@' hits every other level.
int Level(char ch)
{
    const std::string chars = ".-+#o%@";
    const int levels[] = {100, 110, 120, 121, 130, 151, 200};
    return levels[chars.find(ch)];
}

using Picture = std::vector<std::string>;

// Three row hits on even rows, two on odd ones: 40 row hits, no column hit.
Picture Rows40()
{
    Picture p;
    for (int r = 0; r < 16; r++)
        p.push_back(r % 2 ? "##.............." : "##.............#");
    return p;
}

// Column 0: one row hit per row. Raised rows 14, 15: 32 column hits; '@' at rows 1, 6: three more.
const Picture kRows16Columns35 = {
    "#...............", "@...............", "#...............", "#...............", "#...............",
    "#...............", "@...............", "#...............", "#...............", "#...............",
    "#...............", "#...............", "#...............", "#...............", "%ooooooooooooooo",
    "%ooooooooooooooo"};

// Puts ch at each (column, row).
Picture Put(Picture p, const std::vector<std::pair<int, int>>& at, char ch = '@')
{
    for (auto [c, r] : at)
        p[r][c] = ch;
    return p;
}

// Stripes two pixels wide: every pair across them differs.
Picture Stripes(char light, bool vertical)
{
    Picture p(16, std::string(16, '.'));
    for (int r = 0; r < 16; r++)
        for (int c = 0; c < 16; c++)
            if (((vertical ? c : r) / 2) % 2)
                p[r][c] = light;
    return p;
}

TEST(BlockEstimate, Thresholds)
{
    // '@' on a '#' of column 0, 1 or 15 adds one column hit per column partner, no row hit.
    const std::vector<std::pair<int, int>> tenColumnHits = {{0, 4}, {0, 8}, {1, 5}, {1, 9}, {15, 6}};
    std::vector<std::pair<int, int>> elevenColumnHits = tenColumnHits;
    elevenColumnHits.push_back({0, 0});
    struct Case
    {
        const char* what;
        Picture block;
        int expected;
    };
    const Case cases[] = {
        {"flat", Picture(16, std::string(16, '.')), 0},
        {"40 row hits are not enough alone", Rows40(), 0},
        {"41 row hits", Put(Rows40(), {{14, 1}}, '#'), 1},
        {"40 + 10 column hits = 50", Put(Rows40(), tenColumnHits), 0},
        {"40 + 11 column hits = 51", Put(Rows40(), elevenColumnHits), 1},
        {"16 row hits enter the column pass: 16 + 35", kRows16Columns35, 1},
        // '-' at (2, 3) takes one row hit away, '@' at (0, 10) adds two column hits.
        {"15 row hits reject, though 15 + 37 would pass", Put(Put(kRows16Columns35, {{2, 3}}, '-'), {{0, 10}}), 0},
        {"vertical stripes 21 apart", Stripes('#', true), 1},
        {"vertical stripes 20 apart", Stripes('+', true), 0},
        {"horizontal stripes: the column pass never runs", Stripes('@', false), 0},
    };
    for (const Case& c : cases) {
        // Alone (stride 16) and at (7, 5) of a 40-wide image whose surroundings are full of hits.
        std::vector<unsigned char> alone(16 * 16), placed(40 * 30);
        for (size_t i = 0; i < placed.size(); i++)
            placed[i] = ((i % 40) / 2) % 2 ? 0 : 255;
        for (int r = 0; r < 16; r++)
            for (int x = 0; x < 16; x++)
                placed[(5 + r) * 40 + 7 + x] = alone[r * 16 + x] = static_cast<unsigned char>(Level(c.block[r][x]));
        EXPECT_EQ(BlockDrct1(alone.data(), 16, 16, 0, 0), c.expected) << c.what;
        EXPECT_EQ(BlockDrct1(placed.data(), 40, 30, 7, 5), c.expected) << c.what << ", placed";
        for (int param : {2, INT_MIN})
            EXPECT_EQ(BlockDrct(placed.data(), 40, 30, 7, 5, param), c.expected) << c.what << ", param " << param;
    }
}

} // namespace
