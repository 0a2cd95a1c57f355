// Fingerprint files as lists of images to split: a WSQ file gives its image,
// an ANSI/NIST-ITL transaction file its image records, each with the finger
// position, resolution and missing fingers the file states. This is the entry
// point of the tool and of the Python package (kovral.read) for these files.
//
// Usage:
//   FingerprintFile f = ReadFingerprintFile(bytes, size, RecordSelection::Slaps, decodeOther);
//   if (!f.ok) report f.reason;
//   for (const FingerprintImage& image : f.images) ... image.position, image.ppi ...
//   f.refused lists image records that were found but not decoded, with why.
#ifndef KOVRAL_IO_FINGERPRINT_FILES_H
#define KOVRAL_IO_FINGERPRINT_FILES_H

#include "an2k/an2k.h"
#include "wsq/wsq.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kovral_io {

struct FingerprintImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // 8-bit gray, rows top to bottom, 0 black
    std::string format;          // "WSQ", or e.g. "ANSI/NIST Type-14 WSQ20"
    double ppi = 0;              // stated resolution; 0 when the file states none
    std::string ppiSource;       // which field stated it
    int position = kFgpUnknown;  // NIST finger position of the record (13, 14, 15 for slaps)
    int impression = -1;         // IMP of the record, -1 when none
    int record = 0;              // record number in a transaction file (1 = Type-1), 0 for a WSQ file
    int recordType = 0;
    int idc = -1;
    std::vector<An2kMissingFinger> missing; // fingers the record lists as amputated or unable to print
    std::vector<std::string> notes;         // e.g. the record's size disagreeing with the image's
    // "record 3 (Type-14, IDC 1)", or "" for a WSQ file.
    std::string Name() const;
};

struct FingerprintFile
{
    bool ok = false;
    std::string reason; // when !ok: why nothing could be read
    std::string kind;   // "WSQ" or "ANSI/NIST-ITL"
    std::vector<FingerprintImage> images;
    std::vector<std::string> refused;  // image records found but not decoded, each with why
    std::vector<std::string> warnings; // damage read past, records not wanted
};

enum class RecordSelection
{
    Slaps, // records of finger positions 13, 14, 15; of a slap held twice, the Type-14 record
    All    // every fingerprint image record
};

// Decodes image data the layer does not decode itself (PNG, JPEG records):
// the tool and the Python package pass their image reader. Returns false
// with error set to refuse. May be empty: such records are then refused.
using OtherImageDecoder = std::function<bool(const uint8_t* data, size_t size, An2kImage& image, std::string& error)>;

// The OtherImageDecoder of the tool and the Python package: kovral_io's
// image readers (ReadImage with its default limits).
bool DecodeWithImageReaders(const uint8_t* data, size_t size, An2kImage& image, std::string& error);

// True when the bytes are a file ReadFingerprintFile reads (by content).
bool IsFingerprintFile(const uint8_t* data, size_t size);

// record: only the image record of this number (FingerprintImage::record) is
// decoded, whatever selection says; 0 decodes every selected record.
FingerprintFile ReadFingerprintFile(const uint8_t* data, size_t size, RecordSelection selection,
                                    const OtherImageDecoder& decodeOther = {}, const WsqLimits& limits = {},
                                    int record = 0);

// An image record a file holds, found without decoding it.
struct FingerprintRecord
{
    int record = 0; // as FingerprintImage::record; 0 for a WSQ file
    int recordType = 0;
    int position = kFgpUnknown;
    std::string name;    // "record 3 (Type-14, IDC 1)", "" for a WSQ file
    std::string refusal; // set when the record will not be decoded, with why
};

struct FingerprintListing
{
    bool ok = false;
    std::string reason;
    std::string kind;
    std::vector<FingerprintRecord> records; // in file order, as the selection picks them
    std::vector<std::string> warnings;
};

// The records ReadFingerprintFile would decode, without decoding them: for
// splitting each on its own. otherDecodable: PNG and JPEG records are
// decodable (a decoder will be passed); otherwise they are refused.
FingerprintListing ListFingerprintRecords(const uint8_t* data, size_t size, RecordSelection selection,
                                          bool otherDecodable);

} // namespace kovral_io

#endif
