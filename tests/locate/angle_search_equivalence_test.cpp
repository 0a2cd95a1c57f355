// The angle search measures each trial turn without building the turned map.
// Here it must agree, bit for bit, with the plain search: RoatedDrct on the
// region's centred map and GetRctXWidth of the result, on random maps.
#include "compat/compat.h"
#include "locate/locate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

// The search as the turned maps give it.
int PlainAngle(const std::vector<signed char>& map, int w, int h, signed char label, tagRECT rect)
{
    std::vector<signed char> centred(map.size(), 0), turned(map.size());
    const int x0 = (rect.left + rect.right) / 2 - w / 2, y0 = (rect.top + rect.bottom) / 2 - h / 2;
    for (int y = y0; y < y0 + 2 * (h / 2); y++)
        for (int x = x0; x < x0 + 2 * (w / 2); x++)
            if (x >= 0 && x < w && y >= 0 && y < h)
                centred[(y - y0) * w + (x - x0)] = map[y * w + x];
    int minWidth = w, prevWidth = w + 9, run = 0, best = 90;
    for (int t = 0; t <= 177; t += 3) {
        RoatedDrct(centred.data(), w, h, label, rect, t, turned.data());
        const int width = GetRctXWidth(turned.data(), w, h, label);
        run = width <= minWidth ? (minWidth == prevWidth ? run + 3 : 0) : 0;
        if (width <= minWidth)
            minWidth = width, best = t;
        prevWidth = width;
    }
    best -= run / 2;
    return best > 90 ? 270 - best : 90 - best;
}

TEST(AngleSearch, SameAnglesAsTurnedMaps)
{
    uint32_t state = 12345;
    auto next = [&state](uint32_t n) {
        state ^= state << 13, state ^= state >> 17, state ^= state << 5;
        return static_cast<int>(state % n);
    };
    for (int round = 0; round < 300; round++) {
        const int w = 2 + next(99), h = 2 + next(93);
        std::vector<signed char> map(w * h, 0);
        // A few blobs and bars of labels 9..11 at random places and shapes.
        for (int k = next(6); k >= 0; k--) {
            const int label = 9 + next(3), x = next(w), y = next(h), bw = 1 + next(20), bh = 1 + next(40);
            const int slant = next(7) - 3;
            for (int dy = 0; dy < bh; dy++)
                for (int dx = 0; dx < bw; dx++) {
                    const int px = x + dx + slant * dy / 4, py = y + dy;
                    if (px >= 0 && px < w && py < h && next(8) != 0)
                        map[py * w + px] = static_cast<signed char>(label);
                }
        }
        for (signed char label = 9; label <= 11; label++) {
            tagRECT rect{}, plainRect{};
            const int angle = GetFpPos(map.data(), w, h, label, &rect, true);
            GetHVMinRect(map.data(), w, h, label, plainRect);
            if (plainRect.left >= plainRect.right)
                continue;
            EXPECT_EQ(angle, PlainAngle(map, w, h, label, plainRect)) << "round " << round << ", label " << +label;
        }
    }
}

} // namespace
