// kovral-split on fingerprint files: NIST's transaction files record by
// record, WSQ files, transactions built here from generated hands (missing
// fingers, a record's hand the judgement contradicts, a stated resolution),
// resolutions given, measured and refused, and boxes in source pixels.
#include "an2k_records.h"
#include "image_decoding.h"
#include "image_encoding.h"

#include <kovral.h>
#include <nlohmann/json.hpp>
#include <fingerprint/fingerprint_files.h>
#include <resolution/resolution.h>
#include <slapgen.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string Read(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A transaction of one uncompressed Type-14 slap: finger position fgp, SLC 1
// (pixels per inch) ppi, amp as field 14.018 holds it.
std::string Transaction(const slapgen::Slap& slap, int fgp, int ppi, const std::string& amp = "")
{
    std::vector<std::pair<int, std::string>> f = {{2, "1"},
                                                  {3, "0"},
                                                  {6, std::to_string(slap.width)},
                                                  {7, std::to_string(slap.height)},
                                                  {8, "1"},
                                                  {9, std::to_string(ppi)},
                                                  {10, std::to_string(ppi)},
                                                  {11, "NONE"},
                                                  {13, std::to_string(fgp)}};
    if (!amp.empty())
        f.push_back({18, amp});
    f.push_back({999, std::string(slap.pixels.begin(), slap.pixels.end())});
    return Tagged(1,
                  {{2, "0500"},
                   {3,
                    "1\x1f"
                    "1\x1e"
                    "14\x1f"
                    "1"},
                   {4, "T"},
                   {5, "20240101"},
                   {11, "19.69"},
                   {12, "19.69"}})
        + Tagged(14, f);
}

slapgen::Slap Hand(int w, int h, bool right, uint32_t seed, std::vector<size_t> drop = {})
{
    slapgen::SlapSpec plan = slapgen::FourFingerHand(w, h, 3, right, seed);
    for (auto i = drop.rbegin(); i != drop.rend(); ++i)
        plan.fingers.erase(plan.fingers.begin() + long(*i));
    return slapgen::Generate(plan);
}

double Distance(const json& a, const json& b)
{
    return std::hypot(a[0].get<double>() - b[0].get<double>(), a[1].get<double>() - b[1].get<double>());
}

class FingerprintInputs : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }

    int Run(const std::string& args)
    {
        std::string command = "cd " + dir_.string() + " && " KOVRAL_SPLIT_EXE " -q " + args + " >stdout 2>stderr";
        int status = std::system(command.c_str());
        err_ = Read(dir_ / "stderr");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void Write(const std::string& file, const std::string& bytes)
    {
        std::ofstream(dir_ / file, std::ios::binary) << bytes;
    }

    json Summary(const std::string& name) { return json::parse(Read(dir_ / "kovral-out" / (name + ".json"))); }

    // Every finger's box is the finger size scaled back to the source, about
    // its centre (the centre inside the box), and its file carries the code.
    void ExpectBoxes(const json& s, double scale, bool codesInNames)
    {
        for (const json& f : s["fingers"]) {
            SCOPED_TRACE(f.dump());
            const json& box = f.at("box");
            EXPECT_NEAR(Distance(box["tl"], box["tr"]), s["finger_width"].get<double>() / scale, 1.5);
            EXPECT_NEAR(Distance(box["tl"], box["bl"]), s["finger_height"].get<double>() / scale, 1.5);
            // Opposite sides agree up to the rounding of each corner to whole pixels.
            EXPECT_NEAR(Distance(box["tr"], box["br"]), Distance(box["tl"], box["bl"]), 1.5);
            const double x = f["x"], y = f["y"];
            double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
            for (const char* c : {"tl", "tr", "bl", "br"}) {
                minX = std::min(minX, box[c][0].get<double>()), maxX = std::max(maxX, box[c][0].get<double>());
                minY = std::min(minY, box[c][1].get<double>()), maxY = std::max(maxY, box[c][1].get<double>());
            }
            EXPECT_TRUE(x > minX && x < maxX && y > minY && y < maxY);
            const std::string file = f["file"];
            EXPECT_EQ(file.find("_fgp" + std::to_string(f["fgp"].get<int>()) + "."),
                      codesInNames ? file.find("_fgp") : std::string::npos);
            EXPECT_TRUE(fs::exists(dir_ / "kovral-out" / file)) << file;
        }
    }

    fs::path dir_ = fs::path(KOVRAL_TOOL_TEST_DIR) / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::string err_;
};

