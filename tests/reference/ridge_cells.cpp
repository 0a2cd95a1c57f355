// The ridge test as it was before its sums were made whole numbers and its
// windows summed row by row.
#include "reference.h"

#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace reference {
namespace {

using accurate::CELL;
using accurate::CellMap;

constexpr int SAMPLE_STEP = 2;       // sample every other pixel of a cell, both ways
constexpr float MIN_CONTRAST = 5.0f; // gray standard deviation of a window, at least
constexpr float NOISE_FACTOR = 2.2f; // and this many times the typical contrast of paper
constexpr float NOISE_SHARE = 0.2f;  // the paper's contrast: this quantile of all cells
constexpr float MIN_RATIO = 0.5f;    // squared difference / variance: periods up to about 17 px
constexpr float MAX_RATIO = 3.1f;    // down to about 5.5 px; white noise gives 4
constexpr float MIN_COHERENCE = 0.3f;
constexpr float MIN_DARK = 0.18f; // (max - mean) / (max - min) of a window
constexpr float MAX_DARK = 0.85f;

struct Sums
{
    float s = 0, ss = 0, gxx = 0, gyy = 0, gxy = 0;
    int n = 0;
    int lo = 255, hi = 0;
};

} // namespace

void FindRidgeCells(const uint8_t* image, int w, int h, CellMap& map)
{
    const int cw = w / CELL;
    const int ch = h / CELL;
    map.cw = cw;
    map.ch = ch;
    const std::size_t cells = static_cast<std::size_t>(cw) * ch;
    map.ridge.assign(cells, 0);
    map.contrast.assign(cells, 0.0f);
    map.dark.assign(cells, 0.5f);
    if (cw < 1 || ch < 1)
        return;

    // Per-cell sums over the odd pixel positions, whose neighbours all exist
    // except in the last row and column of an image a multiple of 8 wide.
    std::vector<Sums> sums(cells);
    for (int y = 1; y < ch * CELL && y + 1 < h; y += SAMPLE_STEP) {
        const uint8_t* row = image + static_cast<std::size_t>(y) * w;
        const uint8_t* up = row - w;
        const uint8_t* down = row + w;
        Sums* cellRow = &sums[static_cast<std::size_t>(y / CELL) * cw];
        for (int x = 1; x < cw * CELL && x + 1 < w; x += SAMPLE_STEP) {
            const float p = row[x];
            const float gx = static_cast<float>(row[x + 1]) - row[x - 1];
            const float gy = static_cast<float>(down[x]) - up[x];
            Sums& c = cellRow[x / CELL];
            c.s += p;
            c.ss += p * p;
            c.gxx += gx * gx;
            c.gyy += gy * gy;
            c.gxy += gx * gy;
            c.n++;
            c.lo = std::min(c.lo, static_cast<int>(row[x]));
            c.hi = std::max(c.hi, static_cast<int>(row[x]));
        }
    }

    // Window features.
    std::vector<float> ratio(cells, 0.0f), coherence(cells, 0.0f);
    for (int cy = 0; cy < ch; cy++)
        for (int cx = 0; cx < cw; cx++) {
            Sums win;
            for (int y = std::max(cy - 1, 0); y <= std::min(cy + 1, ch - 1); y++)
                for (int x = std::max(cx - 1, 0); x <= std::min(cx + 1, cw - 1); x++) {
                    const Sums& c = sums[static_cast<std::size_t>(y) * cw + x];
                    win.s += c.s;
                    win.ss += c.ss;
                    win.gxx += c.gxx;
                    win.gyy += c.gyy;
                    win.gxy += c.gxy;
                    win.n += c.n;
                    win.lo = std::min(win.lo, c.lo);
                    win.hi = std::max(win.hi, c.hi);
                }
            const std::size_t i = static_cast<std::size_t>(cy) * cw + cx;
            if (win.n == 0)
                continue;
            const float mean = win.s / win.n;
            const float var = std::max(win.ss / win.n - mean * mean, 0.0f);
            const float energy = win.gxx + win.gyy;
            map.contrast[i] = std::sqrt(var);
            ratio[i] = var > 0.0f ? energy / win.n / var : 0.0f;
            coherence[i] = energy > 0.0f
                ? std::sqrt((win.gxx - win.gyy) * (win.gxx - win.gyy) + 4.0f * win.gxy * win.gxy) / energy
                : 0.0f;
            map.dark[i] = win.hi > win.lo ? (win.hi - mean) / static_cast<float>(win.hi - win.lo) : 0.5f;
        }

    // The paper's contrast: a low quantile over the cells without oriented
    // texture (none: a print fills the image, and only the fixed floor counts).
    std::vector<float> paper;
    for (std::size_t i = 0; i < cells; i++)
        if (coherence[i] < MIN_COHERENCE || ratio[i] > MAX_RATIO)
            paper.push_back(map.contrast[i]);
    map.noise = 0.0f;
    if (!paper.empty()) {
        const std::size_t k = static_cast<std::size_t>(NOISE_SHARE * static_cast<float>(paper.size() - 1));
        std::nth_element(paper.begin(), paper.begin() + static_cast<std::ptrdiff_t>(k), paper.end());
        map.noise = paper[k];
    }
    const float minContrast = std::max(MIN_CONTRAST, NOISE_FACTOR * map.noise);

    for (std::size_t i = 0; i < cells; i++)
        map.ridge[i] = map.contrast[i] >= minContrast && ratio[i] >= MIN_RATIO && ratio[i] <= MAX_RATIO
            && coherence[i] >= MIN_COHERENCE && map.dark[i] >= MIN_DARK && map.dark[i] <= MAX_DARK;
}

} // namespace reference
