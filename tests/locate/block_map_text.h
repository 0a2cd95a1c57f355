// Block maps written as text in tests: rows separated by line breaks or "|",
// cells by blanks, "." for 0 and any other cell a decimal value ("9", "-3").
// Maps are compared through their text, so a failure prints both maps.
#ifndef KOVRAL_TESTS_BLOCK_MAP_TEXT_H
#define KOVRAL_TESTS_BLOCK_MAP_TEXT_H

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

struct BlockMap
{
    int w = 0;
    int h = 0;
    std::vector<signed char> cells; // exactly w * h: a read past the map shows under the sanitizer

    BlockMap(int width = 0, int height = 0, int value = 0)
        : w(width), h(height), cells(size_t(width) * height, static_cast<signed char>(value)) {}
    signed char* data() { return cells.data(); }
    signed char& at(int x, int y) { return cells[size_t(y) * w + x]; }
    void fill(int x0, int y0, int x1, int y1, int value) // inclusive corners
    {
        for (int y = y0; y <= y1; y++)
            for (int x = x0; x <= x1; x++)
                at(x, y) = static_cast<signed char>(value);
    }
};

inline BlockMap ParseBlockMap(std::string text)
{
    for (char& c : text)
        c = c == '|' ? '\n' : c;
    BlockMap map;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream row(line);
        int count = 0;
        for (std::string cell; row >> cell; count++)
            map.cells.push_back(static_cast<signed char>(cell == "." ? 0 : std::stoi(cell)));
        if (count != 0 && map.h > 0 && count != map.w)
            throw std::invalid_argument("ragged block map: " + line);
        map.w = count != 0 ? count : map.w;
        map.h += count != 0;
    }
    return map;
}

inline std::string BlockMapText(const signed char* cells, int w, int h)
{
    std::string text = "\n";
    for (int i = 0; i < w * h; i++) {
        char cell[8];
        std::snprintf(cell, sizeof cell, "%4d", cells[i]);
        text += cells[i] == 0 ? "   ." : cell;
        text += i % w == w - 1 ? "\n" : "";
    }
    return text;
}

inline std::string BlockMapText(const BlockMap& map)
{
    return BlockMapText(map.cells.data(), map.w, map.h);
}

// A map literal in the form BlockMapText gives.
inline std::string Normalised(const std::string& text)
{
    return BlockMapText(ParseBlockMap(text));
}

#endif
