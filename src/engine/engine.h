// The split engine: one split of a slap on a splitter, which owns (or, for
// the legacy entry points, borrows) the block maps and the work memory. The
// driver is a short list of named stages; KOVRAL_DoSplit and kovral_split
// both run it.
#ifndef KOVRAL_ENGINE_H
#define KOVRAL_ENGINE_H

#include <kovral.h>

#include <cstdint>
#include <memory>

#include "work_memory.h"

// Made for images up to maxWidth x maxHeight. A splitter of the new API owns
// maps and keeps work memory reserved for that size, so that its splits
// allocate nothing; the legacy entry points run on one that borrows the maps
// that KOVRAL_Init made and allocates its work memory stage by stage.
struct kovral_splitter
{
    int maxWidth = 0;
    int maxHeight = 0;
    signed char* drct = nullptr; // direction map
    signed char* hole = nullptr; // the locator's labelled working map
    WorkMemory memory;
    std::unique_ptr<signed char[]> ownDrct;
    std::unique_ptr<signed char[]> ownHole;

    explicit kovral_splitter(WorkMemory::Kind kind) : memory(kind) { }
};

// Bytes of each block map for images up to w x h pixels.
std::size_t BlockMapCells(int w, int h);

// Reserves the maps and all work memory of splits up to w x h pixels.
// Returns null when memory runs short.
kovral_splitter* NewSplitter(int w, int h);

// One split: the request (checked by the caller), the working arrays of the
// stages, and where the results go.
struct SplitJob
{
    // The request.
    unsigned char* img = nullptr;
    int w = 0;
    int h16 = 0; // the rows that take part: the height rounded down to whole blocks
    int h = 0;
    int outW = 0;
    int outH = 0;
    int locator = KOVRAL_LOCATOR_EXACT;
    unsigned char* outBufs[KOVRAL_MAX_RECORDS] = {};

    // Where results go: the count as soon as the fingers are located, then
    // either the legacy records or the new API's fingers (and report).
    int* countOut = nullptr;
    KOVRAL_INFO_* records = nullptr;
    kovral_finger* fingers = nullptr;
    kovral_slap_report* report = nullptr;

    // Working arrays, one entry per candidate.
    int count = 0;
    tagRECT boxes[KOVRAL_MAX_RECORDS] = {};
    int angles[KOVRAL_MAX_RECORDS] = {};
    signed char labels[KOVRAL_MAX_RECORDS] = {};
    tagPOINT centres[KOVRAL_MAX_RECORDS] = {};
    std::uint8_t quality[KOVRAL_MAX_RECORDS] = {};
    int confidence[KOVRAL_MAX_FINGERS] = {};
    std::uint32_t flags[KOVRAL_MAX_FINGERS] = {};
    bool reportWritten = false; // the locator wrote the report itself
};

// The stages that depend on the locator: locate writes count (at most four
// fingers, also through countOut), boxes, angles and the fields the cut
// needs; cut writes every finger upright into its buffer and its centre.
// Each returns KOVRAL_OK or the split's result.
struct Locator
{
    int (*locate)(kovral_splitter& s, SplitJob& job);
    int (*cut)(kovral_splitter& s, SplitJob& job);
};

// The accurate locator's stages (accurate_stages.cpp): fingertips from
// accurate::Locate, every finger cut about its fingertip's centre; it writes
// the report itself. Unlike the exact locator it allocates as it goes.
extern const Locator ACCURATE_LOCATOR;

// The locator for a kovral_locator value, or null for an unknown value.
const Locator* FindLocator(int locator);

// Runs the split and writes its results. Returns KOVRAL_OK or KOVRAL_ENOMEM
// (what was written then is as KOVRAL_DoSplit describes it).
int RunSplit(kovral_splitter& s, SplitJob& job);

#endif
