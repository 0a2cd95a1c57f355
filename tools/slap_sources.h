// Where a slap comes from and where its fingers go back to: slaps read out of
// image files and fingerprint files (WSQ, ANSI/NIST-ITL transactions, one slap
// per image record), readied at 500 ppi within the split's limits, and the
// fingers found placed back in the original image with their NIST finger
// positions and the corners of the region each was cut from.
#ifndef KOVRAL_TOOLS_SLAP_SOURCES_H
#define KOVRAL_TOOLS_SLAP_SOURCES_H

#include "cli_options.h"
#include "image_decoding.h"
#include "input_files.h"

#include <fingerprint/fingerprint_files.h>
#include <kovral.h>
#include <nlohmann/json.hpp>
#include <resolution/resolution.h>

#include <string>
#include <vector>

namespace kovral_tool {

// What the file says about a slap besides its pixels.
struct SlapSource
{
    bool fingerprintFile = false; // read from a WSQ or transaction file
    std::string format;           // e.g. "ANSI/NIST Type-14 WSQ20", "WSQ", "PNG"
    int record = 0;               // record number in a transaction file, 0 otherwise
    int recordType = 0;
    int idc = -1;
    int position = kovral_io::kFgpUnknown; // the record's finger position
    int impression = -1;                   // the record's impression type, -1 when none
    std::vector<kovral_io::An2kMissingFinger> missing;
    std::vector<std::string> notes; // e.g. the record's size disagreeing with its image's
    double statedPpi = 0;           // 0: the file states none
    std::string ppiSource;
};

// Replaces each transaction file among inputs (recognised by content) by one
// input per image record that selection picks, named STEM_rN after the
// record's number N in the file (names already taken get "-2", "-3", ...). A
// file without such records, or that cannot be read, stays one input with its
// error; records that will not be decoded become inputs with their reason.
void ExpandTransactionFiles(std::vector<InputFile>& inputs, kovral_io::RecordSelection selection);

// Reads the slap of input: an image file, a WSQ file, or the record
// input.record of a transaction file. Sizes are not checked here.
bool ReadSlap(const InputFile& input, const Options& options, SlapSource& source, GrayImage& image,
              std::string& error);

// How ReadSlap reads image files, and what it notes of one read.
kovral_io::ReadOptions ImageReadOptions(const Options& options);
void NoteImageSource(const kovral_io::ReadResult& result, SlapSource& source);

// The slap at 500 ppi within the split's limits, as options ask (see
// kovral_io::PrepareForSplit); false with error naming the limit. The
// prepared pixels stay empty when the slap needs no change: split image then.
bool PrepareSlap(const GrayImage& image, const SlapSource& source, const Options& options,
                 kovral_io::SplitPreparation& prepared, std::string& error);

// The fingers of a split placed back in the original image.
struct SlapPlacement
{
    SlapSource source;
    kovral_io::SplitPreparation prepared; // pixels dropped once split
    kovral_io::FingerPositions positions;
    struct Finger
    {
        int x = 0, y = 0; // centre in original pixels, rounded
        bool boxed = false;
        kovral_io::SourcePoint corners[4]; // tl, tr, bl, br in original pixels
    };
    std::vector<Finger> fingers;
};

// Positions and boxes of count fingers found in prepared; judgement is the
// hand judgement of four fingers (KOVRAL_JUDGE_LEFT: a right hand), else
// anything else.
void PlaceFingers(SlapPlacement& placement, const KOVRAL_INFO_* fingers, int count, int fingerWidth, int fingerHeight,
                  int judgement);

// The finger position code that finger i's file name carries, or -1 when the
// name carries none (slaps of plain image files keep their plain names).
int FileFingerPosition(const SlapPlacement& placement, int i);

// Adds finger i's "fgp" and "box" and replaces its "x" and "y" with original pixels.
void PutFingerPlacement(nlohmann::ordered_json& finger, const SlapPlacement& placement, int i);

// Adds the slap's "source", "resolution", "crop", "fgp_from", "fgp_reason",
// "hand_mismatch" (the record's hand and the judgement disagree) and
// "skipped" fields.
void PutSlapPlacement(nlohmann::ordered_json& json, const SlapPlacement& placement);

} // namespace kovral_tool

#endif
