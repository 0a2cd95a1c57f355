// Walking the records of a transaction file: the Type-1 record's content
// list gives each record's type, each record's own length field its extent.
#include "an2k.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>

namespace kovral_io {

namespace {

constexpr uint8_t kFs = 0x1c; // ends a tagged record
constexpr uint8_t kGs = 0x1d; // ends a field
constexpr uint8_t kRs = 0x1e; // separates subfields
constexpr uint8_t kUs = 0x1f; // separates items of a subfield

constexpr int kImageField = 999;
constexpr size_t kBinaryHeaderBytes = 18;    // Types 3-7
constexpr size_t kSignatureHeaderBytes = 12; // Type-8
constexpr int kMaxRecords = 10000;
constexpr int kUnusedPosition = 255; // an unused finger position byte of a binary record

// Resolution of binary records: NTR for Types 4 and 6, half of it for Types
// 3 and 5 (low-resolution records); 19.69 pixels per millimetre when absent.
constexpr double kDefaultPpmm = 19.69;
constexpr double kMmPerInch = 25.4;
constexpr double kCmPerInch = 2.54;

// Tagged field numbers shared by the image records (Types 13, 14, 15).
constexpr int kFieldIdc = 2;
constexpr int kFieldImp = 3;
constexpr int kFieldHll = 6;
constexpr int kFieldVll = 7;
constexpr int kFieldSlc = 8;
constexpr int kFieldThps = 9;
constexpr int kFieldTvps = 10;
constexpr int kFieldCga = 11;
constexpr int kFieldBpx = 12;
constexpr int kFieldFgp = 13;
constexpr int kFieldAmp = 18;

bool IsBinaryType(int type)
{
    return type >= 3 && type <= 8;
}
bool IsTaggedImageType(int type)
{
    return type == 13 || type == 14 || type == 15;
}

struct Field
{
    int number = 0;
    std::string value; // separators kept
};

struct TaggedRecord
{
    int type = 0;
    size_t length = 0;
    std::vector<Field> fields;
    bool hasData = false;
    size_t dataOffset = 0, dataSize = 0;

