// Reading any supported file: the reader table, raw pixels, and reading a
// file safely into memory.
#include "format_readers.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kovral_io {

namespace {

using detail::Bytes;

// Tried in this order; a new format is one more line.
constexpr detail::FormatReader kReaders[] = {
    {"PNG", detail::PngRecognises, detail::PngDecode},
    {"JPEG", detail::JpegRecognises, detail::JpegDecode},
    {"BMP", detail::BmpRecognises, detail::BmpDecode},
    {"PGM/PPM", detail::PnmRecognises, detail::PnmDecode},
};

std::string KnownFormats()
{
    std::string names;
    for (const detail::FormatReader& reader : kReaders)
        names += std::string(names.empty() ? "" : ", ") + reader.name;
    return names;
}

void DecodeRaw(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    const PixelSize raw = *options.rawSize;
    const uint64_t needed = static_cast<uint64_t>(raw.width) * static_cast<uint64_t>(raw.height);
    if (raw.width <= 0 || raw.height <= 0 || bytes.size() != needed) {
        result.reason = "not a " + KnownFormats() + " image, and its " + std::to_string(bytes.size())
            + " bytes are not the " + std::to_string(raw.width) + " x " + std::to_string(raw.height) + " = "
            + std::to_string(needed) + " of a raw image";
        return;
    }
    result.format = "raw";
    if (!detail::SizeAccepted(raw.width, raw.height, options, result))
        return;
    result.image.width = raw.width;
    result.image.height = raw.height;
    if (detail::InImage(bytes, result))
        result.image.pixels.resize(bytes.size());
    else
        result.image.pixels.assign(bytes.begin(), bytes.end());
    result.ok = true;
}

const char* FileKind(mode_t mode)
{
    if (S_ISDIR(mode))
        return "is a directory";
    if (S_ISFIFO(mode))
        return "not a regular file (a FIFO)";
    if (S_ISSOCK(mode))
        return "not a regular file (a socket)";
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return "not a regular file (a device)";
    return "not a regular file";
}

std::string SystemError(const char* what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

// Reads the whole regular file at path, at most limit bytes, into the first
// length bytes of storage. storage only grows: memory it holds is reused
// as it is, never cleared.
bool ReadRegularFile(const std::string& path, uint64_t limit, std::vector<uint8_t>& storage, size_t& length,
                     std::string& reason)
{
    length = 0;
    // The type is checked before opening, and the file is opened without
    // blocking, so that a FIFO or a device is refused rather than waited on.
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        reason = SystemError("cannot open");
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        reason = FileKind(info.st_mode);
        return false;
    }
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        reason = SystemError("cannot open");
        return false;
    }
    // Checked again on the open file: the name may have been replaced meanwhile.
    bool ok = fstat(fd, &info) == 0;
    if (!ok)
        reason = SystemError("cannot read");
    else if (!S_ISREG(info.st_mode)) {
        reason = FileKind(info.st_mode);
        ok = false;
    } else if (static_cast<uint64_t>(info.st_size) > limit) {
        reason = "file of " + std::to_string(info.st_size) + " bytes is larger than the limit of "
            + std::to_string(limit);
        ok = false;
    }
    if (ok) {
        // The file may grow or shrink while it is read: read to its end, within
        // the limit. One byte more than its size tells the end without a second read.
        size_t room = static_cast<size_t>(info.st_size) + 1;
        if (storage.size() < room)
            storage.resize(room);
        size_t have = 0;
        for (;;) {
            if (have == room) {
                if (have > limit) {
                    reason = "file grew past the limit of " + std::to_string(limit) + " bytes while read";
                    ok = false;
                    break;
                }
                room = std::min<uint64_t>(limit + 1, room * 2);
                if (storage.size() < room)
                    storage.resize(room);
            }
            ssize_t n = read(fd, storage.data() + have, room - have);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                reason = SystemError("cannot read");
                ok = false;
                break;
            }
            if (n == 0)
                break;
            have += static_cast<size_t>(n);
        }
        length = have;
    }
    close(fd);
    return ok;
}

// Decodes bytes into result, which is fresh but for the memory of its image.
void Decode(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    if (bytes.empty()) {
        result.reason = "empty file";
        return;
    }
    if (bytes.size() > options.maxFileBytes) {
        result.reason = "file of " + std::to_string(bytes.size()) + " bytes is larger than the limit of "
            + std::to_string(options.maxFileBytes);
        return;
    }
    for (const detail::FormatReader& reader : kReaders) {
        if (!reader.recognises(bytes))
            continue;
        result.format = reader.name;
        reader.decode(bytes, options, result);
        return;
    }
    if (options.rawSize)
        DecodeRaw(bytes, options, result);
    else
        result.reason = "not a " + KnownFormats() + " image";
}

} // namespace

