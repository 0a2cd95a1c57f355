// Library state, request checks, the hand turn and the Win32-named shims.
#ifndef KOVRAL_API_INTERNAL_H
#define KOVRAL_API_INTERNAL_H

#include <kovral.h>

#include <atomic>

// Per-process state. The maps hold (g_ImgW / 16 + 4) x (g_ImgH / 16 + 4)
// bytes each while g_bInit is set; a split uses (w / 16) x (h / 16) of them.
extern KOVRAL_API bool g_bInit;
extern KOVRAL_API int g_ImgW;
extern KOVRAL_API int g_ImgH;
extern KOVRAL_API signed char* g_pDrct;
extern KOVRAL_API signed char* g_pHoleDrct;
// 1 while a split runs; KOVRAL_Uninit polls it from another thread.
extern std::atomic<int> g_bBusy;

// 1 when p is null, else 0; size is ignored.
KOVRAL_API int IsBadReadPtr(void* p, unsigned long size);
KOVRAL_API int IsBadWritePtr(void* p, unsigned long size);
// Waits about ms milliseconds (below one second) with select().
KOVRAL_API void Sleep(int ms);

// The maps one split works in, held from SplitBegin to SplitEnd so that a
// concurrent KOVRAL_Uninit cannot release them under it.
struct SplitMaps
{
    signed char* drct;
    signed char* hole;
    void* hold;
};

// The request checks of a split, one per line in their fixed order: image,
// width, height, finger width, finger height, count pointer and width fit,
// height fit, records, pixel count against the initialised size,
// initialised, ten finger buffers. Returns KOVRAL_OK or the first failing
// code. Reads the library state: call it under the state lock (SplitBegin).
int CheckSplitRequest(unsigned char* img, int w, int h, int outW, int outH, int* pCount, KOVRAL_INFO_* pInfo);

// Runs the request checks and, when they pass, takes the maps for one split
// and sets g_bBusy. Returns KOVRAL_OK, or the failing code with nothing taken
// and nothing written.
int SplitBegin(unsigned char* img, int w, int h, int outW, int outH, int* pCount, KOVRAL_INFO_* pInfo,
               SplitMaps& maps);

// Gives the maps back (releasing them if KOVRAL_Uninit gave up waiting on
// this split) and clears g_bBusy, last. Returns result.
int SplitEnd(SplitMaps& maps, int result);

// Turns the centres of in[0..count-1] about the lower-left image corner so
// that their mean angle stands upright; writes x, y and angle of out[0..
// count-1]. count outside 1..10 or a null pointer: nothing. The angle sum is
// taken modulo 2^32, as a 32-bit int.
KOVRAL_API void RoatedFingers(int count, KOVRAL_INFO_* in, KOVRAL_INFO_* out);

// RoatedFingers about the lower-left corner (0, height).
void TurnFingers(int count, const KOVRAL_INFO_* in, KOVRAL_INFO_* out, int height);

// The hand layout of four records that TurnFingers turned: KOVRAL_JUDGE_LEFT,
// KOVRAL_JUDGE_RIGHT or KOVRAL_EINVAL. count 3 finds the rows but judges
// nothing.
int JudgeTurnedFingers(int count, const KOVRAL_INFO_* turned);

#endif
