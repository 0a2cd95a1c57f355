// _kovral_testing: what the Python tests compare kovral with, straight from
// C++: generated slaps, and splits through the C API without any Python in
// between.
#include <kovral.h>
#include <slapgen.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <stdexcept>
#include <vector>

namespace py = pybind11;

namespace {

using Pixels = py::array_t<uint8_t, py::array::c_style | py::array::forcecast>;

// (x, y, angle, quality, confidence, flags, finger bytes) of one finger.
using FingerRecord = std::tuple<int, int, int, int, int, unsigned, py::bytes>;

py::array_t<uint8_t> FourFingerHand(int width, int height, int tilt, bool rightHand, uint32_t seed, int noise)
{
    slapgen::SlapSpec plan = slapgen::FourFingerHand(width, height, tilt, rightHand, seed);
    if (noise >= 0)
        plan.noise = noise;
    slapgen::Slap slap = slapgen::Generate(plan);
    py::array_t<uint8_t> out({slap.height, slap.width});
    std::copy(slap.pixels.begin(), slap.pixels.end(), out.mutable_data());
    return out;
}

// kovral_split on a splitter of the image's size: (result, fingers).
std::pair<int, std::vector<FingerRecord>> CSplit(Pixels image, int fingerWidth, int fingerHeight, int locator)
{
    int width = static_cast<int>(image.shape(1));
    int height = static_cast<int>(image.shape(0));
    kovral_splitter* splitter = kovral_splitter_new(width, height);
    if (!splitter)
        throw std::runtime_error("kovral_splitter_new failed");
    size_t bytes = static_cast<size_t>(fingerWidth) * fingerHeight;
    std::vector<uint8_t> buffers(bytes * KOVRAL_MAX_FINGERS);
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        fingers[i].image = buffers.data() + bytes * i;
    kovral_split_options options{fingerWidth, fingerHeight, locator};
    int32_t count = 0;
    int result = kovral_split(splitter, image.data(), width, height, &options, fingers, &count, nullptr);
    kovral_splitter_free(splitter);
    std::vector<FingerRecord> out;
    for (int i = 0; result == KOVRAL_OK && i < count; i++) {
        const kovral_finger& f = fingers[i];
        out.emplace_back(f.x, f.y, f.angle, f.quality, f.confidence, f.flags,
                         py::bytes(reinterpret_cast<const char*>(f.image), bytes));
    }
    return {result, out};
}

// KOVRAL_DoSplit as a C program calls it: (result, fingers).
std::pair<int, std::vector<FingerRecord>> LegacySplit(Pixels image, int fingerWidth, int fingerHeight)
{
    int width = static_cast<int>(image.shape(1));
    int height = static_cast<int>(image.shape(0));
    size_t bytes = static_cast<size_t>(fingerWidth) * fingerHeight;
    std::vector<uint8_t> buffers(bytes * KOVRAL_MAX_RECORDS);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers.data() + bytes * i;
    std::vector<uint8_t> pixels(image.data(), image.data() + image.size());
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    int count = 0;
    int result = KOVRAL_DoSplit(pixels.data(), width, height, nullptr, fingerWidth, fingerHeight, &count, info);
    KOVRAL_Uninit();
    std::vector<FingerRecord> out;
    for (int i = 0; result == KOVRAL_OK && i < count; i++)
        out.emplace_back(info[i].x, info[i].y, info[i].angle, info[i].quality, 100, 0u,
                         py::bytes(reinterpret_cast<const char*>(info[i].pFpImg), bytes));
    return {result, out};
}

// Seconds per kovral_split of image on one splitter, repeated in C++.
double TimeCSplit(Pixels image, int fingerWidth, int fingerHeight, int repeats)
{
    int width = static_cast<int>(image.shape(1));
    int height = static_cast<int>(image.shape(0));
    kovral_splitter* splitter = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    if (!splitter)
        throw std::bad_alloc();
    size_t bytes = static_cast<size_t>(fingerWidth) * fingerHeight;
    std::vector<uint8_t> buffers(bytes * KOVRAL_MAX_FINGERS);
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        fingers[i].image = buffers.data() + bytes * i;
    kovral_split_options options{fingerWidth, fingerHeight, KOVRAL_LOCATOR_EXACT};
    py::gil_scoped_release released;
    auto start = std::chrono::steady_clock::now();
    for (int r = 0; r < repeats; r++) {
        int32_t count = 0;
        kovral_split(splitter, image.data(), width, height, &options, fingers, &count, nullptr);
    }
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    kovral_splitter_free(splitter);
    return elapsed.count() / repeats;
}

} // namespace

PYBIND11_MODULE(_kovral_testing, m)
{
    m.def("four_finger_hand", &FourFingerHand, py::arg("width") = 1600, py::arg("height") = 1000, py::arg("tilt") = 0,
          py::arg("right_hand") = true, py::arg("seed") = 1, py::arg("noise") = -1);
    m.def("c_split", &CSplit, py::arg("image"), py::arg("finger_width"), py::arg("finger_height"),
          py::arg("locator") = 0);
    m.def("legacy_split", &LegacySplit, py::arg("image"), py::arg("finger_width"), py::arg("finger_height"));
    m.def("time_c_split", &TimeCSplit, py::arg("image"), py::arg("finger_width") = 320,
          py::arg("finger_height") = 480, py::arg("repeats") = 50);
}
