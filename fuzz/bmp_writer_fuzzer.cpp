// KOVRAL_SaveToBmp with arbitrary sizes, images and paths; every file written
// is read back and compared byte for byte with the image.
//
// Input, in order (see fuzz_bytes.h):
//   flags u8: bit 0 raw sizes, bit 1 null image, bit 2 null path,
//             bit 3 a path that cannot be created, bit 4 initialise
//   w, h: i32 (bit 0) or u16 folded into -8..700
//   the rest: pixel bytes, repeated over the image
#include "fuzz_bytes.h"
#include "split_harness.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

constexpr int MIN_SIDE = 4;
constexpr int FOLDED_LOW = -8;
constexpr int FOLDED_HIGH = 700;
// Raw sizes whose image would be larger than this are not run: the caller
// would have to hold the image.
constexpr uint64_t MAX_PIXELS = 4u << 20;
constexpr size_t HEADERS = 54;
constexpr size_t PIXEL_OFFSET = 1078;

// An in-memory file that fopen can open by name (and truncates on "wb").
struct MemoryFile
{
    int fd = memfd_create("kovral-bmp", 0);
    char path[64] = {};
    MemoryFile() { std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd); }
    ~MemoryFile() { close(fd); }
    std::vector<uint8_t> Read() const
    {
        struct stat st
        {
        };
        fstat(fd, &st);
        std::vector<uint8_t> bytes(static_cast<size_t>(st.st_size));
        if (!bytes.empty())
            FUZZ_CHECK(pread(fd, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
        return bytes;
    }
    void Clear() const { FUZZ_CHECK(ftruncate(fd, 0) == 0); }
};

uint32_t Get32(const std::vector<uint8_t>& b, size_t at)
{
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}

// The whole file: headers, gray palette, rows bottom-up padded to four bytes.
void CheckFile(const std::vector<uint8_t>& file, const uint8_t* img, int w, int h)
{
    const size_t stride = (static_cast<size_t>(w) + 3) / 4 * 4;
    FUZZ_CHECK(file.size() == PIXEL_OFFSET + stride * h);
    FUZZ_CHECK(file[0] == 'B' && file[1] == 'M');
    FUZZ_CHECK(Get32(file, 2) == file.size() && Get32(file, 10) == PIXEL_OFFSET);
    FUZZ_CHECK(Get32(file, 18) == static_cast<uint32_t>(w) && Get32(file, 22) == static_cast<uint32_t>(h));
    FUZZ_CHECK(Get32(file, 34) == stride * h);
    for (uint32_t i = 0; i < 256; i++)
        FUZZ_CHECK(Get32(file, HEADERS + 4 * i) == (i | i << 8 | i << 16));
    for (int r = 0; r < h; r++) {
        const uint8_t* row = file.data() + PIXEL_OFFSET + stride * (h - 1 - r);
        for (size_t x = 0; x < stride; x++)
            FUZZ_CHECK(row[x] == (x < static_cast<size_t>(w) ? img[static_cast<size_t>(r) * w + x] : 0));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static MemoryFile file;
    FuzzBytes in(data, size);
    const uint8_t flags = in.U8();
    int w, h;
    if (flags & 1) {
        w = in.I32();
        h = in.I32();
    } else {
        w = in.Range16(FOLDED_LOW, FOLDED_HIGH);
        h = in.Range16(FOLDED_LOW, FOLDED_HIGH);
    }
    const bool valid = w >= MIN_SIDE && h >= MIN_SIDE;
    if (valid && static_cast<uint64_t>(w) * static_cast<uint64_t>(h) > MAX_PIXELS)
        return 0;
    split_harness::ResetLibrary(flags & 16, KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);

    // Exactly w x h bytes; a refused call gets one byte and must not read it.
    std::vector<uint8_t> image(valid ? static_cast<size_t>(w) * static_cast<size_t>(h) : 1);
    const uint8_t* rest = in.Rest();
    const size_t n = in.Left();
    for (size_t i = 0; i < image.size(); i++)
        image[i] = n ? rest[i % n] : static_cast<uint8_t>(i);

    const char* path = file.path;
    if (flags & 8)
        path = "/nonexistent-kovral-dir/finger.bmp";
    if (flags & 4)
        path = nullptr;
    uint8_t* img = (flags & 2) ? nullptr : image.data();
    file.Clear();

    const int rc = KOVRAL_SaveToBmp(img, w, h, path);
    if (img == nullptr || !valid || path == nullptr) {
        FUZZ_CHECK(rc == KOVRAL_EINVAL);
        FUZZ_CHECK(file.Read().empty());
    } else if (flags & 8) {
        FUZZ_CHECK(rc == KOVRAL_EFILE);
    } else {
        FUZZ_CHECK(rc == KOVRAL_OK);
        CheckFile(file.Read(), image.data(), w, h);
    }
    return 0;
}
