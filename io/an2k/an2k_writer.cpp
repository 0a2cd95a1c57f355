// Writing finger images as a transaction: a Type-1 record and one Type-14
// record per finger, uncompressed.
#include "an2k.h"

#include <cstdio>

namespace kovral_io {

namespace {

constexpr char kFs = 0x1c;
constexpr char kGs = 0x1d;
constexpr char kRs = 0x1e;
constexpr char kUs = 0x1f;
// The 2011 edition.
constexpr const char* kVersion = "0500";
// Finger images are written at the split's resolution.
constexpr int kFingerPpi = 500;

// A tagged record of fields (number, value) in increasing order; LEN counts
// itself, so it is formatted until its digit count settles.
std::string Tagged(int type, const std::vector<std::pair<int, std::string>>& fields)
{
    const auto text = [&](size_t length) {
        std::string s = std::to_string(type) + ".001:" + std::to_string(length);
        for (const auto& [n, v] : fields) {
            char tag[16];
            std::snprintf(tag, sizeof tag, "%c%d.%03d:", kGs, type, n);
            s += tag + v;
        }
        return s + kFs;
    };
    size_t length = text(0).size();
    while (text(length).size() != length)
        length = text(length).size();
    return text(length);
}

// Text fields may not hold the separators.
std::string Clean(std::string text)
{
    for (char& c : text)
        if (c == kFs || c == kGs || c == kRs || c == kUs)
            c = ' ';
    return text;
}

} // namespace

bool WriteAn2kFingers(const std::vector<An2kFingerImage>& fingers, const std::string& date, const std::string& agency,
                      std::vector<uint8_t>& file, std::string& error)
{
    if (fingers.size() > size_t(kMaxWrittenRecords)) {
        error = std::to_string(fingers.size()) + " finger images: a transaction holds at most "
            + std::to_string(kMaxWrittenRecords);
        return false;
    }
    std::string cnt = std::string("1") + kUs + std::to_string(fingers.size());
    std::string records;
    for (size_t i = 0; i < fingers.size(); i++) {
        const An2kFingerImage& f = fingers[i];
        if (f.width <= 0 || f.height <= 0 || f.pixels.size() != size_t(f.width) * size_t(f.height)) {
            error = "finger image " + std::to_string(i + 1) + " has no pixels of its size";
            return false;
        }
        const std::string idc = (i + 1 < 10 ? "0" : "") + std::to_string(i + 1);
        cnt += kRs + std::string("14") + kUs + idc;
        std::vector<std::pair<int, std::string>> fields = {
            {2, idc},
            {3, std::to_string(f.impression)},
            {4, Clean(agency)},
            {5, date},
            {6, std::to_string(f.width)},
            {7, std::to_string(f.height)},
            {8, "1"}, // pixels per inch
            {9, std::to_string(kFingerPpi)},
            {10, std::to_string(kFingerPpi)},
            {11, "NONE"},
            {12, "8"},
            {13, std::to_string(f.position)},
        };
        if (!f.comment.empty())
            fields.push_back({20, Clean(f.comment)});
        fields.push_back({999, std::string(f.pixels.begin(), f.pixels.end())});
        records += Tagged(14, fields);
    }
    const std::string type1 = Tagged(1,
                                     {{2, kVersion},
                                      {3, cnt},
                                      {4, "SEG"},
                                      {5, date},
                                      {7, Clean(agency)},
                                      {8, Clean(agency)},
                                      {9, Clean(agency) + "-" + date},
                                      {11, "00.00"}, // no binary image records
                                      {12, "00.00"}});
    file.assign(type1.begin(), type1.end());
    file.insert(file.end(), records.begin(), records.end());
    return true;
}

} // namespace kovral_io
