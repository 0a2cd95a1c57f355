// kovral-split run as a user runs it, on generated slaps written at test time:
// its JSON and finger images against the library's own results, batches with
// bad files, refusal to overwrite, finger sizes and the bundled sample.
#include "image_decoding.h"
#include "image_encoding.h"

#include <kovral.h>
#include <nlohmann/json.hpp>
#include <slapgen.h>
#include <stb/stb_image.h>

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct RunResult
{
    int status = -1;
    std::string out;
    std::string err;
};

std::string ReadText(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

json ReadJson(const fs::path& path)
{
    return json::parse(ReadText(path), nullptr, false);
}

// What the library itself gives for an image, and its finger images as BMP files.
struct LibraryResult
{
    int result = 0;
    int count = 0;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    std::vector<uint8_t> buffers;
    int judgement = KOVRAL_EINVAL;
};

LibraryResult LibrarySplit(kovral_split::GrayImage image, int fw, int fh)
{
    LibraryResult r;
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    r.buffers.resize(static_cast<size_t>(fw) * fh * KOVRAL_MAX_RECORDS);
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        r.info[i].pFpImg = r.buffers.data() + static_cast<size_t>(fw) * fh * i;
    r.result = KOVRAL_DoSplit(image.pixels.data(), image.width, image.height, nullptr, fw, fh, &r.count, r.info);
    if (r.result == KOVRAL_OK && r.count == 4)
        r.judgement = KOVRAL_JudegeFingers(r.count, r.info);
    return r;
}

class SplitTool : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = fs::path(KOVRAL_TOOL_TEST_DIR) / (std::string(test->test_suite_name()) + "." + test->name());
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }

    // Runs the tool in the test's directory; its output goes to files beside it.
    RunResult Run(const std::vector<std::string>& args)
    {
        fs::path out = dir_.string() + ".stdout", err = dir_.string() + ".stderr";
        pid_t pid = fork();
        if (pid == 0)
        {
            std::vector<char*> argv{const_cast<char*>(KOVRAL_SPLIT_EXE)};
            for (const std::string& arg : args)
                argv.push_back(const_cast<char*>(arg.c_str()));
            argv.push_back(nullptr);
            int o = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            int e = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (chdir(dir_.c_str()) != 0 || o < 0 || e < 0 || dup2(o, 1) < 0 || dup2(e, 2) < 0)
                _exit(126);
            execv(argv[0], argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(out), ReadText(err)};
    }

    // A four-finger slap, written in the format of the file's extension.
    slapgen::Slap WriteSlap(const std::string& file, int w, int h, int tilt, bool right, uint32_t seed)
    {
        slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(w, h, tilt, right, seed));
        Write(file, slap);
        return slap;
    }

    void Write(const std::string& file, const slapgen::Slap& slap)
    {
        fs::create_directories((dir_ / file).parent_path());
        std::string error;
        ASSERT_TRUE(kovral_split::WriteGrayImageFile((dir_ / file).string(), slap.pixels.data(), slap.width,
                                                     slap.height, error)) << error;
    }

    // The summary and finger files of slap name agree with the library's split of input.
    void ExpectLibraryResults(const std::string& input, const std::string& name,
                              std::optional<kovral_split::PixelSize> raw = std::nullopt)
    {
        SCOPED_TRACE(input);
        kovral_split::GrayImage image;
        std::string error;
        ASSERT_TRUE(kovral_split::DecodeImageFile((dir_ / input).string(), raw, image, error)) << error;
        json summary = ReadJson(dir_ / "kovral-out" / (name + ".json"));
        ASSERT_TRUE(summary.is_object());
        int fw = summary["finger_width"], fh = summary["finger_height"];
        LibraryResult lib = LibrarySplit(image, fw, fh);
        EXPECT_EQ(summary["input"], input);
        EXPECT_EQ(summary["width"], image.width);
        EXPECT_EQ(summary["height"], image.height);
        EXPECT_EQ(summary["result"], lib.result);
        ASSERT_EQ(summary["count"], lib.count);
        EXPECT_GT(lib.count, 0) << "a generated slap should give fingers";
        ASSERT_EQ(summary["fingers"].size(), static_cast<size_t>(lib.count));
        for (int i = 0; i < lib.count; i++)
        {
            const json& f = summary["fingers"][i];
            EXPECT_EQ(f["position"], i + 1);
            EXPECT_EQ(f["x"], lib.info[i].x);
            EXPECT_EQ(f["y"], lib.info[i].y);
            EXPECT_EQ(f["angle"], lib.info[i].angle);
            EXPECT_EQ(f["quality"], lib.info[i].quality);
            std::string file = name.substr(name.rfind('/') + 1) + "_finger" + std::to_string(i + 1) + ".bmp";
            EXPECT_EQ(f["file"], file);
            fs::path expected = dir_ / "expected.bmp";
            KOVRAL_SaveToBmp(lib.info[i].pFpImg, fw, fh, expected.c_str());
            EXPECT_EQ(ReadText(dir_ / "kovral-out" / fs::path(name).parent_path() / file), ReadText(expected))
                << "finger " << i + 1;
        }
        EXPECT_EQ(summary.contains("hand"), lib.count == 4);
        if (lib.count == 4)
        {
            EXPECT_EQ(summary["hand"]["judgement"], lib.judgement);
        }
    }

    fs::path dir_;
};