    const std::string* Find(int number) const
    {
        for (const Field& f : fields)
            if (f.number == number)
                return &f.value;
        return nullptr;
    }
};

std::vector<std::string> Split(const std::string& s, char separator)
{
    std::vector<std::string> parts;
    size_t from = 0;
    for (;;) {
        const size_t at = s.find(separator, from);
        parts.push_back(s.substr(from, at == std::string::npos ? std::string::npos : at - from));
        if (at == std::string::npos)
            return parts;
        from = at + 1;
    }
}

// A whole number of up to nine digits (spaces around allowed), else -1.
int ToInt(const std::string& s)
{
    const size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    if (b == std::string::npos || e - b + 1 > 9)
        return -1;
    int v = 0;
    const auto [end, ec] = std::from_chars(s.data() + b, s.data() + e + 1, v);
    return ec == std::errc() && end == s.data() + e + 1 && v >= 0 ? v : -1;
}

// A decimal number such as "19.69", else -1.
double ToDouble(const std::string& s)
{
    const size_t b = s.find_first_not_of(' '), e = s.find_last_not_of(' ');
    if (b == std::string::npos)
        return -1;
    double v = 0;
    const auto [end, ec] = std::from_chars(s.data() + b, s.data() + e + 1, v);
    return ec == std::errc() && end == s.data() + e + 1 && v >= 0 && v < 1e6 ? v : -1;
}

// "T.F:" at pos, leading zeros optional; pos moves past the colon.
bool ParseTag(const uint8_t* d, size_t end, size_t& pos, int& type, int& field)
{
    const auto number = [&](int& out, uint8_t stop) {
        size_t digits = 0;
        out = 0;
        while (pos < end && d[pos] >= '0' && d[pos] <= '9' && digits < 9)
            out = out * 10 + (d[pos++] - '0'), digits++;
        if (digits == 0 || pos >= end || d[pos] != stop)
            return false;
        pos++;
        return true;
    };
    return number(type, '.') && number(field, ':');
}

// A tagged record at start: its length from field 1, then every field up to
// the image field (whose bytes are never scanned) or the closing FS. When
// the length was read but a field was not, record.length is still set.
bool ReadTagged(const uint8_t* d, size_t size, size_t start, TaggedRecord& record, std::string& why,
                std::vector<std::string>& warnings, const std::string& name)
{
    size_t pos = start;
    int type = 0, number = 0;
    if (!ParseTag(d, size, pos, type, number) || number != 1) {
        why = "does not start with its length field";
        return false;
    }
    size_t length = 0, digits = 0;
    while (pos < size && d[pos] >= '0' && d[pos] <= '9' && digits < 12)
        length = length * 10 + (d[pos++] - '0'), digits++;
    if (digits == 0 || pos >= size || (d[pos] != kGs && d[pos] != kFs)) {
        why = "has an unreadable length field";
        return false;
    }
    if (length < pos - start + 1 || length > size - start) {
        why = "says it is " + std::to_string(length) + " bytes long, but "
            + (length > size - start ? "only " + std::to_string(size - start) + " bytes are left"
                                     : std::string("its length field alone is longer"));
        return false;
    }
    record = TaggedRecord{};
    record.type = type;
    const size_t end = start + length;
    record.fields.push_back({1, std::to_string(length)});
    while (pos < end && d[pos] == kGs) {
        pos++;
        int fieldType = 0, field = 0;
        if (!ParseTag(d, end, pos, fieldType, field)) {
            why = "has a field without a readable tag at offset " + std::to_string(pos);
            record.length = length;
            return false;
        }
        if (fieldType != type)
            warnings.push_back(name + ": field " + std::to_string(fieldType) + "." + std::to_string(field)
                               + " in a Type-" + std::to_string(type) + " record");
        if (field == kImageField) {
            // The image runs to the byte before the record's end, whatever it holds.
            record.length = length;
            record.hasData = true;
            record.dataOffset = pos;
            // A tag that ends the record holds no data at all.
            record.dataSize = pos < end ? end - 1 - pos : 0;
            if (d[end - 1] != kFs)
                warnings.push_back(name + ": does not end with a file separator");
            return true;
        }
        const size_t from = pos;
        while (pos < end && d[pos] != kGs && d[pos] != kFs)
            pos++;
        record.fields.push_back({field, std::string(reinterpret_cast<const char*>(d + from), pos - from)});
    }
    record.length = length;
    if (pos != end - 1 || d[pos] != kFs)
        warnings.push_back(name + ": fields do not end at the record's length");
    return true;
}

An2kCompression CompressionFromName(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::toupper(c)); });
    s.erase(std::remove(s.begin(), s.end(), ' '), s.end());
    if (s == "NONE")
        return An2kCompression::None;
    if (s == "WSQ" || s == "WSQ20")
        return An2kCompression::Wsq;
    if (s == "JPEGB")
        return An2kCompression::Jpeg;
    if (s == "JPEGL")
        return An2kCompression::JpegLossless;
    if (s == "JP2")
        return An2kCompression::Jpeg2000;
    if (s == "JP2L")
        return An2kCompression::Jpeg2000Lossless;
    if (s == "PNG")
        return An2kCompression::Png;
    return An2kCompression::Unknown;
}

An2kCompression CompressionFromCode(int code)
{
    static const An2kCompression codes[]
        = {An2kCompression::None,         An2kCompression::Wsq,      An2kCompression::Jpeg,
           An2kCompression::JpegLossless, An2kCompression::Jpeg2000, An2kCompression::Jpeg2000Lossless,
           An2kCompression::Png};
    return code >= 0 && code < int(std::size(codes)) ? codes[code] : An2kCompression::Unknown;
}

std::string RecordName(int index, int type, int idc)
{
    std::string s = "record " + std::to_string(index) + " (Type-" + std::to_string(type);
    if (idc >= 0)
        s += ", IDC " + std::to_string(idc);
    return s + ")";
}

// A binary fingerprint record (Types 3-6): the 18-byte header.
An2kImageRecord BinaryImage(const uint8_t* d, size_t start, size_t length, int index, int type, double ntr)
{
    An2kImageRecord r;
    r.index = index;
    r.type = type;
    r.idc = d[start + 4];
    r.impression = d[start + 5];
    for (int i = 0; i < 6; i++)
        if (d[start + 6 + i] != kUnusedPosition)
            r.positions.push_back(d[start + 6 + i]);
    r.statedWidth = d[start + 13] << 8 | d[start + 14];
    r.statedHeight = d[start + 15] << 8 | d[start + 16];
    const int code = d[start + 17];
    r.compressionText = std::to_string(code);
    r.compression = CompressionFromCode(code);
    if ((type == 5 || type == 6) && code != 0)
        r.compression = An2kCompression::Unknown; // binary images know only "uncompressed" here
    r.bitsPerPixel = type == 5 || type == 6 ? 1 : 8;
    const bool lowResolution = type == 3 || type == 5;
    const double ppmm = ntr > 0 ? ntr : kDefaultPpmm;
    r.ppi = (lowResolution ? ppmm / 2 : ppmm) * kMmPerInch;
    r.ppiSource = ntr > 0 ? std::string("1.012 NTR") + (lowResolution ? ", halved for a low-resolution record" : "")
                          : "the Type-" + std::to_string(type) + " record's nominal resolution";
    r.dataOffset = start + kBinaryHeaderBytes;
    r.dataSize = length - kBinaryHeaderBytes;
    return r;
}

