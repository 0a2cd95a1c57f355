// Block maps for the locate and compat tests, written as text: rows split by "|", cells by blanks, "." for 0.
#ifndef KOVRAL_TESTS_SUPPORT_BLOCK_MAP_H
#define KOVRAL_TESTS_SUPPORT_BLOCK_MAP_H

#include <cmath>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

struct BlockMap
{
    int w = 0, h = 0;
    std::vector<signed char> cells; // exactly w * h: a read past the map shows under the sanitizer

    BlockMap(int width, int height, int value = 0)
        : w(width), h(height), cells(size_t(width) * height, static_cast<signed char>(value))
    { }
    explicit BlockMap(const std::string& text)
    {
        std::istringstream rows(text);
        for (std::string row; std::getline(rows, row, '|'); h++) {
            std::istringstream in(row);
            w = 0;
            for (std::string cell; in >> cell; w++)
                cells.push_back(static_cast<signed char>(cell == "." ? 0 : std::stoi(cell)));
        }
    }
    signed char* data() { return cells.data(); }
    signed char& at(int x, int y) { return cells[size_t(y) * w + x]; }
    BlockMap& fill(int x0, int y0, int x1, int y1, int value) // inclusive corners
    {
        for (int y = y0; y <= y1; y++)
            for (int x = x0; x <= x1; x++)
                at(x, y) = static_cast<signed char>(value);
        return *this;
    }
    // Blocks whose centres lie within `along` blocks along and `across` blocks across the axis through (cx, cy) at
    // angle degrees (counter-clockwise, row 0 at the top, 90 upright). Quarter-block half sizes keep block
    // centres off the edges.
    BlockMap& bar(double cx, double cy, double angle, double along, double across, int value)
    {
        const double c = std::cos(angle * std::numbers::pi / 180), s = std::sin(angle * std::numbers::pi / 180);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++)
                if (std::fabs((x - cx) * c - (y - cy) * s) <= along
                    && std::fabs((x - cx) * s + (y - cy) * c) <= across)
                    at(x, y) = static_cast<signed char>(value);
        return *this;
    }
    // One row per line: compared as strings, a failing test prints both maps.
    std::string text() const
    {
        std::string s = "\n";
        for (size_t i = 0; i < cells.size(); i++)
            s += (cells[i] != 0 ? std::to_string(cells[i]) : ".") + (i % w == size_t(w) - 1 ? "\n" : " ");
        return s;
    }
};

#endif
