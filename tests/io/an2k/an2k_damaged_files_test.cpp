// Files that lie: cut short, lengths and counts that disagree with the
// bytes, records misnamed in the content list. The records before the damage
// are kept, the walk stops with a warning, nothing is read past the end.
#include "an2k/an2k.h"
#include "nist_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using Bytes = std::vector<uint8_t>;
using kovral_test::NistFile;
using kovral_test::ReadBytes;

// Replaces the first occurrence of from (same length) after offset at.
void Patch(Bytes& b, const std::string& from, const std::string& to, size_t at = 0)
{
    ASSERT_EQ(from.size(), to.size());
    auto it = std::search(b.begin() + at, b.end(), from.begin(), from.end());
    ASSERT_NE(it, b.end()) << from;
    std::copy(to.begin(), to.end(), it);
}

struct Case
{
    const char* what;
    const char* file;
    std::function<void(Bytes&)> change;
    size_t images;               // image records read
    const char* warning;         // part of one warning, or of the error when images is npos
    size_t decoded = ~size_t(0); // images whose pixels decode, when that is what the case is about
};

constexpr size_t kRefused = ~size_t(0);

TEST(An2kDamagedFiles, ReadUpToTheDamage)
{
    // valid1.8.an2: Type-1 (150 bytes), Type-2 at 150, Type-14 at 317, 60693 and 121542.
    // The card file: Type-1, Type-2, Type-4 at 288 and 104565, Type-14 at 217100.
    const char* v18 = "valid1.8.an2";
    const char* card = "nist-type-4-14-flats.eft";
    const Case cases[] = {
        {"cut inside the Type-1 record", v18, [](Bytes& b) { b.resize(100); }, kRefused, "says it is 150 bytes long"},
        {"not a transaction file", v18, [](Bytes& b) { b[0] = '2'; }, kRefused, "no Type-1 record"},
        {"cut inside the first slap", v18, [](Bytes& b) { b.resize(30000); }, 0, "only 29683 bytes are left"},
        {"cut inside the last slap", v18, [](Bytes& b) { b.resize(130000); }, 2, "only 8458 bytes are left"},
        {"cut between records", v18, [](Bytes& b) { b.resize(60693); }, 1, "the file ends before record 4"},
        {"count in the content list", v18,
         [](Bytes& b) {
             Patch(b,
                   "1\x1f"
                   "4\x1e",
                   "1\x1f"
                   "5\x1e");
         },
         3, "says 5 records and lists 4"},
        {"a Type-14 listed as Type-4", v18,
         [](Bytes& b) {
             Patch(b,
                   "\x1e"
                   "14\x1f"
                   "01",
                   "\x1e"
                   "04\x1f"
                   "01");
         },
         0, "the records from here on are not read"},
        {"a record one byte short", v18, [](Bytes& b) { Patch(b, "14.001:60376", "14.001:60375"); }, 1,
         "does not end with a file separator", 0},
        {"IDC differs from the list", v18, [](Bytes& b) { Patch(b, "14.002:01", "14.002:07"); }, 3,
         "the content list gives IDC 1"},
        {"unreadable field in the Type-2 record", v18, [](Bytes& b) { Patch(b, "2.002:", "2.0x2:"); }, 3, "skipped"},
        {"bytes after the last record", v18, [](Bytes& b) { b.insert(b.end(), 10, 'x'); }, 3, "10 bytes after"},
        {"binary length past the end", card, [](Bytes& b) { kovral_test::PutBigEndian(b, 288, 0xffffffff); }, 0,
         "4294967295 bytes long"},
        {"binary length under its header", card, [](Bytes& b) { kovral_test::PutBigEndian(b, 288, 17); }, 0,
         "shorter than its header"},
        {"binary IDC differs from the list", card, [](Bytes& b) { b[288 + 4] = 9; }, 3, "its own IDC is 9"},
        {"unknown binary compression", card, [](Bytes& b) { b[288 + 17] = 7; }, 3, "", 2},
        {"tagged record with another record's type", card,
         [](Bytes& b) {
             Patch(b,
                   "\x1e"
                   "14\x1f",
                   "\x1e"
                   "13\x1f");
         },
         3, "its fields say Type-14"},
    };
    for (const Case& c : cases) {
        Bytes bytes = ReadBytes(NistFile(c.file));
        c.change(bytes);
        kovral_io::An2kFile file;
        std::string error;
        const bool ok = kovral_io::ReadAn2k(bytes.data(), bytes.size(), file, error);
        if (c.images == kRefused) {
            EXPECT_FALSE(ok) << c.what;
            EXPECT_NE(error.find(c.warning), std::string::npos) << c.what << ": " << error;
            continue;
        }
        ASSERT_TRUE(ok) << c.what << ": " << error;
        EXPECT_EQ(file.images.size(), c.images) << c.what;
        std::string all;
        for (const std::string& w : file.warnings)
            all += w + "\n";
        EXPECT_NE(all.find(c.warning), std::string::npos) << c.what << ": " << all;
        if (c.decoded == ~size_t(0))
            continue;
        size_t decoded = 0;
        for (const auto& r : file.images) {
            kovral_io::An2kImage image;
            if (kovral_io::DecodeAn2kImage(bytes.data(), bytes.size(), r, image, error))
                decoded++;
            else
                EXPECT_NE(error.find(r.Name()), std::string::npos) << c.what << ": " << error;
        }
        EXPECT_EQ(decoded, c.decoded) << c.what;
    }
}

// Every cut of the card file reads without a fault (the copy has exactly the
// cut length, so a read past it shows under the sanitizers), and keeps just
// the records that end before the cut.
TEST(An2kDamagedFiles, EveryCutRead)
{
    const Bytes whole = ReadBytes(NistFile("nist-type-4-14-flats.eft"));
    const size_t recordEnds[] = {104565, 217100, whole.size()};
    for (size_t cut = 0; cut < whole.size(); cut += cut < 400 ? 1 : 4099) {
        const Bytes part(whole.begin(), whole.begin() + cut);
        kovral_io::An2kFile file;
        std::string error;
        if (!kovral_io::ReadAn2k(part.data(), part.size(), file, error))
            continue;
        const size_t complete = size_t(
            std::count_if(std::begin(recordEnds), std::end(recordEnds), [cut](size_t end) { return end <= cut; }));
        EXPECT_EQ(file.images.size(), complete) << "cut at " << cut;
        EXPECT_FALSE(file.warnings.empty()) << "cut at " << cut;
    }
}

} // namespace
