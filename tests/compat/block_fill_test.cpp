// Rectangle fill and masked 2 x 2 block fill, on images of '.' filled with '#'.
#include "compat/compat.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(BlockFill, ImgBlockSet)
{
    const auto filled = [](int x, int y, int bw, int bh, int stride) {
        std::string img(32, '.');
        ImgBlockSet(reinterpret_cast<unsigned char*>(img.data()), x, y, bw, bh, stride, '#');
        return img;
    };
    // Shown as rows of 8.
    EXPECT_EQ(filled(2, 1, 3, 2, 5),
              ".......#"
              "##..###."
              "........"
              "........"); // stride 5
    EXPECT_EQ(filled(2, 1, 4, 0, 8), std::string(32, '.'));
    EXPECT_EQ(filled(2, 1, -4, 2, 8), std::string(32, '.')); // a negative width writes nothing
}

TEST(BlockFill, DelUseless)
{
    // The image is followed by a spare row that must stay untouched.
    const auto blanked = [](int w, int h, std::vector<unsigned char> mask) {
        std::string img(w * (h + 1), '.');
        DelUseless(reinterpret_cast<unsigned char*>(img.data()), w, h, mask.data(), '#');
        return img;
    };
    EXPECT_EQ(blanked(4, 4, {255, 254, 1, 255}),
              "##.."
              "##.."
              "..##"
              "..##"
              "...."); // only 255 blanks
    EXPECT_EQ(blanked(3, 3, {0, 255, 255, 255}),
              "..#"
              "..#"
              "###"
              "..."); // odd sides: the last cells are cut
}