TEST_F(FingerprintInputs, NistTransactionFiles)
{
    EXPECT_EQ(Run(KOVRAL_NIST_DATA "/valid1.8.an2 " KOVRAL_NIST_DATA "/nist-type-4-14-flats.eft"), 0) << err_;
    const struct
    {
        const char* name;
        int type, position;
        std::vector<int> codes; // when every finger of the slap is found; otherwise all 0, with the reason
        bool sizeNote;          // the record's size disagrees with its image's
    } rows[] = {
        {"valid1.8_r3", 14, 13, {2, 3, 4, 5}, true},              // right four
        {"valid1.8_r4", 14, 14, {10, 9, 8, 7}, true},             // left four: little finger leftmost
        {"valid1.8_r5", 14, 15, {6, 1}, true},                    // thumbs: left thumb leftmost
        {"nist-type-4-14-flats_r3", 4, 14, {10, 9, 8, 7}, false}, // binary Type-4 records of a card
        {"nist-type-4-14-flats_r4", 4, 13, {2, 3, 4, 5}, false},
        {"nist-type-4-14-flats_r5", 14, 15, {6, 1}, false},
    };
    size_t summaries = 0;
    for (const auto& entry : fs::directory_iterator(dir_ / "kovral-out"))
        summaries += entry.path().extension() == ".json";
    EXPECT_EQ(summaries, std::size(rows)) << "one slap per slap record";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const json s = Summary(row.name);
        EXPECT_EQ(s["source"]["record_type"], row.type);
        EXPECT_EQ(s["source"]["finger_position"], row.position);
        EXPECT_EQ(s["source"].contains("notes"), row.sizeNote);
        EXPECT_NEAR(s["resolution"]["stated"].get<double>(), 500, 0.2); // Type-4: 19.69 pixels per mm
        EXPECT_EQ(s["resolution"]["used_from"], "stated");
        EXPECT_FALSE(s["resolution"].contains("warnings")) << "the ridges agree with 500 ppi";
        EXPECT_EQ(s["fgp_from"], "record");
        std::vector<int> codes;
        for (const json& f : s["fingers"])
            codes.push_back(f["fgp"]);
        if (s["count"] == row.codes.size())
            EXPECT_EQ(codes, row.codes);
        else {
            EXPECT_EQ(codes, std::vector<int>(codes.size(), 0));
            EXPECT_TRUE(s.contains("fgp_reason"));
        }
        ExpectBoxes(s, 1, true);
    }
    EXPECT_EQ(Summary("valid1.8_r3")["width"], 1600) << "the WSQ image's size, not the record's 1800";
}

