// ANSI/NIST-ITL transaction files (.an2, .eft, .nist) in the traditional
// encoding: the Type-1 record and its content list, tagged-field records
// (read or skipped), and the binary fingerprint records of Types 3 to 8.
// Finds the fingerprint image records with their finger positions and
// resolution, and decodes their pixels when they are uncompressed or WSQ;
// PNG and JPEG data are left to the image readers.
//
// Files lie: lengths beyond the end, content lists that miss or misname
// records, sizes that disagree with the image inside. Reading never trusts a
// length before checking it against what is there; records that cannot be
// read end the walk with a warning, and the records read before them stay.
#ifndef KOVRAL_IO_AN2K_H
#define KOVRAL_IO_AN2K_H

#include "wsq/wsq.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kovral_io {

// Finger positions (FGP) that name a slap of several fingers.
constexpr int kFgpRightFour = 13;
constexpr int kFgpLeftFour = 14;
constexpr int kFgpBothThumbs = 15;
constexpr int kFgpUnknown = 0;

enum class An2kCompression
{
    None,
    Wsq,
    Jpeg,             // baseline (JPEGB)
    JpegLossless,     // JPEGL
    Jpeg2000,         // JP2
    Jpeg2000Lossless, // JP2L
    Png,
    Unknown
};

// "NONE", "WSQ20", "JPEGB", "JPEGL", "JP2", "JP2L", "PNG" or "unknown".
const char* CompressionName(An2kCompression compression);

// A finger the record says is missing (Type-14 field 14.018).
struct An2kMissingFinger
{
    int position = 0;
    bool amputated = false; // "XX"; otherwise "UP", unable to print
};

// One fingerprint image record: Types 3-6 (binary), 13, 14 and 15 (tagged).
struct An2kImageRecord
{
    int index = 0; // position in the file, counted from 1 (the Type-1 record)
    int type = 0;
    int idc = -1;
    int impression = -1;        // IMP, -1 when absent
    std::vector<int> positions; // FGP, most probable first; unused binary bytes (255) dropped
    int statedWidth = 0;        // HLL and VLL as the record gives them
    int statedHeight = 0;
    int bitsPerPixel = 8; // 1 for Types 5 and 6
    An2kCompression compression = An2kCompression::Unknown;
    std::string compressionText; // as written (tagged) or the code number (binary)
    double ppi = 0;              // stated resolution, 0 when the file gives none
    std::string ppiSource;       // where ppi came from, e.g. "14.008-14.010 (SLC 1)"
    std::vector<An2kMissingFinger> missing;
    size_t dataOffset = 0; // the image data, within the file
    size_t dataSize = 0;

    // The record's primary finger position, kFgpUnknown when none.
    int Position() const { return positions.empty() ? kFgpUnknown : positions.front(); }
    // "record 3 (Type-14, IDC 1)", as messages name it.
    std::string Name() const;
};

struct An2kFile
{
    std::string version;         // 1.002, e.g. "0500"
    double nativePpmm = 0;       // 1.011 NSR, pixels per millimetre; 0 when absent
    double transmittingPpmm = 0; // 1.012 NTR
    int records = 0;             // records walked, the Type-1 record included
    std::vector<An2kImageRecord> images;
    std::vector<std::string> warnings; // what was wrong but could be read past
};

// True when the bytes start like a transaction file ("1.001:" or "1.01:" ...).
bool LooksLikeAn2k(const uint8_t* data, size_t size);

// Walks the records of a file. Fails (error set) only when the Type-1 record
// cannot be read; later damage ends the walk with a warning.
bool ReadAn2k(const uint8_t* data, size_t size, An2kFile& file, std::string& error);

struct An2kImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // 8-bit gray, rows top to bottom, 0 black
    // Set when the image inside disagrees with the record's HLL x VLL; the
    // image's own size is used.
    std::string sizeNote;
};

// True for the compressions DecodeAn2kImage decodes itself (NONE and WSQ).
bool DecodesItself(An2kCompression compression);

// Decodes the pixels of an uncompressed or WSQ record of a file read by
// ReadAn2k (data is the whole file). Other compressions are refused with the
// record named; PNG and JPEG data are for the image readers.
bool DecodeAn2kImage(const uint8_t* data, size_t size, const An2kImageRecord& record, An2kImage& image,
                     std::string& error, const WsqLimits& limits = {});

// A finger image to write into a transaction: 8-bit gray at 500 ppi.
struct An2kFingerImage
{
    int width = 0, height = 0;
    std::vector<uint8_t> pixels; // rows top to bottom, 0 black
    int position = kFgpUnknown;  // 1..10, 0 unknown
    int impression = 0;          // IMP: 0 live-scan plain, 2 non-live plain
    std::string comment;         // 14.020 COM, e.g. where the finger was cut from
};

// IDCs are two digits.
constexpr int kMaxWrittenRecords = 99;

// A new transaction of the 2011 edition: a Type-1 record (TOT "SEG", date
// YYYYMMDD, agency as DAI, ORI and in TCN) and one Type-14 record per finger
// image, uncompressed, in the given order, IDC 1, 2, ...; ReadAn2k reads it
// back as it was given. False with error when there are more than
// kMaxWrittenRecords fingers or an image is malformed.
bool WriteAn2kFingers(const std::vector<An2kFingerImage>& fingers, const std::string& date, const std::string& agency,
                      std::vector<uint8_t>& file, std::string& error);

// NIST finger positions of the fingers a split found in a slap.
struct FingerPositions
{
    std::vector<int> codes; // per finger, left to right in the image; 0 = unknown
    enum class Hand
    {
        Record,    // from the record's finger position (13, 14, 15)
        Judgement, // from the hand judgement of a four-finger result
        Unknown
    } handFrom
        = Hand::Unknown;
    std::string reason;        // why the codes are 0, when they are
    bool handMismatch = false; // the record's hand and the judgement disagree
    // Positions of the slap the record lists as missing, left out of codes.
    std::vector<An2kMissingFinger> skipped;
};

// The judged hand, as the splitter reports it.
constexpr int kJudgedLeft = 0;
constexpr int kJudgedRight = 1;
constexpr int kNotJudged = -1;

// Finger positions for `found` fingers of a slap, left to right: right four
// 2, 3, 4, 5; left four 10, 9, 8, 7; thumbs 6, 1. The slap comes from the
// record's position (13, 14, 15), else from the judged hand of a four-finger
// result; one finger found in a single finger's record gets its position. Positions listed as missing are skipped
// first; when the count still differs from what was found, every code is 0 and reason says why.
FingerPositions AssignFingerPositions(int slapPosition, int found, int judgedHand,
                                      const std::vector<An2kMissingFinger>& missing = {});

} // namespace kovral_io

#endif
