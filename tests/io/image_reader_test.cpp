// Reading images: every format back to the same gray pixels, a reason for
// every file that cannot be read, and the limits that hostile files meet.
#include "hostile_images.h"
#include "test_bytes.h"

#include <kovral.h>
#include <kovral_io.h>
#include <spng.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <tuple>

namespace {

using kovral_io::GrayImage;
using kovral_io::PixelSize;
using kovral_io::ReadOptions;
using Bytes = std::vector<uint8_t>;
namespace fs = std::filesystem;

// A w x h pattern in runs of four (smooth enough for JPEG); rows and columns differ.
GrayImage Pattern(int w, int h)
{
    GrayImage image{w, h, Bytes(static_cast<size_t>(w) * h)};
    for (size_t i = 0; i < image.pixels.size(); i++)
        image.pixels[i] = static_cast<uint8_t>(40 + (i % w / 4 * 3 + i / w * 5) % 180);
    return image;
}

Bytes Cut(Bytes bytes, size_t drop)
{
    bytes.resize(bytes.size() - drop);
    return bytes;
}

Bytes Concat(const std::string& head, const Bytes& tail)
{
    Bytes bytes(head.begin(), head.end());
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    return bytes;
}

using kovral_test::PutLittleEndian;
using kovral_test::ReadBytes;

// The pattern as a BMP of 24 or 32 bits, top-down when asked; three
// channels that weigh to the pattern's gray.
Bytes DirectBmp(const GrayImage& image, int bits, bool topDown)
{
    const size_t bpp = bits / 8, stride = (image.width * bpp + 3) / 4 * 4;
    Bytes b(54 + stride * image.height, 0);
    b[0] = 'B', b[1] = 'M';
    PutLittleEndian(b, 10, 54);
    PutLittleEndian(b, 14, 40);
    PutLittleEndian(b, 18, image.width);
    PutLittleEndian(b, 22, static_cast<uint32_t>(topDown ? -image.height : image.height));
    b[26] = 1, b[28] = static_cast<uint8_t>(bits);
    for (int y = 0; y < image.height; y++)
        for (int x = 0; x < image.width; x++) {
            const uint8_t g = image.pixels[static_cast<size_t>(y) * image.width + x];
            uint8_t* p = &b[54 + stride * (topDown ? y : image.height - 1 - y) + bpp * x];
            p[0] = g - 1, p[1] = g + 2, p[2] = g - 3; // blue, green, red: (29 * -1 + 150 * 2 + 77 * -3) / 256 = 0
        }
    return b;
}

// A 16-bit gray PNG with samples v * 257, which scale back to v.
Bytes Png16(const GrayImage& image)
{
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr ihdr = {static_cast<uint32_t>(image.width),
                      static_cast<uint32_t>(image.height),
                      16,
                      SPNG_COLOR_TYPE_GRAYSCALE,
                      0,
                      0,
                      0};
    spng_set_ihdr(ctx, &ihdr);
    Bytes samples;
    for (uint8_t v : image.pixels)
        samples.insert(samples.end(), {v, v}); // big-endian, as the file stores it
    spng_encode_image(ctx, samples.data(), samples.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    size_t size = 0;
    int error = 0;
    uint8_t* png = static_cast<uint8_t*>(spng_get_png_buffer(ctx, &size, &error));
    Bytes bytes(png, png + size);
    std::free(png);
    spng_ctx_free(ctx);
    return bytes;
}

Bytes RgbPng(const GrayImage& image)
{
    Bytes rgb;
    for (uint8_t g : image.pixels)
        rgb.insert(rgb.end(),
                   {static_cast<uint8_t>(g - 3), static_cast<uint8_t>(g + 2), static_cast<uint8_t>(g - 1)});
    return kovral_io::EncodeRgbPng(rgb.data(), image.width, image.height);
}

// A 16-bit PPM of the pattern, three equal channels.
Bytes Ppm16(const GrayImage& image)
{
    Bytes samples;
    for (uint8_t v : image.pixels)
        for (int c = 0; c < 3; c++)
            samples.insert(samples.end(), {v, v});
    return Concat("P6 # comment\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n65535\n",
                  samples);
}

TEST(ImageReader, EveryFormatGivesThePattern)
{
    const GrayImage image = Pattern(301, 200);
    // What, the file, its format, how far a pixel may be off (JPEG is lossy), raw size.
    const std::tuple<const char*, Bytes, const char*, int, std::optional<PixelSize>> rows[] = {
        {"gray PNG", kovral_io::EncodeGrayPng(image), "PNG", 0, {}},
        {"colour PNG", RgbPng(image), "PNG", 0, {}},
        {"16-bit gray PNG", Png16(image), "PNG", 0, {}},
        {"8-bit BMP", kovral_io::EncodeGrayBmp(image), "BMP", 0, {}},
        {"24-bit BMP, bottom-up", DirectBmp(image, 24, false), "BMP", 0, {}},
        {"32-bit BMP, top-down", DirectBmp(image, 32, true), "BMP", 0, {}},
        {"PGM", kovral_io::EncodeGrayPgm(image), "PGM", 0, {}},
        {"16-bit PPM with a comment", Ppm16(image), "PPM", 0, {}},
        {"baseline JPEG", kovral_io::EncodeGrayJpeg(image, 95), "JPEG", 8, {}},
        {"progressive JPEG", ProgressiveJpeg(image), "JPEG", 8, {}},
        // A valid file of 64 scans: many, but within the limit.
        {"JPEG of 64 scans", ScanBombJpeg(image, 0), "JPEG", 8, {}},
        {"raw", image.pixels, "raw", 0, PixelSize{301, 200}},
    };
    for (const auto& [what, bytes, format, tolerance, rawSize] : rows) {
        ReadOptions options;
        options.rawSize = rawSize;
        kovral_io::ReadResult got = kovral_io::ReadImage(bytes, options);
        ASSERT_TRUE(got.ok) << what << ": " << got.reason;
        EXPECT_EQ(got.format, format) << what;
        ASSERT_EQ(got.image.width, image.width) << what;
        ASSERT_EQ(got.image.height, image.height) << what;
        for (size_t i = 0; i < image.pixels.size(); i++)
            ASSERT_LE(std::abs(got.image.pixels[i] - image.pixels[i]), tolerance) << what << ", pixel " << i;
        // None of these states a resolution (JFIF's default density is an aspect ratio).
        EXPECT_EQ(got.ppi, 0) << what;
    }
}

// A gray PNG with a pHYs chunk of ppm pixels per unit (1: metre, 0: unknown).
Bytes PngWithPhys(const GrayImage& image, uint32_t ppm, uint8_t unit)
{
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr ihdr = {static_cast<uint32_t>(image.width),
                      static_cast<uint32_t>(image.height),
                      8,
                      SPNG_COLOR_TYPE_GRAYSCALE,
                      0,
                      0,
                      0};
    spng_set_ihdr(ctx, &ihdr);
    spng_phys phys = {ppm, ppm, unit};
    spng_set_phys(ctx, &phys);
    spng_encode_image(ctx, image.pixels.data(), image.pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    size_t size = 0;
    int error = 0;
    uint8_t* png = static_cast<uint8_t*>(spng_get_png_buffer(ctx, &size, &error));
    Bytes bytes(png, png + size);
    std::free(png);
    spng_ctx_free(ctx);
    return bytes;
}

// Our JPEG with its JFIF density set: unit 1 dots per inch, 2 per centimetre.
Bytes JpegWithDensity(const GrayImage& image, uint8_t unit, uint16_t density)
{
    Bytes bytes = kovral_io::EncodeGrayJpeg(image, 90);
    // SOI, then APP0: marker, length, "JFIF\0", version, unit, X density, Y density.
    bytes[13] = unit;
    bytes[14] = bytes[16] = static_cast<uint8_t>(density >> 8);
    bytes[15] = bytes[17] = static_cast<uint8_t>(density);
    return bytes;
}

// Our BMP with its horizontal pixels per metre set.
Bytes BmpWithDensity(const GrayImage& image, uint32_t ppm)
{
    Bytes bytes = kovral_io::EncodeGrayBmp(image);
    PutLittleEndian(bytes, 38, ppm);
    return bytes;
}

TEST(ImageReader, StatedResolution)
{
    const GrayImage image = Pattern(64, 48);
    const std::tuple<const char*, Bytes, double> rows[] = {
        {"PNG pHYs, 19685 per metre", PngWithPhys(image, 19685, 1), 500.0},
        {"PNG pHYs of unknown unit: an aspect ratio", PngWithPhys(image, 19685, 0), 0},
        {"JPEG JFIF, 500 dots per inch", JpegWithDensity(image, 1, 500), 500.0},
        {"JPEG JFIF, 394 dots per centimetre", JpegWithDensity(image, 2, 394), 1000.76},
        {"JPEG JFIF density without unit: an aspect ratio", JpegWithDensity(image, 0, 500), 0},
        {"BMP, 9843 pixels per metre", BmpWithDensity(image, 9843), 250.0},
    };
    for (const auto& [what, bytes, ppi] : rows) {
        const kovral_io::ReadResult got = kovral_io::ReadImage(bytes);
        ASSERT_TRUE(got.ok) << what << ": " << got.reason;
        EXPECT_NEAR(got.ppi, ppi, 0.05) << what;
    }
}

TEST(ImageReader, BadAndHostileFilesAreRefused)
{
    const GrayImage image = Pattern(300, 400);
    const Bytes bmp = kovral_io::EncodeGrayBmp(image);
    auto bmpWith = [&](size_t at, uint32_t value) {
        Bytes b = bmp;
        PutLittleEndian(b, at, value);
        return b;
    };
    const Bytes pgm = kovral_io::EncodeGrayPgm(image);
    // What, the file, the start of the reason.
    const std::tuple<const char*, Bytes, std::string> rows[] = {
        {"empty", {}, "empty file"},
        {"unknown, no raw size", Bytes(120000, 7), "not a PNG, JPEG, BMP, PGM/PPM image"},
        {"PNG cut in its pixels", Cut(kovral_io::EncodeGrayPng(image), 1000), "truncated PNG"},
        {"PNG with a broken header checksum",
         [&] {
             Bytes b = kovral_io::EncodeGrayPng(image);
             b[29] ^= 1;
             return b;
         }(),
         "corrupt PNG"},
        {"JPEG a byte short", Cut(kovral_io::EncodeGrayJpeg(image, 90), 1), "truncated JPEG"},
        // 127 bytes without quantisation or Huffman tables: once read uninitialised memory.
        {"JPEG without tables", ReadBytes(KOVRAL_IO_REGRESSIONS "/read_jpeg/jpeg-without-tables"),
         "corrupt JPEG: Quantization table 0x00 was not defined"},
        // Every bit of every coefficient in its own scan: minutes of decoding for a small file.
        {"progressive scan bomb", ScanBombJpeg(image, 10), "JPEG of more than 100 scans refused"},
        // Once overflowed while the width was read.
        {"PGM of a 23-digit width", ReadBytes(KOVRAL_IO_REGRESSIONS "/read_pnm/pgm-23-digit-width"),
         "corrupt PGM/PPM: the width is too large"},
        {"PGM a byte short", Cut(pgm, 1), "truncated PGM: 120014 of 120015 bytes"},
        {"PGM without its maximum", Concat("P5 300 400", {}),
         "truncated PGM/PPM: the header ends before the maximum"},
        {"PGM of maximum 0", Concat("P5 300 400 0\n", image.pixels), "corrupt PGM/PPM: maximum value 0"},
        {"BMP a byte short", Cut(bmp, 1), "truncated BMP: 121077 of 121078 bytes"},
        {"BMP of 2^31 - 1 columns", bmpWith(18, 0x7FFFFFFF), "image is 2147483647 x 400 pixels, outside"},
        {"BMP of -2^31 rows", bmpWith(22, 0x80000000), "image is 300 x 2147483648 pixels, outside"},
        {"BMP with 257 palette entries", bmpWith(46, 257), "corrupt BMP: 257 palette entries"},
        {"BMP with its pixels inside the palette", bmpWith(10, 100), "corrupt BMP: the palette overlaps"},
        {"run-length BMP", bmpWith(30, 1), "compressed BMP (method 1) is not supported"},
        {"BMP header of 41 bytes", bmpWith(14, 41), "corrupt BMP: header of 41 bytes"},
    };
    for (const auto& [what, bytes, reason] : rows) {
        const auto start = std::chrono::steady_clock::now();
        kovral_io::ReadResult got = kovral_io::ReadImage(bytes);
        EXPECT_FALSE(got.ok) << what;
        EXPECT_TRUE(got.image.pixels.empty()) << what;
        EXPECT_EQ(got.reason.substr(0, reason.size()), reason) << what << ": " << got.reason;
        // Refusing is quick: well under the time a decode of the worst of them would take.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << what;
    }
}

TEST(ImageReader, Limits)
{
    const Bytes png = kovral_io::EncodeGrayPng(Pattern(300, 400));
    const Bytes raw = Pattern(300, 400).pixels;
    const ReadOptions defaults;
    auto with = [&](auto change) {
        ReadOptions options = defaults;
        change(options);
        return options;
    };
    // What, the file, the options, the reason ("": read).
    const std::tuple<const char*, Bytes, ReadOptions, std::string> rows[] = {
        {"the slap limits", png, with([](ReadOptions& o) {
             o.minSize = {256, 360}, o.maxSize = {1600, 1500};
         }),
         ""},
        {"one column too many", png, with([](ReadOptions& o) {
             o.maxSize = {299, 1500};
         }),
         "image is 300 x 400 pixels, outside the accepted 1..299 x 1..1500"},
        {"one row too few", png, with([](ReadOptions& o) {
             o.minSize = {1, 401};
         }),
         "image is 300 x 400 pixels"},
        {"a pixel too many", png, with([](ReadOptions& o) { o.maxPixels = 119999; }),
         "image is 300 x 400 pixels, more than the accepted 119999"},
        {"a byte too many", png, with([&](ReadOptions& o) { o.maxFileBytes = png.size() - 1; }),
         "file of 1893 bytes is larger than the limit of 1892"},
        {"raw of another size", raw, with([](ReadOptions& o) {
             o.rawSize = PixelSize{301, 400};
         }),
         "not a PNG, JPEG, BMP, PGM/PPM image, and its 120000 bytes are not the 301 x 400 = 120400"},
        {"raw outside the limits", raw, with([](ReadOptions& o) {
             o.rawSize = PixelSize{300, 400}, o.maxSize = {299, 400};
         }),
         "image is 300 x 400 pixels, outside"},
    };
    for (const auto& [what, bytes, options, reason] : rows) {
        kovral_io::ReadResult got = kovral_io::ReadImage(bytes, options);
        EXPECT_EQ(got.ok, reason.empty()) << what;
        EXPECT_EQ(got.reason.substr(0, reason.size()), reason) << what << ": " << got.reason;
    }
}

// Only regular files are read, and a FIFO is refused at once rather than waited on.
TEST(ImageReader, FilesOfEveryKind)
{
    const fs::path dir = fs::path(KOVRAL_IO_TEST_DIR) / "files";
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::string error;
    ASSERT_TRUE(kovral_io::WriteFile(dir / "slap.pgm", kovral_io::EncodeGrayPgm(Pattern(300, 400)), error)) << error;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    fs::create_symlink("slap.pgm", dir / "link.pgm");
    // Path, the error ("": read).
    const std::tuple<std::string, std::string> rows[] = {
        {(dir / "slap.pgm").string(), ""},
        {(dir / "link.pgm").string(), ""},
        {(dir / "fifo").string(), "/fifo: not a regular file (a FIFO)"},
        {dir.string(), ": is a directory"},
        {"/dev/zero", "/dev/zero: not a regular file (a device)"},
        {(dir / "missing.png").string(), "/missing.png: cannot open: No such file or directory"},
    };
    for (const auto& [path, message] : rows) {
        kovral_io::ReadResult got = kovral_io::ReadImageFile(path);
        EXPECT_EQ(got.ok, message.empty()) << path;
        EXPECT_TRUE(got.Error().ends_with(message)) << got.Error();
        EXPECT_TRUE(got.Error().starts_with(path)) << got.Error();
    }
    EXPECT_FALSE(kovral_io::WriteFile(dir / "no-such-dir/x.png", {}, error));
    EXPECT_EQ(error, (dir / "no-such-dir/x.png").string() + ": cannot create: No such file or directory");
}

// One reader through a run of files gives for each what a fresh read of its
// bytes gives: memory left by a larger, a smaller or a failed image never
// shows, and PGM and raw files decoded where they were read equal decoding
// from a copy.
TEST(ImageReader, ReaderReusingItsMemoryGivesFreshResults)
{
    const fs::path dir = fs::path(KOVRAL_IO_TEST_DIR) / "reuse";
    fs::remove_all(dir);
    fs::create_directories(dir);
    const GrayImage big = Pattern(640, 480), small = Pattern(301, 200);
    Bytes scaled; // 8-bit samples of 0..100, scaled up
    for (uint8_t v : small.pixels)
        scaled.push_back(v % 101);
    // The file, its bytes ("missing" is never written), the raw size the read allows.
    const std::tuple<std::string, Bytes, std::optional<PixelSize>> rows[] = {
        {"big.pgm", kovral_io::EncodeGrayPgm(big), {}},           // memory for the rest
        {"small.png", kovral_io::EncodeGrayPng(small), {}},       // decoded from the other buffer
        {"small.pgm", kovral_io::EncodeGrayPgm(small), {}},       // in place, in larger memory
        {"big.raw", big.pixels, PixelSize{640, 480}},             // raw in place
        {"ppm16.ppm", Ppm16(small), {}},                          // colour, two bytes a sample, in place
        {"scaled.pgm", Concat("P5\n301 200\n100\n", scaled), {}}, // scaled samples, in place
        {"cut.pgm", Cut(kovral_io::EncodeGrayPgm(big), 1), {}},   // truncated: refused
        {"big-again.pgm", kovral_io::EncodeGrayPgm(big), {}},     // memory kept through the failure
        {"rgb.png", RgbPng(big), {}},
        {"small.bmp", kovral_io::EncodeGrayBmp(small), {}},
        {"small.jpg", kovral_io::EncodeGrayJpeg(small, 90), {}},
        {"missing", {}, {}}, // cannot open
        {"empty.pgm", Bytes{}, {}},
        {"odd.raw", Bytes(1000, 7), PixelSize{640, 480}}, // wrong size for raw
        {"last.pgm", kovral_io::EncodeGrayPgm(small), {}},
    };
    kovral_io::ImageFileReader reader;
    for (const auto& [name, bytes, rawSize] : rows) {
        const std::string path = (dir / name).string();
        std::string error;
        if (name != "missing") {
            ASSERT_TRUE(kovral_io::WriteFile(path, bytes, error)) << error;
        }
        ReadOptions options;
        options.rawSize = rawSize;
        const kovral_io::ReadResult& got = reader.Read(path, options);
        const kovral_io::ReadResult want = kovral_io::ReadImageFile(path, options);
        EXPECT_EQ(got.ok, want.ok) << name;
        EXPECT_EQ(got.format, want.format) << name;
        EXPECT_EQ(got.reason, want.reason) << name;
        EXPECT_EQ(got.source, path) << name;
        EXPECT_EQ(got.image.width, want.image.width) << name;
        EXPECT_EQ(got.image.height, want.image.height) << name;
        EXPECT_TRUE(got.image.pixels == want.image.pixels) << name;
        if (name != "missing") {
            const kovral_io::ReadResult copy = kovral_io::ReadImage(bytes, options);
            EXPECT_EQ(got.ok, copy.ok) << name;
            EXPECT_TRUE(got.image.pixels == copy.image.pixels) << name;
        }
    }
}

// The BMP writer gives the library's own bytes, for every row padding.
TEST(ImageWriters, BmpIsTheLibrarysBmp)
{
    const fs::path dir = fs::path(KOVRAL_IO_TEST_DIR) / "bmp";
    fs::create_directories(dir);
    for (int w : {256, 257, 258, 259}) {
        GrayImage image = Pattern(w, 361);
        const std::string path = (dir / "library.bmp").string();
        ASSERT_EQ(KOVRAL_SaveToBmp(image.pixels.data(), w, image.height, path.c_str()), KOVRAL_OK);
        EXPECT_TRUE(kovral_io::EncodeGrayBmp(image) == ReadBytes(path)) << "width " << w;
    }
}

} // namespace
