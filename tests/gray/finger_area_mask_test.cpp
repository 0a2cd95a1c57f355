#include "gray/gray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

struct Image
{
    int w, h;
    std::vector<unsigned char> px;
    Image(int width, int height, unsigned char level) : w(width), h(height), px(size_t(width) * height, level) {}
    unsigned char& at(int c, int r) { return px[size_t(r) * w + c]; }
    void fill(int c0, int r0, int c1, int r1, unsigned char level) // inclusive corners
    {
        for (int r = r0; r <= r1; r++)
            std::fill(&at(c0, r), &at(c1, r) + 1, level);
    }
    Image mask() const
    {
        Image out(w, h, 7); // stale contents must not show through
        FindTheFpGrad(px.data(), w, h, out.px.data());
        return out;
    }
    bool allWhite() const { return std::all_of(px.begin(), px.end(), [](unsigned char v) { return v == 255; }); }
};

// A 9 x 9 patch of `patch` in the middle of a white 400 x 400 image; the
// one-pixel border (1596 pixels, never probed nor kept) is `border` and only
// moves the mean of the pixels below 215.
TEST(FingerAreaMask, ThresholdTableAndDarkLevel)
{
    struct Row { int border, patch; bool kept; };
    const Row rows[] = {
        {52, 209, true},   // mean (81*209 + 1596*52) / 1677 = 59: T 210, 209 is dark
        {52, 210, false},  // mean 59: 210 is not dark
        {53, 209, true},   // mean 60: T 210
        {53, 210, false},
        {100, 225, true},  // mean 100: T 185 + 500 / 12 = 226
        {100, 226, false},
        {119, 233, true},  // mean 119: T 234
        {119, 234, false},
        {120, 234, true},  // mean 120: T 235
        {120, 235, false},
    };
    for (const Row& row : rows) {
        Image img(400, 400, 255);
        img.fill(0, 0, 399, 399, row.border);
        img.fill(1, 1, 398, 398, 255);
        img.fill(196, 196, 204, 204, row.patch);
        Image out = img.mask();
        SCOPED_TRACE(testing::Message() << "border " << row.border << " patch " << row.patch);
        if (row.kept)
            EXPECT_EQ(out.at(200, 200), row.patch);
        else
            EXPECT_TRUE(out.allWhite());
    }
}

TEST(FingerAreaMask, UniformImageKeepsInnerRectangle)
{
    Image img(400, 400, 100);
    Image out = img.mask();
    for (int r = 0; r < 400; r++) {
        for (int c = 0; c < 400; c++) {
            const bool inside = c >= 4 && c <= 395 && r >= 4 && r <= 395;
            ASSERT_EQ(out.at(c, r), inside ? 100 : 255) << c << "," << r;
        }
    }
}

TEST(FingerAreaMask, ImagesThatKeepNothing)
{
    struct Row { int w, h, level; bool allWhite; };
    const Row rows[] = {
        {400, 400, 255, true},  // no dark pixel at all
        {400, 40, 100, true},   // too low for any span row
        {400, 41, 100, false},  // row 20 sets the span
        {5, 100, 0, true},      // below 6 x 6
        {100, 5, 0, true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Image(row.w, row.h, row.level).mask().allWhite(), row.allWhite) << row.w << "x" << row.h;
}

// Stripe A (columns 240..259) is thinned to columns 240..241 on rows
// 198..202, stripe B (141..160) is not: at distance 40 from the middle column
// the right probe (238..242) sees 10 dark pixels and the left one 15. One more
// dark pixel makes the right probe a hit, and it wins being tried first.
TEST(FingerAreaMask, CentreSearch)
{
    struct Row { bool extraPixel; int keptColumn, whiteColumn; };
    const Row rows[] = {
        {true, 250, 150},  // 11 dark on the right: a hit, tried before the left
        {false, 150, 250}, // 10 dark is no hit: the left stripe is found
    };
    for (const Row& row : rows) {
        Image img(400, 400, 250);
        img.fill(141, 0, 160, 399, 0);
        img.fill(240, 0, 259, 399, 0);
        img.fill(242, 198, 259, 202, 250);
        if (row.extraPixel)
            img.at(242, 200) = 0;
        Image out = img.mask();
        EXPECT_EQ(out.at(row.keptColumn, 100), 0) << row.extraPixel;
        EXPECT_EQ(out.at(row.whiteColumn, 100), 255) << row.extraPixel;
    }
}

// Full-height dark columns: the main stripe (180..220) gives its last hit at
// probe column 219; extra columns right of it may extend the span. The span's
// right end itself stays white.
TEST(FingerAreaMask, SidewaysScanHitsAndMisses)
{
    struct Cols { int first, last; };
    struct Row { std::vector<Cols> extra; int sparse, rightmost; };
    const std::vector<Row> rows = {
        {{{230, 232}}, -1, 231},             // hit at 231 after misses at 222, 225, 228
        {{{233, 235}}, -1, 219},             // the hit at 234 would follow a fourth miss
        {{{227, 229}, {236, 238}}, -1, 237}, // 2 misses, hit, 2 misses, hit: a hit restarts the count
        {{{231, 231}}, -1, 219},             // 5 dark pixels in probe 231 are no hit
        {{{231, 231}}, 230, 231},            // 6 are (column 230 is dark on every third row)
    };
    for (size_t i = 0; i < rows.size(); i++) {
        Image img(400, 400, 250);
        img.fill(180, 0, 220, 399, 0);
        for (const Cols& cols : rows[i].extra)
            img.fill(cols.first, 0, cols.last, 399, 0);
        for (int r = 0; r < 400 && rows[i].sparse >= 0; r += 3)
            img.at(rows[i].sparse, r) = 0;
        Image out = img.mask();
        const int right = rows[i].rightmost;
        EXPECT_EQ(out.at(right - 1, 200), img.at(right - 1, 200)) << "row " << i;
        EXPECT_EQ(out.at(right, 200), 255) << "row " << i;
    }
}

// Dark columns 180..194 and 206..220 leave probe columns 198, 201 and 204
// without a hit; column 202 still takes its reach from column band 65, two
// bands away, and its light pixels are kept.
TEST(FingerAreaMask, ColumnReachSpansTwoBandsEachWay)
{
    Image img(400, 400, 250);
    img.fill(180, 0, 194, 399, 0);
    img.fill(206, 0, 220, 399, 0);
    EXPECT_EQ(img.mask().at(202, 100), 250);
}

// A dark band at rows 480..520 of a 60 x 1000 image (probes start at row 498)
// and a three-row strip beyond it: the downward scan survives 150 missed
// probes, the upward one 25. The reach row itself stays white.
TEST(FingerAreaMask, VerticalScansEndAfterTheirMissCounts)
{
    struct Row { int strip, reach; bool down; };
    const Row rows[] = {
        {971, 972, true},   // 150 misses (522..969), then a hit at 972
        {974, 519, true},   // 151 misses end the scan before 975
        {401, 402, false},  // 25 misses (477..405), then a hit at 402
        {398, 480, false},  // 26 misses end the scan before 399
    };
    for (const Row& row : rows) {
        Image img(60, 1000, 250);
        img.fill(0, 480, 59, 520, 0);
        img.fill(0, row.strip, 59, row.strip + 2, 0);
        Image out = img.mask();
        const int inside = row.down ? row.reach - 1 : row.reach + 1;
        EXPECT_EQ(out.at(30, inside), 0) << row.strip;
        EXPECT_EQ(out.at(30, row.reach), 255) << row.strip;
    }
}

} // namespace
