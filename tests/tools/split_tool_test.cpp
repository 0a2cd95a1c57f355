// kovral-split run as a user runs it, on generated slaps written at test time:
// its JSON and finger images against the library's own results, a batch with
// bad files, refusal to overwrite, finger sizes and the bundled sample; and
// the worker processes behind -j.
#include "image_decoding.h"
#include "image_encoding.h"
#include "slap_outputs.h"
#include "worker_pool.h"

#include <slapgen.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Raw inputs of these tests are of this size.
constexpr kovral_tool::PixelSize kRawSize{1300, 900};

std::string Read(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class SplitTool : public ::testing::Test
{
protected:
    void SetUp() override { fs::remove_all(dir_); }

    // Runs the tool in the test's directory; returns its exit status, keeps its output in out_ and err_.
    int Run(const std::string& args)
    {
        std::string command = "mkdir -p " + dir_.string() + " && cd " + dir_.string() + " && " KOVRAL_SPLIT_EXE " "
            + args + " >stdout 2>stderr";
        int status = std::system(command.c_str());
        out_ = Read(dir_ / "stdout");
        err_ = Read(dir_ / "stderr");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Writes a generated hand (left for odd seeds), of its first fingers only if asked, in the format
    // of the file's extension; ".rgb.png" is a colour PNG with three equal channels.
    void Write(const std::string& file, int w, int h, int tilt, uint32_t seed, size_t fingers = 4)
    {
        slapgen::SlapSpec plan = slapgen::FourFingerHand(w, h, tilt, seed % 2 == 0, seed);
        plan.fingers.resize(fingers);
        slapgen::Slap slap = slapgen::Generate(plan);
        std::vector<uint8_t> rgb;
        for (size_t i = 0; file.ends_with(".rgb.png") && i < slap.pixels.size(); i++)
            rgb.insert(rgb.end(), 3, slap.pixels[i]);
        fs::create_directories((dir_ / file).parent_path());
        std::string error, path = (dir_ / file).string();
        ASSERT_TRUE(rgb.empty() ? kovral_tool::WriteGrayImageFile(path, {w, h, slap.pixels}, error)
                                : kovral_io::WriteFile(path, kovral_io::EncodeRgbPng(rgb.data(), w, h), error))
            << error;
    }

    // The summary and finger images of slap name are the library's own split of input at the
    // given finger size, and no finger image beyond the count is left.
    void ExpectLibraryResults(const std::string& input, const std::string& name,
                              kovral_tool::PixelSize size = kovral_tool::kDefaultFingerSize)
    {
        SCOPED_TRACE(input);
        kovral_tool::GrayImage image;
        std::string error;
        ASSERT_TRUE(kovral_tool::DecodeImageFile((dir_ / input).string(), kRawSize, image, error)) << error;
        const size_t bytes = static_cast<size_t>(size.width) * size.height;
        std::vector<uint8_t> buffers(bytes * KOVRAL_MAX_RECORDS);
        KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
        for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
            info[i].pFpImg = buffers.data() + bytes * i;
        int count = 0;
        KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
        int result = KOVRAL_DoSplit(image.pixels.data(), image.width, image.height, nullptr, size.width, size.height,
                                    &count, info);
        ASSERT_GT(count, 0) << "a generated slap gives fingers";
        json got = json::parse(Read(dir_ / "kovral-out" / (name + ".json")));
        json want = {{"input", input},
                     {"width", image.width},
                     {"height", image.height},
                     {"finger_width", size.width},
                     {"finger_height", size.height},
                     {"result", result},
                     {"count", count},
                     {"fingers", json::array()}};
        if (count == kovral_tool::kMaxFingers) // the meaning is only words for the judgement
            want["hand"] = {{"judgement", KOVRAL_JudegeFingers(count, info)}, {"meaning", got["hand"]["meaning"]}};
        auto finger
            = [&](int i) { return dir_ / "kovral-out" / (name + "_finger" + std::to_string(i + 1) + ".bmp"); };
        for (int i = 0; i < count; i++) {
            want["fingers"].push_back({{"position", i + 1},
                                       {"x", info[i].x},
                                       {"y", info[i].y},
                                       {"angle", info[i].angle},
                                       {"quality", info[i].quality},
                                       {"file", finger(i).filename().string()}});
            KOVRAL_SaveToBmp(info[i].pFpImg, size.width, size.height, (dir_ / "expected.bmp").c_str());
            EXPECT_TRUE(Read(finger(i)) == Read(dir_ / "expected.bmp")) << finger(i);
        }
        EXPECT_FALSE(fs::exists(finger(count))) << finger(count);
        // A 500 ppi image is split as it is: its boxes are the library's corners as they are. Finger
        // positions and the slap's placement fields are checked on fingerprint files.
        EXPECT_EQ(got["resolution"]["scale"], 1.0);
        for (int i = 0; i < count && i < int(got["fingers"].size()); i++) {
            json& f = got["fingers"][size_t(i)];
            tagPOINT c[4];
            ASSERT_EQ(kovral_finger_corners(image.width, image.height, size.width, size.height, info[i].x, info[i].y,
                                            info[i].angle, c),
                      KOVRAL_OK);
            EXPECT_EQ(f["box"],
                      json({{"bl", {c[2].x, c[2].y}},
                            {"br", {c[3].x, c[3].y}},
                            {"tl", {c[0].x, c[0].y}},
                            {"tr", {c[1].x, c[1].y}}}));
            f.erase("box");
            f.erase("fgp");
        }
        for (const char* key : {"source", "resolution", "fgp_from", "fgp_reason", "hand_mismatch"})
            got.erase(key);
        EXPECT_EQ(got, want);
    }

    fs::path dir_ = fs::path(KOVRAL_TOOL_TEST_DIR) / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::string out_, err_;
};

TEST_F(SplitTool, EveryFormatInABatchWithBadFiles)
{
    // Each format carries a different hand, so that a mixed-up file would show; colour is gray in three
    // equal channels. Outputs are named after the file (with the extension where names clash: right.raw
    // sorts after right.png), in the subdirectory it came from.
    const std::tuple<std::string, std::string, int, int, int> rows[]
        = {{"right.png", "right", 1600, 1000, 0},
           {"left.bmp", "left", 1400, 900, -12},
           {"tilted.pgm", "tilted", 1600, 1100, 15},
           {"small.png", "small", 1200, 800, 5},
           {"lossy.jpg", "lossy", 1600, 1000, 8},
           {"right.raw", "right-raw", 1300, 900, -5},
           {"visit2/colour.rgb.png", "visit2/colour.rgb", 1500, 1000, 0}};
    for (const auto& [file, name, w, h, tilt] : rows)
        Write("scans/" + file, w, h, tilt, w + h + tilt);
    std::string png = Read(dir_ / "scans/right.png");
    std::ofstream(dir_ / "scans/broken.png", std::ios::binary) << png.substr(0, png.size() / 2);
    // Empty files a directory does not give: other extensions, hidden files and directories.
    std::system(("cd " + dir_.string()
                 + " && mkdir -p scans/.git empty && touch scans/notes.txt scans/.hidden.png "
                   "scans/.git/x.png empty/.hidden.png")
                    .c_str());

    EXPECT_EQ(Run("scans missing.png empty -r -j 2 --size 1300x900 --locator exact"), 1);
    // One line per bad input, naming it and the reason; every good slap is written, the bad ones leave nothing.
    EXPECT_EQ(err_,
              "kovral-split: empty: no image files in this folder tree\n"
              "kovral-split: scans/broken.png: truncated PNG: end of stream\n"
              "kovral-split: missing.png: cannot open: No such file or directory\n");
    for (const auto& [file, name, w, h, tilt] : rows)
        ExpectLibraryResults("scans/" + file, name);
    EXPECT_FALSE(fs::exists(dir_ / "kovral-out/broken.json"));
}

TEST_F(SplitTool, FingerSizesAndForce)
{
    Write("big.png", 1600, 1000, 0, 52);
    Write("low.pgm", 1600, 470, 0, 52);
    // The default finger size shrinks to a lower image; a given one is used as it is, down to the smallest.
    EXPECT_EQ(Run("low.pgm --locator exact"), 0) << err_;
    ExpectLibraryResults("low.pgm", "low", {320, 470});
    EXPECT_EQ(Run("big.png --finger-size 256x360 --locator exact"), 0) << err_;
    ExpectLibraryResults("big.png", "big", {256, 360});

    // Refused, writing nothing: replacing a finger image without --force, a given finger size larger
    // than the image, and one the library never takes.
    fs::remove(dir_ / "kovral-out/big.json");
    const std::string limits = ": finger images are 256..1600 x 360..1500 pixels";
    const std::tuple<std::string, int, std::string> refused[] = {
        {"big.png", 1, "big.png: kovral-out/big_finger1.bmp is left from an unfinished run (--force replaces it)"},
        {"low.pgm -f --finger-size 320x480", 1, "low.pgm: finger size 320x480 is larger than the 1600 x 470 image"},
        {"big.png --finger-size 255x360", 2, "--finger-size 255x360" + limits},
        {"big.png --finger-size 1600x1501", 2, "--finger-size 1600x1501" + limits}};
    for (const auto& [args, status, error] : refused) {
        EXPECT_EQ(Run(args), status) << args;
        EXPECT_EQ(err_, "kovral-split: " + error + "\n");
    }
    EXPECT_FALSE(fs::exists(dir_ / "kovral-out/big.json"));

    // A forced run replaces everything, and finger images the new result does not have go.
    Write("big.png", 1600, 1000, 0, 52, 2);
    EXPECT_EQ(Run("big.png --force --locator exact"), 0) << err_;
    ExpectLibraryResults("big.png", "big");
}

TEST_F(SplitTool, BundledSample)
{
    EXPECT_EQ(Run(""), 0) << err_;
    EXPECT_NE(out_.find("Results in " + (dir_ / "kovral-out").string()), std::string::npos) << out_;
    EXPECT_EQ(json::parse(Read(dir_ / "kovral-out/sample.json"))["count"], 4);
    for (const char* file : {"sample_finger4.bmp", "sample_overlay.png"})
        EXPECT_TRUE(fs::exists(dir_ / "kovral-out" / file)) << file;
}

// By default the fingers are kovral_split's with the accurate locator, and
// the summary carries their confidence and flags, the hand and the
// deficiencies; a locator name the tool does not know is a usage error.
TEST_F(SplitTool, AccurateLocator)
{
    Write("right.png", 1600, 1000, 0, 61);
    EXPECT_EQ(Run("right.png"), 0) << err_;
    json got = json::parse(Read(dir_ / "kovral-out/right.json"));
    EXPECT_EQ(got["locator"], "accurate");
    EXPECT_TRUE(got["deficiencies"].is_array());

    kovral_tool::GrayImage image;
    std::string error;
    ASSERT_TRUE(kovral_tool::DecodeImageFile((dir_ / "right.png").string(), kRawSize, image, error)) << error;
    const kovral_tool::PixelSize size = kovral_tool::kDefaultFingerSize;
    std::vector<std::vector<uint8_t>> buffers(KOVRAL_MAX_FINGERS, std::vector<uint8_t>(size.width * size.height));
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
        fingers[i].image = buffers[static_cast<size_t>(i)].data();
    const kovral_split_options options{size.width, size.height, KOVRAL_LOCATOR_ACCURATE};
    kovral_splitter* splitter = kovral_splitter_new(image.width, image.height);
    int count = 0;
    kovral_slap_report report = {};
    ASSERT_EQ(
        kovral_split(splitter, image.pixels.data(), image.width, image.height, &options, fingers, &count, &report),
        KOVRAL_OK);
    kovral_splitter_free(splitter);
    ASSERT_EQ(got["count"], count);
    EXPECT_EQ(got["hand"]["layout"], report.hand == KOVRAL_HAND_RIGHT ? "right four" : "left four");
    EXPECT_EQ(got["hand"]["confidence"], report.hand_confidence);
    for (int i = 0; i < count; i++) {
        const json& f = got["fingers"][static_cast<size_t>(i)];
        EXPECT_EQ(f["x"], fingers[i].x);
        EXPECT_EQ(f["y"], fingers[i].y);
        EXPECT_EQ(f["angle"], fingers[i].angle);
        EXPECT_EQ(f["confidence"], fingers[i].confidence);
        KOVRAL_SaveToBmp(fingers[i].image, size.width, size.height, (dir_ / "expected.bmp").c_str());
        EXPECT_TRUE(Read(dir_ / "kovral-out" / ("right_finger" + std::to_string(i + 1) + ".bmp"))
                    == Read(dir_ / "expected.bmp"))
            << i;
    }

    EXPECT_EQ(Run("right.png --locator best"), 2);
}

// Every task reported once, with what its worker found, and a crash that costs only its own task.
TEST(WorkerPool, CrashCostsOnlyItsTask)
{
    const pid_t parent = getpid();
    const std::string crash = "the worker process was killed by signal " + std::to_string(SIGABRT);
    std::vector<std::string> got(6); // a task reported twice shows twice
    kovral_tool::RunInWorkers(
        got.size(), 2,
        [&](size_t i) {
            if (i == 1 || i == 4)
                std::abort();
            return kovral_tool::TaskOutcome{getpid() != parent, static_cast<int>(i), " fingers"};
        },
        [&](size_t i, const kovral_tool::TaskOutcome& o) {
            got[i] += o.ok ? std::to_string(o.fingers) + o.message : o.message.substr(0, crash.size());
        },
        [] {});
    EXPECT_EQ(got, (std::vector<std::string>{"0 fingers", crash, "2 fingers", "3 fingers", crash, "5 fingers"}));
}

} // namespace
