#include "slap_sources.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

// A transaction file's first tag fits in these bytes.
constexpr size_t kSniffBytes = 16;
// Transaction files are read whole; larger ones are refused.
constexpr uint64_t kMaxFingerprintFileBytes = uint64_t{256} << 20;
// Corner names in the order the library gives them.
constexpr const char* kCornerNames[4] = {"tl", "tr", "bl", "br"};
// Image headers below this state a screen's resolution (72 and 96 are the
// usual defaults of image programs), never a fingerprint scanner's.
constexpr double kLowestScanPpi = 200;

// The first bytes of a regular file, or nothing (the worker reports the problem).
std::vector<uint8_t> FirstBytes(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return {};
    std::vector<uint8_t> bytes(kSniffBytes);
    const ssize_t n = read(fd, bytes.data(), bytes.size());
    close(fd);
    bytes.resize(n > 0 ? size_t(n) : 0);
    return bytes;
}

bool ReadFingerprintSlap(const std::vector<uint8_t>& bytes, const InputFile& input, SlapSource& source,
                         GrayImage& image, std::string& error)
{
    // A record named by the expansion is read whatever the selection; a WSQ file is its one image.
    kovral_io::FingerprintFile file
        = kovral_io::ReadFingerprintFile(bytes.data(), bytes.size(), kovral_io::RecordSelection::All,
                                         kovral_io::DecodeWithImageReaders, {}, input.record);
    if (!file.ok) {
        error = file.reason;
        return false;
    }
    if (file.images.empty()) {
        error = !file.refused.empty() ? file.refused.front()
                                      : "record " + std::to_string(input.record) + " is no fingerprint image record";
        return false;
    }
    kovral_io::FingerprintImage& slap = file.images.front();
    source.fingerprintFile = true;
    source.format = slap.format;
    source.record = slap.record;
    source.recordType = slap.recordType;
    source.idc = slap.idc;
    source.position = slap.position;
    source.impression = slap.impression;
    source.missing = slap.missing;
    source.notes = slap.notes;
    source.notes.insert(source.notes.end(), file.warnings.begin(), file.warnings.end());
    source.statedPpi = slap.ppi;
    source.ppiSource = slap.ppiSource;
    image = {slap.width, slap.height, std::move(slap.pixels)};
    return true;
}

// Hundredths of a pixel, whole numbers without a fraction.
nlohmann::ordered_json Coordinate(double v)
{
    const double r = std::round(v * 100) / 100;
    if (r == std::round(r) && std::fabs(r) < 1e9)
        return int(r);
    return r;
}

nlohmann::ordered_json Point(const kovral_io::SourcePoint& p)
{
    return nlohmann::ordered_json::array({Coordinate(p.x), Coordinate(p.y)});
}

// v to so many decimals (dividing by the power of ten keeps the shortest text).
double Rounded(double v, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::round(v * scale) / scale;
}

const char* HandFrom(kovral_io::FingerPositions::Hand hand)
{
    switch (hand) {
    case kovral_io::FingerPositions::Hand::Record:
        return "record";
    case kovral_io::FingerPositions::Hand::Judgement:
        return "judgement";
    default:
        return "unknown";
    }
}

} // namespace

void ExpandTransactionFiles(std::vector<InputFile>& inputs, kovral_io::RecordSelection selection)
{
    std::set<std::string> taken;
    for (const InputFile& input : inputs)
        taken.insert(input.name);
    std::vector<InputFile> expanded;
    for (InputFile& input : inputs) {
        const std::vector<uint8_t> head
            = input.path.empty() || !input.error.empty() ? std::vector<uint8_t>{} : FirstBytes(input.path);
        if (!kovral_io::LooksLikeAn2k(head.data(), head.size())) {
            expanded.push_back(std::move(input));
            continue;
        }
        std::vector<uint8_t> bytes;
        std::string reason;
        kovral_io::FingerprintListing listing;
        if (kovral_io::ReadFileBytes(input.path, kMaxFingerprintFileBytes, bytes, reason))
            listing = kovral_io::ListFingerprintRecords(bytes.data(), bytes.size(), selection, true);
        else
            listing.reason = reason;
        if (!listing.ok || listing.records.empty()) {
            input.error = !listing.ok ? listing.reason
                : selection == kovral_io::RecordSelection::Slaps
                ? "holds no slap record (finger position 13, 14 or 15; --records all splits every "
                  "image record)"
                : "holds no fingerprint image record";
            if (listing.ok && !listing.warnings.empty())
                input.error += ": " + listing.warnings.front();
            expanded.push_back(std::move(input));
            continue;
        }
        taken.erase(input.name);
        for (const kovral_io::FingerprintRecord& r : listing.records) {
            const std::string stem = input.name + "_r" + std::to_string(r.record);
            std::string name = stem;
            for (int n = 2; taken.count(name); n++)
                name = stem + "-" + std::to_string(n);
            taken.insert(name);
            InputFile entry{input.path, name, ""};
            entry.record = r.record;
            entry.recordName = r.name;
            if (!r.refusal.empty())
                entry.error = r.refusal.substr(r.name.size() + 2); // the label names the record
            expanded.push_back(std::move(entry));
        }
    }
    inputs = std::move(expanded);
}