// A tagged fingerprint record (Types 13, 14, 15).
An2kImageRecord TaggedImage(const TaggedRecord& t, int index, double ntr, std::vector<std::string>& warnings)
{
    An2kImageRecord r;
    r.index = index;
    r.type = t.type;
    const auto intField = [&t](int number) {
        const std::string* v = t.Find(number);
        return v ? ToInt(*v) : -1;
    };
    r.idc = intField(kFieldIdc);
    r.impression = intField(kFieldImp);
    r.statedWidth = std::max(0, intField(kFieldHll));
    r.statedHeight = std::max(0, intField(kFieldVll));
    const int bpx = intField(kFieldBpx);
    r.bitsPerPixel = bpx > 0 ? bpx : 8;
    if (const std::string* cga = t.Find(kFieldCga)) {
        r.compressionText = *cga;
        r.compression = CompressionFromName(*cga);
    }
    const std::string name = r.Name();
    if (const std::string* fgp = t.Find(kFieldFgp))
        for (const std::string& sub : Split(*fgp, char(kRs))) {
            const int p = ToInt(Split(sub, char(kUs)).front());
            if (p >= 0)
                r.positions.push_back(p);
        }
    if (const std::string* amp = t.Find(kFieldAmp))
        for (const std::string& sub : Split(*amp, char(kRs))) {
            const std::vector<std::string> items = Split(sub, char(kUs));
            const int p = ToInt(items.front());
            if (p < 0 || items.size() < 2) {
                warnings.push_back(name + ": unreadable amputation entry");
                continue;
            }
            r.missing.push_back({p, items[1] == "XX"});
        }

    // Resolution: scale units 1 = pixels per inch, 2 = per centimetre; 0 or
    // none falls back on the transaction's NTR.
    const int slc = intField(kFieldSlc);
    const std::string* thpsText = t.Find(kFieldThps);
    const std::string* tvpsText = t.Find(kFieldTvps);
    const double thps = thpsText ? ToDouble(*thpsText) : -1;
    const double tvps = tvpsText ? ToDouble(*tvpsText) : -1;
    const std::string fields = std::to_string(t.type) + ".008-" + std::to_string(t.type) + ".010";
    if ((slc == 1 || slc == 2) && thps > 0) {
        r.ppi = slc == 1 ? thps : thps * kCmPerInch;
        r.ppiSource = fields + (slc == 1 ? " (SLC 1, pixels per inch)" : " (SLC 2, pixels per centimetre)");
        if (tvps > 0 && tvps != thps)
            warnings.push_back(name + ": pixels are not square (" + *thpsText + " x " + *tvpsText
                               + "); the horizontal scale is used");
    } else if (ntr > 0) {
        r.ppi = ntr * kMmPerInch;
        r.ppiSource = "1.012 NTR";
    }
    r.dataOffset = t.dataOffset;
    r.dataSize = t.dataSize;
    return r;
}

} // namespace

const char* CompressionName(An2kCompression compression)
{
    switch (compression) {
    case An2kCompression::None:
        return "NONE";
    case An2kCompression::Wsq:
        return "WSQ20";
    case An2kCompression::Jpeg:
        return "JPEGB";
    case An2kCompression::JpegLossless:
        return "JPEGL";
    case An2kCompression::Jpeg2000:
        return "JP2";
    case An2kCompression::Jpeg2000Lossless:
        return "JP2L";
    case An2kCompression::Png:
        return "PNG";
    case An2kCompression::Unknown:
        break;
    }
    return "unknown";
}

std::string An2kImageRecord::Name() const
{
    return RecordName(index, type, idc);
}

bool LooksLikeAn2k(const uint8_t* data, size_t size)
{
    size_t pos = 0;
    int type = 0, field = 0;
    return ParseTag(data, std::min<size_t>(size, 16), pos, type, field) && type == 1 && field == 1;
}

