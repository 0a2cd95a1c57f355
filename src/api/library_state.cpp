// The per-process block maps: KOVRAL_Init, KOVRAL_Uninit and the hold that a
// running split keeps on them.
#include "api/api.h"
#include "engine/engine.h"

#include <cstddef>
#include <mutex>
#include <new>

bool g_bInit = false;
int g_ImgW = 0;
int g_ImgH = 0;
signed char* g_pDrct = nullptr;
signed char* g_pHoleDrct = nullptr;
std::atomic<int> g_bBusy{0};

namespace {

// KOVRAL_Uninit polls a running split this often, this far apart.
constexpr int UNINIT_POLLS = 100;
constexpr int UNINIT_POLL_MS = 10;

// One allocation of the two maps. A split counts itself as a user while it
// runs; a KOVRAL_Uninit that finds a user retires the maps instead of
// releasing them, and the last user releases them on its way out.
struct MapHold
{
    signed char* drct = nullptr;
    signed char* hole = nullptr;
    int users = 0;
    bool retired = false;
};

// Guards g_bInit, the map pointers, g_ImgW/g_ImgH and the hold. Held only
// for the few instructions that change them, never during a split.
std::mutex g_stateLock;
MapHold* g_hold = nullptr;

void ReleaseHold(MapHold* hold)
{
    delete[] hold->drct;
    delete[] hold->hole;
    delete hold;
}

} // namespace

int KOVRAL_Init(int w, int h)
{
    try {
        std::lock_guard<std::mutex> lock(g_stateLock);
        if (g_bInit)
            return KOVRAL_OK;
        // Sizes of 0 or less would give maps too small for the images that
        // the pixel-count check admits: stay uninitialised.
        if (w <= 0 || h <= 0)
            return KOVRAL_OK;
        // Computed wide, so huge sizes give a true (possibly failing)
        // allocation request rather than a wrapped one.
        const std::size_t n = BlockMapCells(w, h);
        MapHold* hold = new (std::nothrow) MapHold;
        if (hold == nullptr)
            return KOVRAL_OK;
        hold->drct = new (std::nothrow) signed char[n];
        hold->hole = hold->drct ? new (std::nothrow) signed char[n] : nullptr;
        if (hold->hole == nullptr) {
            ReleaseHold(hold);
            return KOVRAL_OK;
        }
        g_hold = hold;
        g_pDrct = hold->drct;
        g_pHoleDrct = hold->hole;
        g_bBusy = 0;
        g_bInit = true;
        g_ImgW = w;
        g_ImgH = h;
    } catch (...) {
    }
    return KOVRAL_OK;
}

void KOVRAL_Uninit(void)
{
    try {
        {
            std::lock_guard<std::mutex> lock(g_stateLock);
            if (!g_bInit)
                return;
        }
        for (int poll = 0; poll < UNINIT_POLLS; poll++) {
            if (g_bBusy.load() == 0)
                break;
            Sleep(UNINIT_POLL_MS);
        }
        std::lock_guard<std::mutex> lock(g_stateLock);
        if (!g_bInit)
            return;
        MapHold* hold = g_hold;
        g_hold = nullptr;
        g_pDrct = nullptr;
        g_pHoleDrct = nullptr;
        g_bBusy = 0;
        g_bInit = false;
        // A split still running after the wait keeps its maps until it returns.
        if (hold->users == 0)
            ReleaseHold(hold);
        else
            hold->retired = true;
    } catch (...) {
    }
}

int SplitBegin(unsigned char* img, int w, int h, int outW, int outH, int* pCount, KOVRAL_INFO_* pInfo,
               SplitMaps& maps)
{
    std::lock_guard<std::mutex> lock(g_stateLock);
    const int rc = CheckSplitRequest(img, w, h, outW, outH, pCount, pInfo);
    if (rc != KOVRAL_OK)
        return rc;
    g_hold->users++;
    maps.drct = g_hold->drct;
    maps.hole = g_hold->hole;
    maps.hold = g_hold;
    g_bBusy = 1;
    return KOVRAL_OK;
}

int SplitEnd(SplitMaps& maps, int result)
{
    std::lock_guard<std::mutex> lock(g_stateLock);
    MapHold* hold = static_cast<MapHold*>(maps.hold);
    hold->users--;
    if (hold->users == 0 && hold->retired)
        ReleaseHold(hold);
    maps = SplitMaps{};
    g_bBusy = 0;
    return result;
}