TEST_F(SplitTool, EveryInputFormatAgreesWithTheLibrary)
{
    // Each format carries a different hand, so that a mixed-up file would show.
    WriteSlap("right.png", 1600, 1000, 0, true, 11);
    WriteSlap("left.bmp", 1400, 900, -12, false, 12);
    WriteSlap("tilted.pgm", 1600, 1100, 15, true, 13);
    WriteSlap("small.tga", 1200, 800, 5, false, 14);
    WriteSlap("lossy.jpg", 1600, 1000, 8, true, 15);
    WriteSlap("bare.raw", 1300, 900, -5, true, 16);
    // Colour with equal channels is the same gray.
    slapgen::Slap colourSource = slapgen::Generate(slapgen::FourFingerHand(1500, 1000, 0, true, 17));
    std::vector<uint8_t> rgb;
    for (uint8_t v : colourSource.pixels)
        rgb.insert(rgb.end(), {v, v, v});
    ASSERT_TRUE(kovral_split::WritePng((dir_ / "colour.png").string(), rgb.data(), 1500, 1000, 3));

    RunResult run = Run({"right.png", "left.bmp", "tilted.pgm", "small.tga", "lossy.jpg", "bare.raw", "colour.png",
                         "--size", "1300x900", "-j", "2"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    for (const char* input : {"right.png", "left.bmp", "tilted.pgm", "small.tga", "lossy.jpg", "colour.png"})
        ExpectLibraryResults(input, fs::path(input).stem().string());
    ExpectLibraryResults("bare.raw", "bare", kovral_split::PixelSize{1300, 900});
}

TEST_F(SplitTool, PngFingersAndOverlay)
{
    slapgen::Slap slap = WriteSlap("slap.pgm", 1600, 1000, 10, true, 21);
    RunResult run = Run({"slap.pgm", "--format", "png", "--overlay", "-o", "out"});
    ASSERT_EQ(run.status, 0) << run.err;
    json summary = ReadJson(dir_ / "out" / "slap.json");
    LibraryResult lib = LibrarySplit({slap.width, slap.height, slap.pixels}, 320, 480);
    ASSERT_EQ(summary["count"], lib.count);
    for (int i = 0; i < lib.count; i++)
    {
        kovral_split::GrayImage finger;
        std::string error;
        ASSERT_TRUE(kovral_split::DecodeImageFile((dir_ / "out" / summary["fingers"][i]["file"]).string(),
                                                  std::nullopt, finger, error)) << error;
        EXPECT_EQ(finger.pixels, std::vector<uint8_t>(lib.info[i].pFpImg, lib.info[i].pFpImg + 320 * 480));
    }

    // The overlay is 800 pixels wide, and every finger's centre is marked in colour.
    int w = 0, h = 0, channels = 0;
    std::string png = ReadText(dir_ / "out" / "slap_overlay.png");
    uint8_t* rgb = stbi_load_from_memory(reinterpret_cast<const uint8_t*>(png.data()), static_cast<int>(png.size()),
                                         &w, &h, &channels, 3);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(w, 800);
    EXPECT_EQ(h, 500);
    for (int i = 0; i < lib.count; i++)
    {
        const uint8_t* p = rgb + (static_cast<size_t>(lib.info[i].y / 2) * w + lib.info[i].x / 2) * 3;
        EXPECT_FALSE(p[0] == p[1] && p[1] == p[2]) << "centre of finger " << i + 1 << " is not marked";
    }
    stbi_image_free(rgb);
}

TEST_F(SplitTool, BatchGoesOnPastBadFiles)
{
    WriteSlap("scans/a.png", 1600, 1000, 0, true, 31);
    WriteSlap("scans/b.pgm", 1600, 1000, -8, false, 32);
    WriteSlap("scans/visit2/c.bmp", 1500, 1000, 6, true, 33);
    std::string png = ReadText(dir_ / "scans/a.png");
    std::ofstream(dir_ / "scans/broken.png", std::ios::binary) << png.substr(0, png.size() / 2);
    std::ofstream(dir_ / "scans/notes.png") << "not a picture\n";
    Write("scans/tiny.pgm", {200, 300, std::vector<uint8_t>(200 * 300, 128), {}});

    RunResult run = Run({"scans", "missing.png", "-r", "-j", "2"});
    EXPECT_EQ(run.status, 1);
    // One line per bad file, naming it and the reason.
    for (const char* line : {"kovral-split: scans/broken.png: corrupt PNG",
                             "kovral-split: scans/notes.png: not a PNG, BMP, PGM, JPEG or TGA image",
                             "kovral-split: scans/tiny.pgm: image is 200 x 300 pixels",
                             "kovral-split: missing.png: cannot open: No such file or directory"})
        EXPECT_NE(run.err.find(line), std::string::npos) << line << " not in:\n" << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 4);
    // Every good slap is written, the bad ones leave nothing.
    for (const char* name : {"a", "b", "visit2/c"})
    {
        json summary = ReadJson(dir_ / "kovral-out" / (std::string(name) + ".json"));
        ASSERT_TRUE(summary.is_object()) << name;
        EXPECT_GT(summary["count"], 0) << name;
        for (const json& finger : summary["fingers"])
            EXPECT_TRUE(fs::exists(dir_ / "kovral-out" / fs::path(name).parent_path() / finger["file"]));
    }
    for (const char* name : {"broken.json", "notes.json", "tiny.json", "missing.json"})
        EXPECT_FALSE(fs::exists(dir_ / "kovral-out" / name)) << name;
    // Plain log lines (not a terminal), then the summary line.
    EXPECT_NE(run.out.find("/7] scans/a.png: "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("kovral-split: 7 files, "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(" fingers found, 4 failures, "), std::string::npos) << run.out;
}

TEST_F(SplitTool, OverwritesOnlyWithForce)
{
    WriteSlap("slap.png", 1600, 1000, 0, true, 41);
    ASSERT_EQ(Run({"slap.png"}).status, 0);
    std::ofstream(dir_ / "kovral-out/slap.json") << "earlier result";
    std::string finger = ReadText(dir_ / "kovral-out/slap_finger1.bmp");

    RunResult again = Run({"slap.png"});
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.err.find("slap.png: kovral-out/slap.json exists (--force replaces it)"), std::string::npos)
        << again.err;
    EXPECT_EQ(ReadText(dir_ / "kovral-out/slap.json"), "earlier result");

    // A forced run replaces everything, and fingers the new result does not have go.
    slapgen::SlapSpec two = slapgen::FourFingerHand(1600, 1000, 0, true, 41);
    two.fingers.resize(2);
    Write("slap.png", slapgen::Generate(two));
    RunResult forced = Run({"slap.png", "--force"});
    EXPECT_EQ(forced.status, 0) << forced.err;
    json summary = ReadJson(dir_ / "kovral-out/slap.json");
    ASSERT_TRUE(summary.is_object());
    int count = summary["count"];
    EXPECT_LT(count, 4);
    for (int position = count + 1; position <= 4; position++)
        EXPECT_FALSE(fs::exists(dir_ / ("kovral-out/slap_finger" + std::to_string(position) + ".bmp")));
}

TEST_F(SplitTool, FingerSizes)
{
    WriteSlap("big.png", 1600, 1000, 0, true, 51);
    Write("narrow.pgm", {300, 420, std::vector<uint8_t>(300 * 420, 200), {}});

    // The default shrinks to a smaller image.
    EXPECT_EQ(Run({"narrow.pgm"}).status, 0);
    json narrow = ReadJson(dir_ / "kovral-out/narrow.json");
    EXPECT_EQ(narrow["finger_width"], 300);
    EXPECT_EQ(narrow["finger_height"], 420);

    // A given size is used as it is ...
    RunResult big = Run({"big.png", "--finger-size", "400x560"});
    EXPECT_EQ(big.status, 0) << big.err;
    ExpectLibraryResults("big.png", "big");
    EXPECT_EQ(ReadJson(dir_ / "kovral-out/big.json")["finger_width"], 400);

    // ... or refused: for an image it does not fit, or outright when the library never takes it.
    RunResult tooLarge = Run({"narrow.pgm", "--finger-size", "400x560", "--force"});
    EXPECT_EQ(tooLarge.status, 1);
    EXPECT_NE(tooLarge.err.find("narrow.pgm: finger size 400x560 is larger than the 300 x 420 image"),
              std::string::npos) << tooLarge.err;
    RunResult tooSmall = Run({"big.png", "--finger-size", "200x480"});
    EXPECT_EQ(tooSmall.status, 2);
    EXPECT_NE(tooSmall.err.find("finger images are 256..1600 x 360..1500"), std::string::npos) << tooSmall.err;
}

TEST_F(SplitTool, BundledSampleAndCommandLine)
{
    RunResult sample = Run({});
    EXPECT_EQ(sample.status, 0) << sample.err;
    EXPECT_NE(sample.out.find("Results in " + (dir_ / "kovral-out").string()), std::string::npos) << sample.out;
    json summary = ReadJson(dir_ / "kovral-out/sample.json");
    ASSERT_TRUE(summary.is_object());
    EXPECT_EQ(summary["count"], 4);
    EXPECT_TRUE(fs::exists(dir_ / "kovral-out/sample_overlay.png"));

    struct Row
    {
        std::vector<std::string> args;
        int status;
        const char* text;   // in standard output or error
    };
    const Row rows[] = {
        {{"--version"}, 0, "kovral-split 1.0.0 (libkovral 1.0.0)"},
        {{"--help"}, 0, "Examples:"},
        {{"--jobs", "0", "x.png"}, 2, "--jobs"},
        {{"--format", "tiff", "x.png"}, 2, "--format"},
        {{"--size", "12", "x.raw"}, 2, "expected WIDTHxHEIGHT"},
        {{"--frobnicate"}, 2, "frobnicate"},
    };
    for (const Row& row : rows)
    {
        RunResult run = Run(row.args);
        EXPECT_EQ(run.status, row.status) << row.args[0];
        EXPECT_NE((run.out + run.err).find(row.text), std::string::npos) << row.args[0] << ":\n" << run.out << run.err;
    }
}

} // namespace