bool ReadSlap(const InputFile& input, const Options& options, SlapSource& source, GrayImage& image,
              std::string& error)
{
    std::vector<uint8_t> bytes;
    if (!kovral_io::ReadFileBytes(input.path, kMaxFingerprintFileBytes, bytes, error))
        return false;
    if (kovral_io::LooksLikeAn2k(bytes.data(), bytes.size()) && input.record == 0) {
        error = "an ANSI/NIST-ITL transaction file: name it to kovral-split, which splits its records one by one";
        return false;
    }
    if (kovral_io::IsFingerprintFile(bytes.data(), bytes.size()))
        return ReadFingerprintSlap(bytes, input, source, image, error);

    kovral_io::ReadResult result = kovral_io::ReadImage(bytes, ImageReadOptions(options));
    if (!result.ok) {
        error = result.reason;
        if (result.format.empty() && !options.rawSize && error.starts_with("not a ") && error.ends_with(" image"))
            error += " (raw files need --size WxH)";
        return false;
    }
    NoteImageSource(result, source);
    image = std::move(result.image);
    return true;
}

kovral_io::ReadOptions ImageReadOptions(const Options& options)
{
    // Any size is read: the split's limits are applied after resampling.
    kovral_io::ReadOptions read;
    read.rawSize = options.rawSize;
    return read;
}

void NoteImageSource(const kovral_io::ReadResult& result, SlapSource& source)
{
    source.format = result.format;
    if (result.ppi >= kLowestScanPpi) {
        source.statedPpi = result.ppi;
        source.ppiSource = "the " + result.format + " header";
    } else if (result.ppi > 0) {
        char text[160];
        std::snprintf(text, sizeof text, "the %s header states %.0f ppi, a screen's resolution: taken as not stated",
                      result.format.c_str(), result.ppi);
        source.notes.push_back(text);
    }
}

bool PrepareSlap(const GrayImage& image, const SlapSource& source, const Options& options,
                 kovral_io::SplitPreparation& prepared, std::string& error)
{
    const kovral_io::PpiMode mode = options.ppiAuto ? kovral_io::PpiMode::Auto
        : options.ppi > 0                           ? kovral_io::PpiMode::Given
                                                    : kovral_io::PpiMode::Stated;
    kovral_io::SplitLimits limits;
    limits.minWidth = KOVRAL_MIN_WIDTH;
    limits.minHeight = KOVRAL_MIN_HEIGHT;
    limits.maxWidth = KOVRAL_MAX_WIDTH;
    limits.maxHeight = KOVRAL_MAX_HEIGHT;
    prepared = kovral_io::PrepareForSplit(image.pixels.data(), image.width, image.height, source.statedPpi, mode,
                                          options.ppi,
                                          options.fitScale ? kovral_io::FitMode::Scale : kovral_io::FitMode::Refuse,
                                          limits, kovral_io::PixelCopy::WhenChanged);
    if (!prepared.ok)
        error = prepared.reason;
    return prepared.ok;
}

