// Ridge test on 8 x 8 cells. Every cell is judged on the 24 x 24 window of
// itself and its eight neighbours, sampled at every other pixel: a fingerprint
// window has a gray spread well above the noise, one dominant gradient
// orientation (coherence), a ridge period of about 5.5 to 16 pixels, and about
// as much ink as paper. The period comes for free from the moments: for a
// sinusoid of period P the mean squared central difference is
// 4 sin^2(2 pi / P) times the gray variance, while white noise gives 4 and a
// single edge or stroke far less. Text strokes, pen lines and card lines are
// mostly paper (or mostly ink at a punched hole) and fail the ink balance.
#include "accurate/accurate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace accurate {
namespace {

constexpr int SAMPLE_STEP = 2;       // sample every other pixel of a cell, both ways
constexpr float MIN_CONTRAST = 5.0f; // gray standard deviation of a window, at least
constexpr float NOISE_FACTOR = 2.2f; // and this many times the typical contrast of paper
constexpr float NOISE_SHARE = 0.2f;  // the paper's contrast: this quantile of all cells
constexpr float MIN_RATIO = 0.5f;    // squared difference / variance: periods up to about 17 px
constexpr float MAX_RATIO = 3.1f;    // down to about 5.5 px; white noise gives 4
constexpr float MIN_COHERENCE = 0.3f;
constexpr float MIN_DARK = 0.18f; // (max - mean) / (max - min) of a window
constexpr float MAX_DARK = 0.85f;

// Sums over the samples of a cell or a window. Every sum is a whole number
// that stays below 2^24 (at most 144 samples of at most 255^2), so it is the
// same in any order and exact when turned into float.
struct Sums
{
    int s = 0, ss = 0, gxx = 0, gyy = 0, gxy = 0;
    int n = 0;
    int lo = 255, hi = 0;

    void Add(const Sums& o)
    {
        s += o.s;
        ss += o.ss;
        gxx += o.gxx;
        gyy += o.gyy;
        gxy += o.gxy;
        n += o.n;
        lo = std::min(lo, o.lo);
        hi = std::max(hi, o.hi);
    }
};

// Sums of each cell and its neighbours left and right (within the row), for
// the cw cells of one row.
void AcrossSums(const Sums* row, int cw, Sums* out)
{
    for (int x = 0; x < cw; x++) {
        Sums win = row[x];
        if (x > 0)
            win.Add(row[x - 1]);
        if (x + 1 < cw)
            win.Add(row[x + 1]);
        out[x] = win;
    }
}

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
    const int xEnd = std::min(cw * CELL, w - 1);
    for (int y = 1; y < ch * CELL && y + 1 < h; y += SAMPLE_STEP) {
        const uint8_t* row = image + static_cast<std::size_t>(y) * w;
        const uint8_t* up = row - w;
        const uint8_t* down = row + w;
        Sums* cellRow = &sums[static_cast<std::size_t>(y / CELL) * cw];
        for (int x0 = 0; x0 < xEnd; x0 += CELL) {
            Sums c;
            for (int x = x0 + 1; x < std::min(x0 + CELL, xEnd); x += SAMPLE_STEP) {
                const int p = row[x];
                const int gx = row[x + 1] - row[x - 1];
                const int gy = down[x] - up[x];
                c.s += p;
                c.ss += p * p;
                c.gxx += gx * gx;
                c.gyy += gy * gy;
                c.gxy += gx * gy;
                c.n++;
                c.lo = std::min(c.lo, p);
                c.hi = std::max(c.hi, p);
            }
            cellRow[x0 / CELL].Add(c);
        }
    }

    map.gxx.resize(cells);
    map.gyy.resize(cells);
    map.gxy.resize(cells);
    for (std::size_t i = 0; i < cells; i++) {
        map.gxx[i] = sums[i].gxx;
        map.gyy[i] = sums[i].gyy;
        map.gxy[i] = sums[i].gxy;
    }

    // The 3 x 3 window of every cell: sums across each row once, then
    // three of those rows down.
    std::vector<Sums> across(cells);
    for (int cy = 0; cy < ch; cy++)
        AcrossSums(&sums[static_cast<std::size_t>(cy) * cw], cw, &across[static_cast<std::size_t>(cy) * cw]);
    std::vector<float> ratio(cells, 0.0f), coherence(cells, 0.0f);
    for (int cy = 0; cy < ch; cy++)
        for (int cx = 0; cx < cw; cx++) {
            Sums win;
            for (int y = std::max(cy - 1, 0); y <= std::min(cy + 1, ch - 1); y++)
                win.Add(across[static_cast<std::size_t>(y) * cw + cx]);
            const std::size_t i = static_cast<std::size_t>(cy) * cw + cx;
            if (win.n == 0)
                continue;
            const float n = static_cast<float>(win.n);
            const float gxx = static_cast<float>(win.gxx);
            const float gyy = static_cast<float>(win.gyy);
            const float gxy = static_cast<float>(win.gxy);
            const float mean = static_cast<float>(win.s) / n;
            const float var = std::max(static_cast<float>(win.ss) / n - mean * mean, 0.0f);
            const float energy = gxx + gyy;
            map.contrast[i] = std::sqrt(var);
            ratio[i] = var > 0.0f ? energy / n / var : 0.0f;
            coherence[i] = energy > 0.0f ? std::sqrt((gxx - gyy) * (gxx - gyy) + 4.0f * gxy * gxy) / energy : 0.0f;
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

} // namespace accurate