bool ReadAn2k(const uint8_t* d, size_t size, An2kFile& file, std::string& error)
{
    file = An2kFile{};
    error.clear();
    std::vector<std::string>& warnings = file.warnings;

    TaggedRecord type1;
    std::string why;
    if (!LooksLikeAn2k(d, size)) {
        error = "ANSI/NIST: no Type-1 record at the start of the file";
        return false;
    }
    if (!ReadTagged(d, size, 0, type1, why, warnings, "record 1 (Type-1)")) {
        error = "ANSI/NIST: the Type-1 record " + why;
        return false;
    }
    if (const std::string* ver = type1.Find(2))
        file.version = *ver;
    if (const std::string* nsr = type1.Find(11))
        file.nativePpmm = std::max(0.0, ToDouble(*nsr));
    if (const std::string* ntr = type1.Find(12))
        file.transmittingPpmm = std::max(0.0, ToDouble(*ntr));
    const std::string* cnt = type1.Find(3);
    if (!cnt) {
        error = "ANSI/NIST: the Type-1 record has no content list (1.003)";
        return false;
    }

    // The content list: "1 US count", then "type US IDC" per record in file order.
    struct Entry
    {
        int type, idc;
    };
    std::vector<Entry> entries;
    const std::vector<std::string> subfields = Split(*cnt, char(kRs));
    const std::vector<std::string> head = Split(subfields.front(), char(kUs));
    const int stated = head.size() >= 2 ? ToInt(head[1]) : -1;
    for (size_t i = 1; i < subfields.size() && entries.size() < kMaxRecords; i++) {
        const std::vector<std::string> items = Split(subfields[i], char(kUs));
        const int type = ToInt(items[0]);
        if (type < 0) {
            warnings.push_back("content list entry " + std::to_string(i)
                               + " has no record type; the list ends there");
            break;
        }
        entries.push_back({type, items.size() >= 2 ? ToInt(items[1]) : -1});
    }
    if (stated != int(subfields.size()) - 1)
        warnings.push_back("the content list says " + std::to_string(stated) + " records and lists "
                           + std::to_string(subfields.size() - 1));

    size_t pos = type1.length;
    file.records = 1;
    for (size_t i = 0; i < entries.size(); i++) {
        const int index = int(i) + 2; // counted from 1, the Type-1 record
        const Entry& e = entries[i];
        const std::string name = RecordName(index, e.type, e.idc);
        if (pos >= size) {
            warnings.push_back("the file ends before " + name + " (" + std::to_string(entries.size() - i)
                               + " listed records missing)");
            return true;
        }
        if (IsBinaryType(e.type)) {
            const size_t header = e.type == 8 ? kSignatureHeaderBytes : e.type == 7 ? 5 : kBinaryHeaderBytes;
            const size_t left = size - pos;
            const size_t length = left >= 4
                ? size_t(d[pos]) << 24 | size_t(d[pos + 1]) << 16 | size_t(d[pos + 2]) << 8 | d[pos + 3]
                : 0;
            if (left < header || length < header || length > left) {
                warnings.push_back(name
                                   + (length > left ? " says it is " + std::to_string(length)
                                              + " bytes long, but only " + std::to_string(left) + " are left"
                                                    : " is shorter than its header")
                                   + "; the records from here on are not read");
                return true;
            }
            if (e.idc >= 0 && d[pos + 4] != e.idc)
                warnings.push_back(name + ": its own IDC is " + std::to_string(d[pos + 4]));
            if (e.type <= 6)
                file.images.push_back(BinaryImage(d, pos, length, index, e.type, file.transmittingPpmm));
            pos += length;
        } else {
            TaggedRecord t;
            if (!ReadTagged(d, size, pos, t, why, warnings, name)) {
                if (t.length == 0) {
                    warnings.push_back(name + " " + why + "; the records from here on are not read");
                    return true;
                }
                warnings.push_back(name + " " + why + "; skipped");
                pos += t.length;
                file.records = index;
                continue;
            }
            if (t.type != e.type)
                warnings.push_back(name + ": its fields say Type-" + std::to_string(t.type) + "; read as such");
            if (IsTaggedImageType(t.type)) {
                if (!t.hasData)
                    warnings.push_back(name + " has no image field");
                else {
                    An2kImageRecord r = TaggedImage(t, index, file.transmittingPpmm, warnings);
                    if (e.idc >= 0 && r.idc >= 0 && r.idc != e.idc)
                        warnings.push_back(r.Name() + ": the content list gives IDC " + std::to_string(e.idc));
                    file.images.push_back(std::move(r));
                }
            }
            pos += t.length;
        }
        file.records = index;
    }
    if (pos < size)
        warnings.push_back(std::to_string(size - pos) + " bytes after the last listed record are ignored");
    return true;
}

} // namespace kovral_io
