// Generated slaps of every size class, and splits through KOVRAL_DoSplit and
// through a splitter into buffers made ready for them: for the tests that
// split whole slaps and compare the results.
#ifndef KOVRAL_TESTS_SUPPORT_SPLIT_CASES_H
#define KOVRAL_TESTS_SUPPORT_SPLIT_CASES_H

#include <kovral.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "slapgen.h"

namespace split_cases {

struct SplitterDeleter
{
    void operator()(kovral_splitter* s) const { kovral_splitter_free(s); }
};
using Splitter = std::unique_ptr<kovral_splitter, SplitterDeleter>;

struct Case
{
    std::string what;
    slapgen::Slap slap;
    int outW, outH;
};

// Every size class: smallest and largest images, heights that are not whole
// blocks, finger buffers as wide as the image, as high as the rows used and
// higher than them, steep and tilted hands, no finger, more than four.
inline std::vector<Case> Cases()
{
    using slapgen::FourFingerHand;
    using slapgen::Generate;
    std::vector<Case> cases;
    auto add = [&](std::string what, const slapgen::SlapSpec& plan, int outW, int outH) {
        cases.push_back({std::move(what), Generate(plan), outW, outH});
    };
    add("upright right hand 1600 x 1000", FourFingerHand(1600, 1000, 0, true, 1), 320, 480);
    add("left hand leaning left 1600 x 1000", FourFingerHand(1600, 1000, 22, false, 2), 320, 480);
    add("largest image, leaning right", FourFingerHand(1600, 1500, -15, true, 4), 320, 480);
    slapgen::SlapSpec smallest;
    smallest.width = 256, smallest.height = 360, smallest.fingers = {{128, 180, 80, 190, 320}};
    add("smallest image, finger as wide", smallest, 256, 360);
    add("height 1000 not whole blocks, finger as high", FourFingerHand(1200, 1000, 10, true, 6), 256, 1000);
    add("finger as high as the rows used", FourFingerHand(1200, 1000, 10, false, 7), 256, 992);
    add("finger as wide as the image", FourFingerHand(800, 600, -20, true, 8), 800, 400);
    slapgen::SlapSpec low;
    low.width = 700, low.height = 367, low.fingers = {{200, 175, 88, 190, 320}, {480, 175, 97, 190, 320}};
    add("height 367, finger higher than its 352 rows", low, 256, 360);
    slapgen::SlapSpec steep;
    steep.width = 640, steep.height = 727, steep.fingers = {{300, 360, 150, 210, 360}};
    add("one steep finger", steep, 256, 400);
    slapgen::SlapSpec six;
    six.width = 1600, six.height = 900;
    for (int i = 0; i < 6; i++)
        six.fingers.push_back({150 + 260 * i, 420 + 30 * (i % 2), 88 + i % 3, 190, 340});
    add("six fingers", six, 256, 360);
    slapgen::SlapSpec empty;
    empty.width = 600, empty.height = 500;
    add("no finger", empty, 256, 360);
    return cases;
}

struct Result
{
    int rc = 0;
    int count = -1;
    std::vector<int> records;                 // x, y, angle, quality of each filled finger
    std::vector<std::vector<uint8_t>> images; // all four finger buffers
    bool operator==(const Result&) const = default;
};

constexpr uint8_t UNTOUCHED = 77;
constexpr int UNSET = -999; // x, y and angle of a record before a split; its quality is 200

// Ten finger buffers of outW x outH prefilled with `fill`, wired to ten preset
// records, and what KOVRAL_DoSplit last made of a slap in them. Movable, not
// copyable: the records point into the buffers.
struct LegacySplit
{
    int outW, outH;
    std::vector<std::vector<uint8_t>> pixels;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    int rc = 0, count = -1;

    LegacySplit(int w, int h, uint8_t fill = UNTOUCHED)
        : outW(w), outH(h), pixels(KOVRAL_MAX_RECORDS, std::vector<uint8_t>(size_t(w) * h, fill))
    {
        for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
            info[i] = {UNSET, UNSET, UNSET, 200, pixels[i].data()};
    }
    LegacySplit(LegacySplit&&) = default;
    LegacySplit(const LegacySplit&) = delete;

    // Splits a copy of the slap's pixels; returns the result code.
    int Split(const slapgen::Slap& slap, void* reserved = nullptr)
    {
        std::vector<uint8_t> image = slap.pixels;
        return rc = KOVRAL_DoSplit(image.data(), slap.width, slap.height, reserved, outW, outH, &count, info);
    }
};

inline Result SplitLegacy(const Case& c, void* reserved = nullptr)
{
    LegacySplit split(c.outW, c.outH);
    Result r;
    r.rc = split.Split(c.slap, reserved);
    r.count = split.count;
    for (int i = 0; i < r.count; i++)
        r.records.insert(r.records.end(),
                         {split.info[i].x, split.info[i].y, split.info[i].angle, split.info[i].quality});
    split.pixels.resize(KOVRAL_MAX_FINGERS);
    r.images = std::move(split.pixels);
    return r;
}

// Four finger buffers of outW x outH prefilled with UNTOUCHED, wired to four
// fingers, and what kovral_split with the exact locator last made of a slap in
// them. Movable, not copyable: the fingers point into the buffers.
struct SplitterSplit
{
    std::vector<std::vector<uint8_t>> images;
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    kovral_split_options options;
    int32_t count = -1;
    int rc = 0;

    SplitterSplit(int outW, int outH)
        : images(KOVRAL_MAX_FINGERS, std::vector<uint8_t>(size_t(outW) * outH, UNTOUCHED)),
          options{outW, outH, KOVRAL_LOCATOR_EXACT}
    {
        for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
            fingers[i].image = images[i].data();
    }
    SplitterSplit(SplitterSplit&&) = default;
    SplitterSplit(const SplitterSplit&) = delete;

    int Split(kovral_splitter* s, const slapgen::Slap& slap, kovral_slap_report* report = nullptr)
    {
        return rc = kovral_split(s, slap.pixels.data(), slap.width, slap.height, &options, fingers, &count, report);
    }
};

inline Result SplitOn(kovral_splitter* s, const Case& c, kovral_slap_report* report = nullptr)
{
    SplitterSplit split(c.outW, c.outH);
    Result r;
    r.rc = split.Split(s, c.slap, report);
    r.count = split.count;
    for (int i = 0; i < r.count; i++) {
        const kovral_finger& f = split.fingers[i];
        r.records.insert(r.records.end(), {f.x, f.y, f.angle, f.quality});
    }
    r.images = std::move(split.images);
    return r;
}

} // namespace split_cases

#endif
