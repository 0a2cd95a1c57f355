// A splitter's maps and the work memory of its largest split, reserved up
// front.
#include "engine/engine.h"
#include "block_grid.h"

#include <new>

#include "direction/direction.h"
#include "extract/extract.h"
#include "gray/gray.h"
#include "locate/locate.h"

namespace {

// Extra blocks per direction beyond the largest image's block grid.
constexpr int MAP_MARGIN = 4;

} // namespace

std::size_t BlockMapCells(int w, int h)
{
    return static_cast<std::size_t>((w >> BLOCK_SHIFT) + MAP_MARGIN)
        * static_cast<std::size_t>((h >> BLOCK_SHIFT) + MAP_MARGIN);
}

kovral_splitter* NewSplitter(int w, int h)
{
    std::unique_ptr<kovral_splitter> s(new (std::nothrow) kovral_splitter(WorkMemory::KEPT));
    if (!s)
        return nullptr;
    s->maxWidth = w;
    s->maxHeight = h;
    const std::size_t mapCells = BlockMapCells(w, h);
    s->ownDrct.reset(new (std::nothrow) signed char[mapCells]);
    s->ownHole.reset(new (std::nothrow) signed char[mapCells]);
    s->drct = s->ownDrct.get();
    s->hole = s->ownHole.get();
    // Every stage's buffers at the most a split up to w x h asks of them:
    // smaller images ask less, and finger buffers are no larger than the image.
    WorkMemory& m = s->memory;
    const bool reserved = s->drct != nullptr && s->hole != nullptr && ReserveDirectionMemory(m, w, h)
        && ReserveLocateMemory(m, w >> BLOCK_SHIFT, h >> BLOCK_SHIFT) && ReserveCutMemory(m, w, h)
        && ReserveCleaningMemory(m, w, h);
    return reserved ? s.release() : nullptr;
}
