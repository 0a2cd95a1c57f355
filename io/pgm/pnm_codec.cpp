// Binary PGM (P5) and PPM (P6): a reader whose header numbers are checked as
// they are read, and the PGM writer.
#include "format_readers.h"

#include <cstring>

namespace kovral_io {

namespace {

using detail::Bytes;

constexpr uint32_t kMaxSampleValue = 65535;
// Header numbers beyond this are refused as they are read, long before they could overflow.
constexpr uint64_t kMaxHeaderNumber = 1u << 31;

bool IsSpace(uint8_t c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Reads the next header number from pos, skipping white space and comments.
bool ReadNumber(Bytes bytes, size_t& pos, const char* what, uint64_t& value, std::string& reason)
{
    for (;;) {
        while (pos < bytes.size() && IsSpace(bytes[pos]))
            pos++;
        if (pos >= bytes.size() || bytes[pos] != '#')
            break;
        while (pos < bytes.size() && bytes[pos] != '\n' && bytes[pos] != '\r')
            pos++;
    }
    if (pos >= bytes.size()) {
        reason = std::string("truncated PGM/PPM: the header ends before the ") + what;
        return false;
    }
    if (bytes[pos] < '0' || bytes[pos] > '9') {
        reason = std::string("corrupt PGM/PPM: no number for the ") + what;
        return false;
    }
    value = 0;
    for (; pos < bytes.size() && bytes[pos] >= '0' && bytes[pos] <= '9'; pos++) {
        value = value * 10 + (bytes[pos] - '0');
        if (value > kMaxHeaderNumber) {
            reason = std::string("corrupt PGM/PPM: the ") + what + " is too large";
            return false;
        }
    }
    return true;
}

} // namespace

namespace detail {

bool PnmRecognises(Bytes bytes)
{
    return bytes.size() >= 3 && bytes[0] == 'P' && (bytes[1] == '5' || bytes[1] == '6') && IsSpace(bytes[2]);
}

void PnmDecode(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    const bool colour = bytes[1] == '6';
    result.format = colour ? "PPM" : "PGM";
    size_t pos = 2;
    uint64_t width = 0, height = 0, maxValue = 0;
    if (!ReadNumber(bytes, pos, "width", width, result.reason)
        || !ReadNumber(bytes, pos, "height", height, result.reason)
        || !ReadNumber(bytes, pos, "maximum value", maxValue, result.reason))
        return;
    if (maxValue == 0 || maxValue > kMaxSampleValue) {
        result.reason = "corrupt PGM/PPM: maximum value " + std::to_string(maxValue);
        return;
    }
    // One white-space byte ends the header.
    if (pos >= bytes.size() || !IsSpace(bytes[pos])) {
        result.reason = "corrupt PGM/PPM: no white space after the header";
        return;
    }
    pos++;
    if (!SizeAccepted(static_cast<int64_t>(width), static_cast<int64_t>(height), options, result))
        return;

    // Below 2^31 each, so the product of the sizes and sample bytes fits 64 bits.
    const uint64_t channels = colour ? 3 : 1;
    const uint64_t sampleBytes = maxValue > 255 ? 2 : 1;
    const uint64_t needed = pos + width * height * channels * sampleBytes;
    if (needed > bytes.size()) {
        result.reason = std::string("truncated ") + result.format + ": " + std::to_string(bytes.size()) + " of "
            + std::to_string(needed) + " bytes";
        return;
    }
    // In place, pixel i is read from beyond i before i is written, and the
    // memory is cut to the image's size only then.
    const bool inPlace = InImage(bytes, result);
    if (!inPlace)
        AllocateImage(static_cast<int>(width), static_cast<int>(height), result);
    const uint8_t* p = bytes.data() + pos;
    const uint32_t max = static_cast<uint32_t>(maxValue);
    auto sample = [&](size_t i) {
        uint32_t v = sampleBytes == 2 ? static_cast<uint32_t>(p[2 * i] << 8 | p[2 * i + 1]) : p[i];
        return max == 255 ? static_cast<uint8_t>(v) : ScaleSample(v, max);
    };
    uint8_t* out = result.image.pixels.data();
    const size_t count = static_cast<size_t>(width * height);
    if (!colour && sampleBytes == 1 && max == 255)
        std::memmove(out, p, count);
    else
        for (size_t i = 0; i < count; i++)
            out[i] = colour ? GrayOf(sample(3 * i), sample(3 * i + 1), sample(3 * i + 2)) : sample(i);
    if (inPlace)
        AllocateImage(static_cast<int>(width), static_cast<int>(height), result);
    result.ok = true;
}

} // namespace detail

std::vector<uint8_t> EncodeGrayPgm(const GrayImage& image)
{
    const std::string header = "P5\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n255\n";
    std::vector<uint8_t> bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), image.pixels.begin(), image.pixels.end());
    return bytes;
}

} // namespace kovral_io
