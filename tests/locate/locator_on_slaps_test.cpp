// Direction map and finger locator on generated slaps: candidates left to
// right, boxes around the true fingertip centres, angles near the truth.
#include "direction/direction.h"
#include "locate/locate.h"

#include <gtest/gtest.h>

#include <vector>

#include "slapgen.h"

namespace {

TEST(LocatorOnSlaps, FourFingerHands)
{
    const struct
    {
        int tilt;
        bool rightHand;
        int fingers;  // 0: a slap without ridges
    } cases[] = {{0, true, 4}, {0, false, 4}, {15, true, 4}, {-15, false, 4}, {30, false, 4}, {-30, true, 4},
                 {0, true, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "tilt " << c.tilt << " fingers " << c.fingers);
        slapgen::SlapSpec plan = slapgen::FourFingerHand(1600, 1000, c.tilt, c.rightHand, 21);
        if (c.fingers == 0)
            plan.fingers.clear();
        const slapgen::Slap slap = slapgen::Generate(plan);
        const int bw = 1600 / 16, bh = 992 / 16;
        std::vector<signed char> map(bw * bh), work(bw * bh);
        std::vector<unsigned char> image = slap.pixels;
        Directions(image.data(), 1600, 992, map.data(), 2);
        tagRECT boxes[10];
        int angles[10];
        signed char labels[10];
        std::fill(angles, angles + 10, -1);
        ASSERT_EQ(FindFpPos(map.data(), bw, bh, work.data(), boxes, angles, labels), c.fingers);
        // The angle search keeps the last of equally narrow 3-degree turns:
        // single angles may be a few degrees low, the hand's mean is close.
        int error = 0;
        for (int i = 0; i < c.fingers; i++) {
            const slapgen::Truth& t = slap.truth[i];
            EXPECT_TRUE(t.cx >= boxes[i].left && t.cx < boxes[i].right && t.cy >= boxes[i].top &&
                        t.cy < boxes[i].bottom)
                << "finger " << i;
            EXPECT_NEAR(angles[i], t.angle, 10) << "finger " << i;
            error += angles[i] - t.angle;
        }
        if (c.fingers > 0) {
            EXPECT_NEAR(error / c.fingers, 0, 6);
        }
        EXPECT_EQ(angles[c.fingers], -1) << "outputs beyond the count are untouched";
    }
}

} // namespace