TEST_F(FingerprintInputs, BuiltTransactions)
{
    // Left hand, ring finger (second from the left) amputated, 14.018 saying so.
    Write("amputee.an2", Transaction(Hand(1600, 1000, false, 7, {1}), 14, 500, "9\x1fXX"));
    // A left hand in a record that says right four.
    Write("mislabelled.an2", Transaction(Hand(1600, 1000, false, 9), 13, 500));
    // 250 ppi, stated: split at double size, reported in the file's pixels.
    const slapgen::Slap big = Hand(1600, 1000, true, 12);
    const kovral_io::ResampledImage half = kovral_io::Resample(big.pixels.data(), 1600, 1000, 0.5);
    Write("low.an2", Transaction({half.width, half.height, half.pixels, {}}, 13, 250));
    ASSERT_EQ(Run("amputee.an2 mislabelled.an2 low.an2"), 0) << err_;

    json s = Summary("amputee_r2");
    std::vector<int> codes;
    for (const json& f : s["fingers"])
        codes.push_back(f["fgp"]);
    EXPECT_EQ(codes, (std::vector<int>{10, 8, 7}));
    EXPECT_EQ(s["skipped"], json::parse(R"([{"fgp": 9, "reason": "amputated"}])"));

    s = Summary("mislabelled_r2");
    EXPECT_EQ(s["hand_mismatch"], true);
    EXPECT_EQ(s["fingers"][0]["fgp"], 2) << "the record's hand wins";

    s = Summary("low_r2");
    EXPECT_EQ(s["width"], 800);
    EXPECT_EQ(s["resolution"]["scale"], 2.0);
    EXPECT_EQ(s["resolution"]["split_width"], 1600);
    ASSERT_EQ(s["count"], 4);
    for (size_t i = 0; i < 4; i++) {
        EXPECT_NEAR(s["fingers"][i]["x"].get<double>(), big.truth[i].cx / 2.0, 25) << i;
        EXPECT_NEAR(s["fingers"][i]["y"].get<double>(), big.truth[i].cy / 2.0, 25) << i;
    }
    ExpectBoxes(s, 2, true);
}

