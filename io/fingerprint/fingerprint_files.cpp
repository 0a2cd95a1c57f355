// WSQ and transaction files as lists of images.
#include "fingerprint_files.h"
#include "kovral_io.h"

#include <algorithm>

namespace kovral_io {

namespace {

// NIST's own encoder writes this in the comments of 500 ppi images.
constexpr int kBogusCommentPpi = 255;
constexpr int kMinCommentPpi = 100;
constexpr int kMaxCommentPpi = 5000;

bool IsSlap(int position)
{
    return position == kFgpRightFour || position == kFgpLeftFour || position == kFgpBothThumbs;
}

FingerprintFile ReadWsqFile(const uint8_t* data, size_t size, const WsqLimits& limits)
{
    FingerprintFile file;
    file.kind = "WSQ";
    WsqImage wsq;
    if (!DecodeWsq(data, size, wsq, file.reason, limits))
        return file;
    FingerprintImage image;
    image.width = wsq.width;
    image.height = wsq.height;
    image.pixels = std::move(wsq.pixels);
    image.format = "WSQ";
    if (wsq.commentPpi == kBogusCommentPpi)
        image.notes.push_back(
            "the WSQ comment says PPI 255, which NIST's encoder writes for 500 ppi images; ignored");
    else if (wsq.commentPpi >= kMinCommentPpi && wsq.commentPpi <= kMaxCommentPpi) {
        image.ppi = wsq.commentPpi;
        image.ppiSource = "the WSQ comment (NISTCOM PPI)";
    }
    file.images.push_back(std::move(image));
    file.ok = true;
    return file;
}

// The records a selection picks, in file order; a slap held both as Type-4
// and as Type-14 is taken from the Type-14 record, with a warning.
std::vector<const An2kImageRecord*> SelectRecords(const An2kFile& an2k, RecordSelection selection,
                                                  std::vector<std::string>& warnings)
{
    std::vector<const An2kImageRecord*> wanted;
    for (const An2kImageRecord& r : an2k.images) {
        if (selection == RecordSelection::All) {
            wanted.push_back(&r);
            continue;
        }
        if (!IsSlap(r.Position()))
            continue;
        const auto twin = std::find_if(an2k.images.begin(), an2k.images.end(), [&r](const An2kImageRecord& o) {
            return &o != &r && o.Position() == r.Position() && o.type == 14 && r.type != 14;
        });
        if (twin != an2k.images.end())
            warnings.push_back(r.Name() + " holds the same slap as " + twin->Name() + ", which is read instead");
        else
            wanted.push_back(&r);
    }
    return wanted;
}

bool OtherCompression(An2kCompression compression)
{
    return compression == An2kCompression::Png || compression == An2kCompression::Jpeg;
}

} // namespace

std::string FingerprintImage::Name() const
{
    if (record == 0)
        return "";
    std::string s = "record " + std::to_string(record) + " (Type-" + std::to_string(recordType);
    if (idc >= 0)
        s += ", IDC " + std::to_string(idc);
    return s + ")";
}

bool IsFingerprintFile(const uint8_t* data, size_t size)
{
    return LooksLikeWsq(data, size) || LooksLikeAn2k(data, size);
}

FingerprintFile ReadFingerprintFile(const uint8_t* data, size_t size, RecordSelection selection,
                                    const OtherImageDecoder& decodeOther, const WsqLimits& limits, int record)
{
    if (LooksLikeWsq(data, size))
        return ReadWsqFile(data, size, limits);
    FingerprintFile file;
    file.kind = "ANSI/NIST-ITL";
    An2kFile an2k;
    if (!ReadAn2k(data, size, an2k, file.reason))
        return file;
    file.warnings = an2k.warnings;

    const std::vector<const An2kImageRecord*> wanted = SelectRecords(an2k, selection, file.warnings);
    for (const An2kImageRecord* r : wanted) {
        if (record > 0 && r->index != record)
            continue;
        An2kImage pixels;
        std::string error;
        bool decoded = false;
        if (DecodesItself(r->compression))
            decoded = DecodeAn2kImage(data, size, *r, pixels, error, limits);
        else if (OtherCompression(r->compression) && decodeOther) {
            decoded = decodeOther(data + r->dataOffset, r->dataSize, pixels, error);
            if (!decoded)
                error = r->Name() + ": " + error;
            else if (pixels.width != r->statedWidth || pixels.height != r->statedHeight)
                pixels.sizeNote = r->Name() + " says " + std::to_string(r->statedWidth) + " x "
                    + std::to_string(r->statedHeight) + ", its image holds " + std::to_string(pixels.width) + " x "
                    + std::to_string(pixels.height) + "; the image's size is used";
        } else
            error = r->Name() + ": compression " + CompressionName(r->compression) + " is not read";
        if (!decoded) {
            file.refused.push_back(error);
            continue;
        }
        FingerprintImage image;
        image.width = pixels.width;
        image.height = pixels.height;
        image.pixels = std::move(pixels.pixels);
        image.format = "ANSI/NIST Type-" + std::to_string(r->type) + " " + CompressionName(r->compression);
        image.ppi = r->ppi;
        image.ppiSource = r->ppiSource;
        image.position = r->Position();
        image.impression = r->impression;
        image.record = r->index;
        image.recordType = r->type;
        image.idc = r->idc;
        image.missing = r->missing;
        if (!pixels.sizeNote.empty())
            image.notes.push_back(pixels.sizeNote);
        file.images.push_back(std::move(image));
    }
    file.ok = true;
    return file;
}

FingerprintListing ListFingerprintRecords(const uint8_t* data, size_t size, RecordSelection selection,
                                          bool otherDecodable)
{
    FingerprintListing listing;
    if (LooksLikeWsq(data, size)) {
        listing.kind = "WSQ";
        listing.records.push_back({});
        listing.ok = true;
        return listing;
    }
    listing.kind = "ANSI/NIST-ITL";
    An2kFile an2k;
    if (!ReadAn2k(data, size, an2k, listing.reason))
        return listing;
    listing.warnings = an2k.warnings;
    for (const An2kImageRecord* r : SelectRecords(an2k, selection, listing.warnings)) {
        FingerprintRecord entry{r->index, r->type, r->Position(), r->Name(), ""};
        if (!DecodesItself(r->compression) && !(OtherCompression(r->compression) && otherDecodable))
            entry.refusal = r->Name() + ": compression " + CompressionName(r->compression) + " is not read";
        listing.records.push_back(std::move(entry));
    }
    listing.ok = true;
    return listing;
}

bool DecodeWithImageReaders(const uint8_t* data, size_t size, An2kImage& image, std::string& error)
{
    ReadResult result = ReadImage({data, size});
    if (!result.ok) {
        error = result.reason;
        return false;
    }
    image.width = result.image.width;
    image.height = result.image.height;
    image.pixels = std::move(result.image.pixels);
    return true;
}

} // namespace kovral_io
