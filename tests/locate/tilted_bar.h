// Tilted bars of one value drawn on block maps for the locator tests.
#ifndef KOVRAL_TESTS_TILTED_BAR_H
#define KOVRAL_TESTS_TILTED_BAR_H

#include "block_map_text.h"

#include <cmath>
#include <numbers>

// Sets to value every block whose centre lies within halfLength along and
// halfThickness across the axis through (cx, cy) at angle degrees
// (counter-clockwise from the horizontal, row 0 at the top, 90 upright).
// Quarter-block half sizes keep block centres off the bar's edges.
inline void DrawBar(BlockMap& map, double cx, double cy, double angle, double halfLength, double halfThickness,
                    signed char value)
{
    const double r = angle * std::numbers::pi / 180.0;
    const double c = std::cos(r);
    const double s = std::sin(r);
    for (int y = 0; y < map.h; y++)
        for (int x = 0; x < map.w; x++) {
            const double dx = x - cx;
            const double dy = y - cy;
            if (std::fabs(dx * c - dy * s) <= halfLength && std::fabs(dx * s + dy * c) <= halfThickness)
                map.at(x, y) = value;
        }
}

#endif
