// One worker's run of slaps through a single workspace (reused splitter,
// finger buffers and reader memory) against the straightforward road taken
// for every slap afresh: a new decode, the legacy split into ten zeroed
// buffers, each finger copied out and encoded. Every output byte is equal.
#include "image_encoding.h"
#include "overlay_drawing.h"
#include "slap_job.h"
#include "slap_outputs.h"
#include "slap_sources.h"

#include <slapgen.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace {

namespace fs = std::filesystem;
using namespace kovral_tool;
using Files = std::map<std::string, std::string>;

std::string ReadFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string Text(const std::vector<uint8_t>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The outputs of input, by path, as the tool wrote them before it reused
// anything; empty when the slap is not written at all.
Files Reference(const Options& options, const InputFile& input)
{
    SlapSummary summary;
    GrayImage read;
    std::string error;
    if (!ReadSlap(input, options, summary.placement.source, read, error))
        return {};
    summary.width = read.width;
    summary.height = read.height;
    kovral_io::SplitPreparation& prepared = summary.placement.prepared;
    prepared = kovral_io::PrepareForSplit(
        read.pixels.data(), read.width, read.height, summary.placement.source.statedPpi, kovral_io::PpiMode::Stated,
        0, kovral_io::FitMode::Refuse, {KOVRAL_MIN_WIDTH, KOVRAL_MIN_HEIGHT, KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT});
    if (!prepared.ok)
        return {};
    GrayImage image{prepared.width, prepared.height, prepared.pixels};
    PixelSize finger = options.fingerSize.value_or(kDefaultFingerSize);
    finger.width = std::min(finger.width, image.width);
    finger.height = std::min(finger.height, image.height);
    const size_t fingerBytes = static_cast<size_t>(finger.width) * finger.height;
    std::vector<uint8_t> buffers(fingerBytes * KOVRAL_MAX_RECORDS);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers.data() + fingerBytes * i;

    summary.input = input.path;
    summary.fingerWidth = finger.width;
    summary.fingerHeight = finger.height;
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    summary.result = KOVRAL_DoSplit(image.pixels.data(), image.width, image.height, nullptr, finger.width,
                                    finger.height, &summary.count, info);
    const bool split = summary.result == KOVRAL_OK;
    if (split) {
        std::copy_n(info, std::min(summary.count, kMaxFingers), summary.fingers);
        if (summary.count == kMaxFingers)
            summary.judgement = KOVRAL_JudegeFingers(summary.count, info);
        PlaceFingers(summary.placement, info, std::min(summary.count, kMaxFingers), finger.width, finger.height,
                     summary.judgement);
    }
    KOVRAL_Uninit();

    Files files;
    for (int i = 0; split && i < summary.count; i++) {
        const std::string path = FingerPath(options, input.name, i + 1, FileFingerPosition(summary.placement, i));
        GrayImage fingerImage{finger.width, finger.height,
                              std::vector<uint8_t>(info[i].pFpImg, info[i].pFpImg + fingerBytes)};
        files[path] = Text(options.format == FingerFormat::Png ? kovral_io::EncodeGrayPng(fingerImage)
                                                               : kovral_io::EncodeGrayBmp(fingerImage));
        summary.fingerFiles.push_back(fs::path(path).filename().string());
    }
    if (options.overlay) {
        std::vector<FingerMark> marks;
        for (int i = 0; split && i < summary.count; i++)
            marks.push_back({info[i].x, info[i].y, info[i].angle, i + 1});
        RgbImage overlay = DrawOverlay(image, marks, finger.width, finger.height);
        files[OverlayPath(options, input.name)]
            = Text(kovral_io::EncodeRgbPng(overlay.pixels.data(), overlay.width, overlay.height));
    }
    files[SummaryPath(options, input.name)] = SummaryText(summary);
    return files;
}

// Every file in dir whose name starts with name's, by path as the tool names it.
Files Written(const Options& options, const std::string& name)
{
    Files files;
    for (const fs::directory_entry& entry : fs::directory_iterator(options.outDir))
        if (entry.path().filename().string().starts_with(name + "_") || entry.path().filename() == name + ".json")
            files[(fs::path(options.outDir) / entry.path().filename()).string()] = ReadFile(entry.path());
    return files;
}

TEST(SlapJob, WorkspaceReusedAcrossSlapsWritesWhatAFreshSplitWrites)
{
    const fs::path dir = fs::path(KOVRAL_TOOL_TEST_DIR) / "workspace";
    fs::remove_all(dir);
    fs::create_directories(dir / "in");
    struct Row
    {
        std::string file;
        int w, h, tilt, fingers;
        std::optional<PixelSize> fingerSize;
        bool png, overlay;
        bool kept; // an upright finger whose buffer is higher than the rows used: it keeps its bytes
    };
    // In this order through one workspace, so that each slap meets the memory its predecessors left.
    const Row rows[] = {
        {"upright.pgm", 1600, 1000, 0, 4, {}, false, false, false},                 // fills every buffer
        {"tall.pgm", 1600, 1000, 0, 4, PixelSize{320, 1000}, false, false, true},   // 1000 rows > 992 used
        {"tilted.png", 1400, 900, 15, 4, PixelSize{256, 360}, true, false, false},  // smaller buffers, PNG
        {"largest.pgm", 1600, 1500, 20, 4, {}, false, true, false},                 // largest image, overlay
        {"two.raw", 800, 750, -8, 2, {}, false, false, false},                      // raw, read in place
        {"deep.pgm", 1500, 1100, 2, 4, PixelSize{300, 1100}, false, true, true},    // 1100 > 1088, after others
        {"corrupt.pgm", 0, 0, 0, 0, {}, false, false, false},                       // refused between the others
        {"wide.bmp", 1600, 1000, -12, 4, PixelSize{400, 560}, false, false, false}, // buffers grow
        {"small.pgm", 256, 360, 0, 1, {}, false, false, false},                     // smallest, after the largest
    };
    for (const Row& row : rows) {
        const std::string path = (dir / "in" / row.file).string();
        if (row.w == 0) {
            std::ofstream(path, std::ios::binary) << "P5\n1600 1000\n255\nshort";
            continue;
        }
        slapgen::SlapSpec plan = slapgen::FourFingerHand(row.w, row.h, row.tilt, row.tilt >= 0, row.w + row.h);
        plan.fingers.resize(row.fingers);
        const slapgen::Slap slap = slapgen::Generate(plan);
        std::string error;
        ASSERT_TRUE(WriteGrayImageFile(path, {slap.width, slap.height, slap.pixels}, error)) << error;
    }

    SplitWorkspace workspace;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        Options options;
        options.outDir = (dir / "out").string();
        options.fingerSize = row.fingerSize;
        options.format = row.png ? FingerFormat::Png : FingerFormat::Bmp;
        options.overlay = row.overlay;
        options.rawSize = PixelSize{800, 750};
        options.accurate = false; // the road it is compared with splits with KOVRAL_DoSplit
        const InputFile input{(dir / "in" / row.file).string(), fs::path(row.file).stem().string(), ""};
        const std::set<FileIdentity> inputs = InputIdentities({input});
        const TaskOutcome outcome = SlapSplitter(options, inputs, &workspace).Split(input);
        EXPECT_EQ(outcome.ok, row.w != 0) << outcome.message;
        const Files want = Reference(options, input);
        if (row.kept) {
            const nlohmann::json summary = nlohmann::json::parse(want.at(SummaryPath(options, input.name)));
            EXPECT_TRUE(
                std::any_of(summary["fingers"].begin(), summary["fingers"].end(),
                            [](const nlohmann::json& f) { return std::abs(f["angle"].get<int>() - 90) <= 4; }))
                << "no finger cut as a window: " << summary.dump();
        }
        const Files got = Written(options, input.name);
        ASSERT_EQ(got.size(), want.size());
        for (const auto& [path, bytes] : want) {
            ASSERT_TRUE(got.count(path)) << path;
            EXPECT_TRUE(got.at(path) == bytes) << path;
        }
    }
}

} // namespace
