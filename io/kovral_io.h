// Reading and writing image files for the tool and the Python package: any
// supported file into an 8-bit gray image, with limits that a hostile file
// cannot get past, and gray images into PNG or BMP bytes.
//
// Readers are picked by content, never by file name: PNG (libspng), JPEG
// (libjpeg-turbo), BMP and binary PGM/PPM. Colour becomes gray as
// (77 R + 150 G + 29 B) >> 8; samples deeper than 8 bits are scaled to 0..255.
// Bytes that no reader recognises are taken as headerless 8-bit pixels when
// the caller gives their size.
#ifndef KOVRAL_IO_KOVRAL_IO_H
#define KOVRAL_IO_KOVRAL_IO_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kovral_io {

struct GrayImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // width x height, row-major, top row first, 0 black
};

struct PixelSize
{
    int width = 0;
    int height = 0;
};

// What a reader accepts. Sizes outside min..max are refused before any pixel
// is decoded, so the limits also bound memory and time.
struct ReadOptions
{
    PixelSize minSize{1, 1};
    PixelSize maxSize{16384, 16384};
    uint64_t maxPixels = uint64_t{1} << 26;
    uint64_t maxFileBytes = uint64_t{256} << 20;
    // Scans of a progressive JPEG: a normal file has about ten; thousands of
    // tiny refinement scans make a small file take minutes to decode.
    int maxJpegScans = 100;
    // Size of headerless 8-bit files; without it they are refused.
    std::optional<PixelSize> rawSize;
};

struct ReadResult
{
    bool ok = false;
    GrayImage image;
    std::string format; // "PNG", "JPEG", "BMP", "PGM", "PPM", "raw"; empty when not recognised
    std::string source; // the path read, or "" for bytes in memory
    std::string reason; // why the read failed, one line without the source
    // Resolution the file states, pixels per inch; 0 when it states none.
    double ppi = 0;

    // "SOURCE: REASON" (just the reason for bytes in memory).
    std::string Error() const;
};

// Decodes an image file held in memory.
ReadResult ReadImage(std::span<const uint8_t> bytes, const ReadOptions& options = {});

// Reads and decodes a file. Only a regular file is read: anything else (a
// FIFO, a device, a directory) is refused without blocking.
ReadResult ReadImageFile(const std::string& path, const ReadOptions& options = {});

// Reads a whole regular file (as ReadImageFile does: no FIFOs or devices, at
// most limit bytes). On failure returns false and sets reason, without the path.
bool ReadFileBytes(const std::string& path, uint64_t limit, std::vector<uint8_t>& bytes, std::string& reason);

// Reads files one after another into memory it keeps: once it has read the
// largest of them, reading another allocates nothing and clears nothing, and
// the pixels of an 8-bit gray PGM or a raw file are read straight into the
// image. Gives the same results as ReadImageFile. One thread at a time.
class ImageFileReader
{
public:
    // As ReadImageFile; the result, its image included, stays valid until
    // the next Read (an image moved out of it takes its memory along).
    ReadResult& Read(const std::string& path, const ReadOptions& options = {});

private:
    std::vector<uint8_t> bytes_; // the file; its size is the memory held, not the file's
    ReadResult result_;
    std::vector<uint8_t> spare_; // the image's memory while result_ holds a failure
};

// The "a..b x c..d" text of a size range, as errors quote it.
std::string SizeRangeText(PixelSize min, PixelSize max);

// File bytes of a gray image: PNG of one channel, or an 8-bit BMP with a gray
// palette, rows bottom-up and padded to four bytes (as the library writes).
std::vector<uint8_t> EncodeGrayPng(const GrayImage& image);
std::vector<uint8_t> EncodeGrayBmp(const GrayImage& image);
// The same of width x height pixels held elsewhere; the BMP into bytes,
// reusing its memory.
std::vector<uint8_t> EncodeGrayPng(const uint8_t* pixels, int width, int height);
void EncodeGrayBmp(const uint8_t* pixels, int width, int height, std::vector<uint8_t>& bytes);
// PNG of 8-bit RGB pixels, width x height x 3.
std::vector<uint8_t> EncodeRgbPng(const uint8_t* rgb, int width, int height);
// Binary PGM, and baseline JPEG of quality 1..100 (for generated test files).
std::vector<uint8_t> EncodeGrayPgm(const GrayImage& image);
std::vector<uint8_t> EncodeGrayJpeg(const GrayImage& image, int quality);

// Writes all bytes to fd, retrying after signals and short writes. False with
// errno set when a write fails (a full disk gives ENOSPC or EFBIG).
bool WriteAll(int fd, std::span<const uint8_t> bytes);

// Creates or replaces path with bytes, every write and the close checked. On
// failure returns false and sets error to "PATH: REASON".
bool WriteFile(const std::string& path, std::span<const uint8_t> bytes, std::string& error);

} // namespace kovral_io

#endif
