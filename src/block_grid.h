// The block grid every subsystem shares: block (bx, by) covers pixel columns
// 16 bx to 16 bx + 15 and rows 16 by to 16 by + 15; block maps hold one byte
// per block, w / 16 blocks per row.
#ifndef KOVRAL_BLOCK_GRID_H
#define KOVRAL_BLOCK_GRID_H

constexpr int BLOCK_SIZE = 16;
constexpr int BLOCK_SHIFT = 4; // pixels >> BLOCK_SHIFT = blocks

// The rows of an image of height h that a split uses: whole block rows only.
constexpr int WholeBlockRows(int h)
{
    return h & ~(BLOCK_SIZE - 1);
}

#endif
