// The ANSI/NIST-ITL reader on arbitrary bytes, then every image record it
// finds decoded under a limit of one million pixels. Records must lie inside
// the file, and a decoded image must hold its width x height pixels. The
// slaps the tool lists for splitting must be records the reader found.
//
// Input: a transaction file (seeds: fuzz/make_format_seeds.py).
#include "an2k/an2k.h"
#include "fingerprint/fingerprint_files.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kovral_io::An2kFile file;
    std::string error;
    if (!kovral_io::ReadAn2k(data, size, file, error))
        return error.empty() ? (std::abort(), 0) : 0;
    kovral_io::WsqLimits limits;
    limits.maxPixels = 1 << 20;
    for (const auto& record : file.images) {
        if (record.dataOffset > size || record.dataSize > size - record.dataOffset)
            std::abort();
        kovral_io::An2kImage image;
        if (kovral_io::DecodeAn2kImage(data, size, record, image, error, limits)
            && image.pixels.size() != size_t(image.width) * size_t(image.height))
            std::abort();
    }
    const kovral_io::FingerprintListing listing
        = kovral_io::ListFingerprintRecords(data, size, kovral_io::RecordSelection::Slaps, false);
    for (const auto& listed : listing.records)
        if (std::none_of(file.images.begin(), file.images.end(),
                         [&](const kovral_io::An2kImageRecord& r) { return r.index == listed.record; }))
            std::abort();
    return 0;
}