std::string ReadResult::Error() const
{
    return source.empty() ? reason : source + ": " + reason;
}

std::string SizeRangeText(PixelSize min, PixelSize max)
{
    return std::to_string(min.width) + ".." + std::to_string(max.width) + " x " + std::to_string(min.height) + ".."
        + std::to_string(max.height);
}

namespace detail {

bool SizeAccepted(int64_t width, int64_t height, const ReadOptions& options, ReadResult& result)
{
    const PixelSize& lo = options.minSize;
    const PixelSize& hi = options.maxSize;
    if (width < lo.width || width > hi.width || height < lo.height || height > hi.height) {
        result.reason = "image is " + std::to_string(width) + " x " + std::to_string(height)
            + " pixels, outside the accepted " + SizeRangeText(lo, hi);
        return false;
    }
    if (static_cast<uint64_t>(width) * static_cast<uint64_t>(height) > options.maxPixels) {
        result.reason = "image is " + std::to_string(width) + " x " + std::to_string(height)
            + " pixels, more than the accepted " + std::to_string(options.maxPixels);
        return false;
    }
    return true;
}

bool InImage(Bytes bytes, const ReadResult& result)
{
    return !bytes.empty() && bytes.data() == result.image.pixels.data();
}

void AllocateImage(int width, int height, ReadResult& result)
{
    result.image.width = width;
    result.image.height = height;
    // Every decoder writes every pixel: memory reused from an earlier image is not cleared.
    result.image.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
}

} // namespace detail

ReadResult ReadImage(std::span<const uint8_t> bytes, const ReadOptions& options)
{
    ReadResult result;
    Decode(bytes, options, result);
    if (!result.ok)
        result.image = {};
    return result;
}

ReadResult ReadImageFile(const std::string& path, const ReadOptions& options)
{
    ImageFileReader reader;
    return std::move(reader.Read(path, options));
}

ReadResult& ImageFileReader::Read(const std::string& path, const ReadOptions& options)
{
    // The image's memory goes from result to result, kept aside after a failure.
    std::vector<uint8_t> memory = std::move(result_.ok ? result_.image.pixels : spare_);
    result_ = {};
    result_.source = path;
    // The file is read into the image's memory. A PGM or a raw file is
    // decoded where it lies, its pixels moved down over the header; other
    // formats go to the other buffer, to be decoded into the image.
    size_t length = 0;
    if (ReadRegularFile(path, options.maxFileBytes, memory, length, result_.reason)) {
        const Bytes file(memory.data(), length);
        const bool inPlace = detail::PnmRecognises(file)
            || std::none_of(std::begin(kReaders), std::end(kReaders),
                            [&](const detail::FormatReader& r) { return r.recognises(file); });
        if (!inPlace)
            std::swap(memory, bytes_);
        result_.image.pixels = std::move(memory);
        Decode(Bytes(inPlace ? result_.image.pixels.data() : bytes_.data(), length), options, result_);
    } else
        result_.image.pixels = std::move(memory);
    if (!result_.ok) {
        spare_ = std::move(result_.image.pixels);
        result_.image = {};
    }
    return result_;
}

bool WriteAll(int fd, std::span<const uint8_t> bytes)
{
    const uint8_t* p = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
        ssize_t n = write(fd, p, left);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0) {
            errno = EIO;
            return false;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

bool WriteFile(const std::string& path, std::span<const uint8_t> bytes, std::string& error)
{
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = path + ": " + SystemError("cannot create");
        return false;
    }
    bool ok = WriteAll(fd, bytes);
    int saved = errno;
    if (close(fd) != 0 && ok) {
        ok = false;
        saved = errno;
    }
    if (!ok) {
        errno = saved;
        error = path + ": " + SystemError("cannot write");
    }
    return ok;
}

bool ReadFileBytes(const std::string& path, uint64_t limit, std::vector<uint8_t>& bytes, std::string& reason)
{
    size_t length = 0;
    if (!ReadRegularFile(path, limit, bytes, length, reason))
        return false;
    bytes.resize(length);
    return true;
}

} // namespace kovral_io
