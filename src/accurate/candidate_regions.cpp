// Candidate regions: the ridge cells cleaned by majority votes (closing pores,
// whorl centres and ink breaks), an opening (cutting pen strokes, card lines
// and thin bridges between prints), then 8-connected pieces.
#include "accurate/accurate.h"

#include <cstddef>

namespace accurate {
namespace {

constexpr int MAJORITY = 5; // of the 3 x 3 neighbourhood, the cell included
constexpr int MAJORITY_ROUNDS = 2;
constexpr int MIN_REGION_CELLS = 40; // smaller pieces are dropped at once

// One 3 x 3 vote over the whole map: a cell is set when at least `need`
// cells of its neighbourhood are (cells outside the map count as unset).
void Vote(std::vector<uint8_t>& m, int cw, int ch, int need, std::vector<uint8_t>& tmp)
{
    tmp.assign(m.size(), 0);
    for (int y = 0; y < ch; y++)
        for (int x = 0; x < cw; x++) {
            int n = 0;
            for (int dy = -1; dy <= 1; dy++) {
                const int yy = y + dy;
                if (yy < 0 || yy >= ch)
                    continue;
                for (int dx = -1; dx <= 1; dx++) {
                    const int xx = x + dx;
                    if (xx >= 0 && xx < cw)
                        n += m[static_cast<std::size_t>(yy) * cw + xx];
                }
            }
            tmp[static_cast<std::size_t>(y) * cw + x] = n >= need;
        }
    m.swap(tmp);
}

// Erosion keeps a cell whose whole neighbourhood inside the map is set; the
// image border does not erode, so fingers cut by it keep their edge.
void Erode(std::vector<uint8_t>& m, int cw, int ch, std::vector<uint8_t>& tmp)
{
    tmp.assign(m.size(), 0);
    for (int y = 0; y < ch; y++)
        for (int x = 0; x < cw; x++) {
            bool all = m[static_cast<std::size_t>(y) * cw + x] != 0;
            for (int dy = -1; dy <= 1 && all; dy++)
                for (int dx = -1; dx <= 1 && all; dx++) {
                    const int yy = y + dy, xx = x + dx;
                    if (yy >= 0 && yy < ch && xx >= 0 && xx < cw)
                        all = m[static_cast<std::size_t>(yy) * cw + xx] != 0;
                }
            tmp[static_cast<std::size_t>(y) * cw + x] = all;
        }
    m.swap(tmp);
}

} // namespace

std::vector<Region> CandidateRegions(CellMap& map)
{
    const int cw = map.cw, ch = map.ch;
    std::vector<uint8_t>& m = map.ridge;
    std::vector<uint8_t> tmp;
    for (int r = 0; r < MAJORITY_ROUNDS; r++)
        Vote(m, cw, ch, MAJORITY, tmp);
    Erode(m, cw, ch, tmp);
    Vote(m, cw, ch, 1, tmp); // dilation

    std::vector<Region> regions;
    std::vector<int> label(m.size(), -1);
    std::vector<int> stack;
    for (std::size_t start = 0; start < m.size(); start++) {
        if (!m[start] || label[start] >= 0)
            continue;
        Region r;
        const int id = static_cast<int>(regions.size());
        label[start] = id;
        stack.assign(1, static_cast<int>(start));
        while (!stack.empty()) {
            const int i = stack.back();
            stack.pop_back();
            r.cells.push_back(i);
            const int x = i % cw, y = i / cw;
            for (int dy = -1; dy <= 1; dy++)
                for (int dx = -1; dx <= 1; dx++) {
                    const int xx = x + dx, yy = y + dy;
                    if (xx < 0 || xx >= cw || yy < 0 || yy >= ch)
                        continue;
                    const int j = yy * cw + xx;
                    if (m[static_cast<std::size_t>(j)] && label[static_cast<std::size_t>(j)] < 0) {
                        label[static_cast<std::size_t>(j)] = id;
                        stack.push_back(j);
                    }
                }
        }
        if (static_cast<int>(r.cells.size()) >= MIN_REGION_CELLS)
            regions.push_back(std::move(r));
        else
            for (int i : r.cells)
                label[static_cast<std::size_t>(i)] = -2; // visited, dropped; ids stay dense
    }
    return regions;
}

} // namespace accurate
