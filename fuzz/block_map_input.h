// Block maps from fuzz inputs, allocated at exactly w x h bytes.
#ifndef KOVRAL_BLOCK_MAP_INPUT_H
#define KOVRAL_BLOCK_MAP_INPUT_H

#include "fuzz_bytes.h"

#include <cstdint>
#include <vector>

// The largest block grid a split works on is 100 x 93; the fuzzers go one row
// beyond.
constexpr int FUZZ_MAX_MAP_W = 100;
constexpr int FUZZ_MAX_MAP_H = 94;

// Reads the w x h map that follows in the input. Encoding u8, then:
//   0 raw: one signed byte per block
//   1 bits: eight blocks per byte, low bit first; a set bit is a 1 block
//   2 runs: (value i8, length u8) pairs in raster order
// Blocks the input does not reach are 0.
inline std::vector<signed char> ReadBlockMap(FuzzBytes& in, int w, int h)
{
    std::vector<signed char> map(static_cast<size_t>(w) * static_cast<size_t>(h), 0);
    const int encoding = in.U8() % 3;
    size_t i = 0;
    if (encoding == 0) {
        for (; i < map.size() && in.Left() > 0; i++)
            map[i] = static_cast<signed char>(in.U8());
    } else if (encoding == 1) {
        for (; i < map.size() && in.Left() > 0; i += 8) {
            const uint8_t bits = in.U8();
            for (size_t b = 0; b < 8 && i + b < map.size(); b++)
                map[i + b] = (bits >> b) & 1;
        }
    } else {
        while (i < map.size() && in.Left() > 0) {
            const signed char value = static_cast<signed char>(in.U8());
            for (int n = in.U8(); n > 0 && i < map.size(); n--)
                map[i++] = value;
        }
    }
    return map;
}

#endif