TEST_F(FingerprintInputs, ResolutionsAndLimits)
{
    std::string error;
    const auto pgm = [&](const std::string& file, const slapgen::Slap& slap) {
        ASSERT_TRUE(
            kovral_tool::WriteGrayImageFile((dir_ / file).string(), {slap.width, slap.height, slap.pixels}, error))
            << error;
    };
    const slapgen::Slap hand = Hand(1600, 1000, true, 4);
    const kovral_io::ResampledImage half = kovral_io::Resample(hand.pixels.data(), 1600, 1000, 0.5);
    pgm("half.pgm", {half.width, half.height, half.pixels, {}});
    pgm("wide.pgm", Hand(1660, 1000, true, 5));
    pgm("huge.pgm", Hand(3400, 2000, true, 6));

    const struct
    {
        const char* args;
        const char* name;
        int status;
        const char* key; // a field of the slap's summary, as "resolution.used_from"
        json value;
        const char* error; // the tool's message, when it fails
    } rows[] = {
        // No resolution stated: --ppi auto splits it at the 250 ppi its ridges measure.
        {"half.pgm --ppi auto -f", "half", 0, "resolution.used", 250.0, ""},
        {"half.pgm --ppi 250 -f", "half", 0, "resolution.scale", 2.0, ""},
        // A stated or given resolution the ridges contradict is split as said, with a warning.
        {"half.pgm --ppi 500 -f", "half", 0, "resolution.warnings", nullptr, ""},
        // A little wider than the limit: 30 columns cut from each side.
        {"wide.pgm", "wide", 0, "crop.left", 30, ""},
        {"huge.pgm", "huge", 1, "", nullptr,
         "huge.pgm: image of 3400 x 2000 pixels at 500 ppi is over the split's limit of 1600 x 1500 (--fit scale "
         "scales it down)\n"},
        {"huge.pgm --fit scale", "huge", 0, "resolution.fitted", true, ""},
        {"half.pgm --ppi 20", "", 2, "", nullptr, "--ppi 20: expected auto or a resolution of 100..5000\n"},
        {"half.pgm --ppi 5OO", "", 2, "", nullptr, "--ppi 5OO: expected auto or a resolution of 100..5000\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.args);
        EXPECT_EQ(Run(row.args), row.status);
        if (row.status != 0) {
            EXPECT_EQ(err_, std::string("kovral-split: ") + row.error);
            continue;
        }
        json value = Summary(row.name);
        ExpectBoxes(value, value["resolution"]["scale"].get<double>(), false);
        const std::string key = row.key;
        value = value[key.substr(0, key.find('.'))][key.substr(key.find('.') + 1)];
        if (row.value.is_null())
            EXPECT_FALSE(value.is_null());
        else
            EXPECT_EQ(value, row.value);
    }
    // At the measured 250 ppi the half-size hand gives its four fingers, at 500 ppi it would be too low for them.
    EXPECT_EQ(Run("half.pgm --ppi auto -f"), 0) << err_;
    EXPECT_EQ(Summary("half")["count"], 4);
}

// A WSQ file on its own is one slap named after the file; a transaction
// file that holds no slap, or is cut short, fails with why.
TEST_F(FingerprintInputs, WsqFileAndUnusableTransactions)
{
    const std::string an2 = Read(KOVRAL_NIST_DATA "/valid1.8.an2");
    Write("right.wsq", an2.substr(540, 60152));
    Write("cut.an2", an2.substr(0, 300));
    Write("single.an2", Transaction(Hand(1200, 1000, true, 2, {1, 2, 3}), 2, 500));
    EXPECT_EQ(Run("right.wsq cut.an2 single.an2"), 1);
    EXPECT_EQ(Summary("right")["source"]["format"], "WSQ");
    EXPECT_EQ(Summary("right")["fgp_from"], "judgement");
    EXPECT_NE(err_.find("cut.an2: holds no slap record"), std::string::npos) << err_;
    EXPECT_NE(err_.find("single.an2: holds no slap record (finger position 13, 14 or 15; --records all splits "
                        "every image record)"),
              std::string::npos)
        << err_;
    // --records all: the single finger's record, and its code from the record.
    EXPECT_EQ(Run("single.an2 --records all"), 0) << err_;
    const json s = Summary("single_r2");
    ASSERT_EQ(s["count"], 1);
    EXPECT_EQ(s["fingers"][0]["fgp"], 2);
    EXPECT_TRUE(fs::exists(dir_ / "kovral-out/single_r2_finger1_fgp2.bmp"));
}

// --an2k-out: every finger of the run in one transaction, in input order,
// read back as the finger images and positions the summaries give; an
// existing file is replaced only with --force.
TEST_F(FingerprintInputs, FingersAsTransaction)
{
    const std::string args = KOVRAL_NIST_DATA "/valid1.8.an2 --an2k-out fingers.an2";
    ASSERT_EQ(Run(args), 0) << err_;
    const std::string written = Read(dir_ / "fingers.an2");
    const kovral_io::FingerprintFile back = kovral_io::ReadFingerprintFile(
        reinterpret_cast<const uint8_t*>(written.data()), written.size(), kovral_io::RecordSelection::All);
    ASSERT_TRUE(back.ok) << back.reason;
    EXPECT_TRUE(back.warnings.empty());
    size_t k = 0;
    for (const char* name : {"valid1.8_r3", "valid1.8_r4", "valid1.8_r5"}) {
        const json summary = Summary(name);
        for (const json& f : summary["fingers"]) {
            ASSERT_LT(k, back.images.size());
            const kovral_io::FingerprintImage& image = back.images[k++];
            kovral_tool::GrayImage finger;
            std::string error;
            ASSERT_TRUE(kovral_tool::DecodeImageFile((dir_ / "kovral-out" / f["file"].get<std::string>()).string(),
                                                     std::nullopt, finger, error))
                << error;
            EXPECT_EQ(image.position, f["fgp"]);
            EXPECT_EQ(image.ppi, 500);
            EXPECT_EQ(image.width, finger.width);
            EXPECT_TRUE(image.pixels == finger.pixels) << name << " finger " << f["position"];
        }
    }
    EXPECT_EQ(k, back.images.size());

    EXPECT_EQ(Run(args + " -f"), 0) << err_;
    EXPECT_EQ(Run(args + " --skip-existing"), 1);
    EXPECT_EQ(err_, "kovral-split: fingers.an2 exists (--force replaces it)\n");
}

} // namespace