void PlaceFingers(SlapPlacement& placement, const KOVRAL_INFO_* fingers, int count, int fingerWidth, int fingerHeight,
                  int judgement)
{
    int judged = kovral_io::kNotJudged;
    if (count == 4 && judgement == KOVRAL_JUDGE_LEFT)
        judged = kovral_io::kJudgedRight;
    else if (count == 4 && judgement == KOVRAL_JUDGE_RIGHT)
        judged = kovral_io::kJudgedLeft;
    placement.positions
        = kovral_io::AssignFingerPositions(placement.source.position, count, judged, placement.source.missing);
    const kovral_io::SplitPreparation& p = placement.prepared;
    placement.fingers.assign(size_t(std::max(0, count)), {});
    for (int i = 0; i < count; i++) {
        SlapPlacement::Finger& f = placement.fingers[size_t(i)];
        f.x = int(std::lround(p.SourceX(fingers[i].x)));
        f.y = int(std::lround(p.SourceY(fingers[i].y)));
        f.boxed = kovral_io::FingerBoxInSource(p, fingerWidth, fingerHeight, fingers[i].x, fingers[i].y,
                                               fingers[i].angle, f.corners);
    }
}

int FileFingerPosition(const SlapPlacement& placement, int i)
{
    if (!placement.source.fingerprintFile || i >= int(placement.positions.codes.size()))
        return -1;
    return placement.positions.codes[size_t(i)];
}

void PutFingerPlacement(nlohmann::ordered_json& finger, const SlapPlacement& placement, int i)
{
    if (i >= int(placement.fingers.size()))
        return;
    const SlapPlacement::Finger& f = placement.fingers[size_t(i)];
    finger["x"] = f.x;
    finger["y"] = f.y;
    finger["fgp"] = i < int(placement.positions.codes.size()) ? placement.positions.codes[size_t(i)] : 0;
    if (!f.boxed)
        return;
    nlohmann::ordered_json box;
    for (int c = 0; c < 4; c++)
        box[kCornerNames[c]] = Point(f.corners[c]);
    finger["box"] = box;
}

void PutSlapPlacement(nlohmann::ordered_json& json, const SlapPlacement& placement)
{
    const SlapSource& s = placement.source;
    const kovral_io::SplitPreparation& p = placement.prepared;
    nlohmann::ordered_json source{{"format", s.format}};
    if (s.record > 0) {
        source["record"] = s.record;
        source["record_type"] = s.recordType;
        if (s.idc >= 0)
            source["idc"] = s.idc;
    }
    if (s.fingerprintFile)
        source["finger_position"] = s.position;
    if (s.impression >= 0)
        source["impression"] = s.impression;
    if (!s.notes.empty())
        source["notes"] = s.notes;
    json["source"] = source;

    nlohmann::ordered_json ppi;
    ppi["stated"] = s.statedPpi > 0 ? nlohmann::ordered_json(Rounded(s.statedPpi, 2)) : nullptr;
    if (s.statedPpi > 0)
        ppi["stated_in"] = s.ppiSource;
    ppi["measured"] = p.measured.ok ? nlohmann::ordered_json(Rounded(p.measured.ppi, 0)) : nullptr;
    ppi["used"] = Rounded(p.ppi, 2);
    ppi["used_from"] = p.ppiFrom;
    ppi["scale"] = Rounded(p.scaleX, 4);
    ppi["split_width"] = p.width;
    ppi["split_height"] = p.height;
    if (p.fitted)
        ppi["fitted"] = true;
    if (!p.warnings.empty())
        ppi["warnings"] = p.warnings;
    json["resolution"] = ppi;
    if (p.Cropped())
        json["crop"] = {{"left", p.cropLeft},
                        {"top", p.cropTop},
                        {"right", p.cropRight},
                        {"bottom", p.cropBottom},
                        {"note",
                         "the image was over the split's limit of " + std::to_string(KOVRAL_MAX_WIDTH) + " x "
                             + std::to_string(KOVRAL_MAX_HEIGHT)
                             + " pixels by a little; the excess was cut equally from both sides"}};

    const kovral_io::FingerPositions& f = placement.positions;
    json["fgp_from"] = HandFrom(f.handFrom);
    if (!f.reason.empty())
        json["fgp_reason"] = f.reason;
    json["hand_mismatch"] = f.handMismatch;
    nlohmann::ordered_json skipped = nlohmann::ordered_json::array();
    for (const kovral_io::An2kMissingFinger& m : f.skipped)
        skipped.push_back({{"fgp", m.position}, {"reason", m.amputated ? "amputated" : "unable to print"}});
    if (!skipped.empty())
        json["skipped"] = skipped;
}

} // namespace kovral_tool
