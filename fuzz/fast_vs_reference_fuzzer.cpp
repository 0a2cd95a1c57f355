// The library's fast stages against their straightforward versions
// (tests/reference/): any difference in any output byte is a finding.
//
// Input, in order (see fuzz_bytes.h): stage u8 (% 4), then per stage
//   0 block texture: pixel step u8, base u8, then 16 x 16 pixels (raw, the
//     rest a two-level pattern from step and base)
//   1 finger cleaning: width u16 (1..480), height u16 (1..560), a fill u8,
//     then pixels
//   2 region measurement: block columns u8 (1..100), rows u8 (1..94), label
//     i8, angle search u8 (bit 0), four box fields i16, then the map
//     (block_map_input.h)
//   3 upright cut: image width u16 (256..900), height u16 (360..900), buffer
//     width u16, height u16 (at least 256 x 360, at most the image), bkGray
//     u8, count u8 (1..4), per finger box (four u16) and angle u8 (0..179),
//     then pixels (a repeated pattern past the input)
#include "block_map_input.h"
#include "direction/direction.h"
#include "extract/extract.h"
#include "fuzz_bytes.h"
#include "gray/gray.h"
#include "locate/locate.h"
#include "reference.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Pixels(FuzzBytes& in, int w, int h)
{
    Bytes img(static_cast<size_t>(w) * static_cast<size_t>(h));
    const size_t given = std::min(img.size(), in.Left());
    std::copy_n(in.Rest(), given, img.begin());
    for (size_t i = given; i < img.size(); i++)
        img[i]
            = given > 0 ? img[i % given] ^ static_cast<unsigned char>(i / given) : static_cast<unsigned char>(i * 37);
    return img;
}

void Texture(FuzzBytes& in)
{
    const int step = in.U8(), base = in.U8();
    Bytes block(16 * 16);
    for (size_t i = 0; i < block.size(); i++)
        block[i] = in.Left() > 0 ? in.U8() : static_cast<unsigned char>((i * 7919) % 3 ? base : base + step);
    FUZZ_CHECK(BlockDrct1(block.data(), 16, 16, 0, 0) == reference::BlockDrct1(block.data(), 16, 16, 0, 0));
}

void Cleaning(FuzzBytes& in)
{
    const int w = in.Range16(1, 480), h = in.Range16(1, 560);
    const unsigned char fill = in.U8();
    const Bytes img = Pixels(in, w, h);
    Bytes fast(img.size(), fill), slow(img.size(), static_cast<unsigned char>(~fill));
    FindTheFpGrad(img.data(), w, h, fast.data());
    reference::FindTheFpGrad(img.data(), w, h, slow.data());
    FUZZ_CHECK(fast == slow);
    FUZZ_CHECK(GetQuality(img.data(), w, h) == reference::GetQuality(img.data(), w, h));
}

void Measurement(FuzzBytes& in)
{
    const int w = in.Range8(1, FUZZ_MAX_MAP_W), h = in.Range8(1, FUZZ_MAX_MAP_H);
    const auto label = static_cast<signed char>(in.U8());
    const bool angle = in.U8() & 1;
    tagRECT start;
    start.left = static_cast<int16_t>(in.U16());
    start.top = static_cast<int16_t>(in.U16());
    start.right = static_cast<int16_t>(in.U16());
    start.bottom = static_cast<int16_t>(in.U16());
    std::vector<signed char> map = ReadBlockMap(in, w, h);
    tagRECT fast = start, slow = start;
    FUZZ_CHECK(GetFpPos(map.data(), w, h, label, &fast, angle)
               == reference::GetFpPos(map.data(), w, h, label, &slow, angle));
    FUZZ_CHECK(fast.left == slow.left && fast.top == slow.top && fast.right == slow.right
               && fast.bottom == slow.bottom);
    FUZZ_CHECK(GetRctXWidth(map.data(), w, h, label) == reference::GetRctXWidth(map.data(), w, h, label));
}

void Cut(FuzzBytes& in)
{
    const int w = in.Range16(256, 900), h = in.Range16(360, 900);
    const int outW = in.Range16(256, w), outH = in.Range16(360, h);
    const unsigned char bkGray = in.U8();
    const int n = in.Range8(1, 4);
    std::vector<tagRECT> boxes(n);
    std::vector<int> angles(n);
    for (int i = 0; i < n; i++) {
        boxes[i].left = in.Range16(0, w - 1);
        boxes[i].top = in.Range16(0, h - 1);
        boxes[i].right = boxes[i].left + in.Range16(0, 600);
        boxes[i].bottom = boxes[i].top + in.Range16(0, 700);
        angles[i] = in.Range8(0, 179);
    }
    Bytes img = Pixels(in, w, h);
    std::vector<signed char> work(static_cast<size_t>(w / 16) * ((h + 15) / 16));
    for (size_t i = 0; i < work.size(); i++)
        work[i] = static_cast<signed char>(img[i] % 5 == 0 ? 9 + img[i] % 4 : 0);
    std::vector<signed char> labels = {9, 10, 11, 12};
    std::vector<Bytes> fast(n, Bytes(static_cast<size_t>(outW) * outH, 77)), slow = fast;
    std::vector<unsigned char*> fastPtr(n), slowPtr(n);
    for (int i = 0; i < n; i++)
        fastPtr[i] = fast[i].data(), slowPtr[i] = slow[i].data();
    std::vector<tagRECT> fastBoxes = boxes, slowBoxes = boxes;
    std::vector<tagPOINT> fastCentres(n), slowCentres(n);
    const int a = GetRoatedFp(img.data(), w, h, work.data(), n, fastBoxes.data(), angles.data(), labels.data(),
                              bkGray, fastPtr.data(), outW, outH, fastCentres.data());
    const int b = reference::GetRoatedFp(img.data(), w, h, work.data(), n, slowBoxes.data(), angles.data(),
                                         labels.data(), bkGray, slowPtr.data(), outW, outH, slowCentres.data());
    FUZZ_CHECK(a == b);
    FUZZ_CHECK(fast == slow);
    for (int i = 0; i < n; i++)
        FUZZ_CHECK(fastCentres[i].x == slowCentres[i].x && fastCentres[i].y == slowCentres[i].y
                   && fastBoxes[i].right == slowBoxes[i].right && fastBoxes[i].bottom == slowBoxes[i].bottom);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzBytes in(data, size);
    switch (in.U8() % 4) {
    case 0:
        Texture(in);
        break;
    case 1:
        Cleaning(in);
        break;
    case 2:
        Measurement(in);
        break;
    default:
        Cut(in);
        break;
    }
    return 0;
}
