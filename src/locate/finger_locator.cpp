// Finger candidates on the direction map: label, repair, measure, turn the
// map upright on average, drop and order the regions, emit up to ten.
#include "locate/locate.h"
#include "block_grid.h"
#include "geometry/geometry.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr int MAX_SLOTS = 40;
constexpr int MAX_CANDIDATES = 10;
// Regions whose angles make the common turn.
constexpr int MEAN_REGIONS = 4;
// A region taller than this many pixels is cut.
constexpr int LONG_REGION_PIXELS = 600;
// A region must be wider than this many pixels to become a candidate.
constexpr int NARROW_REGION_PIXELS = 159;
// Regions whose turned tops differ by more than this many blocks: the lower one goes.
constexpr int MAX_TOP_SPREAD = 62;

struct Slot
{
    signed char label;
    int angle;
    tagRECT box;    // working map blocks, inclusive
    tagRECT turned; // turned map blocks, inclusive
};

// A dropped slot keeps its place with left = right = 0 in both boxes.
void Drop(Slot& slot)
{
    slot.box.left = slot.box.right = 0;
    slot.turned.left = slot.turned.right = 0;
}

// Slots lying wholly below an earlier slot whose columns they share.
void DropStacked(Slot* slots, int n)
{
    for (int p = 0; p + 1 < n; p++) {
        const tagRECT& upper = slots[p].turned;
        if (upper.right <= upper.left)
            continue;
        for (int j = p + 1; j < n; j++) {
            const tagRECT& lower = slots[j].turned;
            if (upper.right > 0 && lower.right > 0 && lower.top >= upper.bottom
                && std::min(upper.right, lower.right) > std::max(upper.left, lower.left))
                Drop(slots[j]);
        }
    }
}

// The lower of two slots whose tops lie too far apart. A dropped p goes on
// comparing with its unchanged top.
void DropFarBelow(Slot* slots, int n)
{
    for (int p = 0; p < n; p++) {
        if (slots[p].turned.right == 0)
            continue;
        for (int j = p + 1; j < n; j++) {
            if (slots[j].turned.right == 0)
                continue;
            const int topP = slots[p].turned.top;
            const int topJ = slots[j].turned.top;
            if (std::abs(topP - topJ) <= MAX_TOP_SPREAD)
                continue;
            Drop(topP > topJ ? slots[p] : slots[j]);
        }
    }
}

// Exchange sort by turned left; equal values keep their order.
void OrderByTurnedLeft(Slot* slots, int n)
{
    for (int i = 0; i + 1 < n; i++)
        for (int j = i + 1; j < n; j++)
            if (slots[j].turned.left < slots[i].turned.left)
                std::swap(slots[i], slots[j]);
}

} // namespace

bool ReserveLocateMemory(WorkMemory& memory, int bw, int bh)
{
    return memory.Reserve(WorkBuffer::CentredMap, static_cast<std::size_t>(bw) * static_cast<std::size_t>(bh))
        && memory.Reserve(WorkBuffer::TurnedMap, TurnedMapCells(bw, bh));
}

int FindFpPos(signed char* map, int bw, int bh, signed char* work, tagRECT* boxes, int* angles, signed char* labels)
{
    WorkMemory memory(WorkMemory::ONE_OFF);
    return LocateFingers(map, bw, bh, work, boxes, angles, labels, memory);
}

int LocateFingers(signed char* map, int bw, int bh, signed char* work, tagRECT* boxes, int* angles,
                  signed char* labels, WorkMemory& memory)
{
    if (bw <= 0 || bh <= 0)
        return 0;
    const std::size_t cells = static_cast<std::size_t>(bw) * static_cast<std::size_t>(bh);
    std::memcpy(work, map, cells);

    // Label and repair; the single-cell fill runs even when nothing was labelled.
    const int count = SetHole(work, bw, bh);
    FillSingleBlank(work, bw, bh);
    if (count == 0)
        return 0;
    assert(count <= LAST_LABEL - FIRST_LABEL + 1);
    const int lastLabel = FIRST_LABEL + count - 1;
    for (int label = FIRST_LABEL; label <= lastLabel; label++)
        CloseFpNotch(work, map, bw, bh, static_cast<signed char>(label));

    // Measure. Slots start zeroed; a label whose box has right <= left leaves
    // its slot, box as measured, to the next label.
    Slot slots[MAX_SLOTS] = {};
    int n = 0;
    for (int label = FIRST_LABEL; label <= lastLabel && n < MAX_SLOTS; label++) {
        Slot& slot = slots[n];
        const signed char l = static_cast<signed char>(label);
        const int angle = MeasureRegion(work, bw, bh, l, &slot.box, true, memory);
        if (slot.box.right <= slot.box.left)
            continue;
        if ((slot.box.bottom - slot.box.top) * BLOCK_SIZE > LONG_REGION_PIXELS) {
            // The cut region keeps the angle measured before the cut.
            CutLongFpDrct(work, bw, bh, l, slot.box);
            MeasureRegion(work, bw, bh, l, &slot.box, false, memory);
        }
        slot.label = l;
        slot.angle = angle;
        n++;
    }
    if (n == 0)
        return 0;

    // Common turn from the first regions in label order, before any drop.
    const int m = std::min(n, MEAN_REGIONS);
    int sum = 0;
    for (int i = 0; i < m; i++)
        sum += slots[i].angle;
    const int theta = sum / m - UPRIGHT;

    int ow = 0;
    int oh = 0;
    GetRoatedDrctSize(bw, bh, theta, ow, oh);
    const std::size_t turnedCells = static_cast<std::size_t>(ow) * static_cast<std::size_t>(oh);
    {
        WorkLease<signed char> turnedMap(memory, WorkBuffer::TurnedMap, turnedCells);
        if (!turnedMap)
            return 0;
        RoatedHoleDrct(work, bw, bh, theta, turnedMap.get(), ow, oh);
        for (int i = 0; i < n; i++)
            MeasureRegion(turnedMap.get(), ow, oh, slots[i].label, &slots[i].turned, false, memory);
    }

    DropStacked(slots, n);
    DropFarBelow(slots, n);
    // Dropped slots (left 0) sort first; they fail the width test below.
    OrderByTurnedLeft(slots, n);

    int emitted = 0;
    for (int i = 0; i < n && emitted < MAX_CANDIDATES; i++) {
        const tagRECT& box = slots[i].box;
        if (box.right <= 0 || (box.right - box.left) * BLOCK_SIZE <= NARROW_REGION_PIXELS)
            continue;
        boxes[emitted].left = BLOCK_SIZE * box.left;
        boxes[emitted].top = BLOCK_SIZE * box.top;
        boxes[emitted].right = BLOCK_SIZE * (box.right + 1);
        boxes[emitted].bottom = BLOCK_SIZE * (box.bottom + 1);
        angles[emitted] = slots[i].angle;
        labels[emitted] = slots[i].label;
        emitted++;
    }
    return emitted;
}
