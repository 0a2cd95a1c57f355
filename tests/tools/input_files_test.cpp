// Expansion of command-line paths into slaps and the names of their outputs.
#include "input_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using kovral_split::CollectInputs;
using kovral_split::InputFile;

class InputFiles : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fs::remove_all(root_);
        for (const char* file : {"b.png", "a.PGM", "a.png", "notes.txt", ".hidden.png", "sub/c.jpg", "sub/deep/d.raw",
                                 ".git/e.png"})
        {
            fs::create_directories((root_ / file).parent_path());
            std::ofstream(root_ / file) << "x";
        }
        fs::create_directories(root_ / "empty");
    }
    void TearDown() override { fs::remove_all(root_); }

    std::vector<std::pair<std::string, std::string>> Collect(const std::vector<std::string>& args, bool recursive)
    {
        std::vector<std::pair<std::string, std::string>> got;
        for (const InputFile& f : CollectInputs(args, recursive))
            got.emplace_back(fs::path(f.path).lexically_relative(root_).generic_string(),
                             f.error.empty() ? f.name : "error");
        return got;
    }

    fs::path root_ = fs::temp_directory_path() / ("kovral_inputs_" + std::to_string(::getpid()));
};

TEST_F(InputFiles, DirectoryGivesItsImagesSortedWithClashingNamesTold)
{
    using Pairs = std::vector<std::pair<std::string, std::string>>;
    // Images only, by extension in any case, hidden files skipped; a.png comes
    // after a.PGM and so gets the extension into its name.
    EXPECT_EQ(Collect({root_.string()}, false), (Pairs{{"a.PGM", "a"}, {"a.png", "a-png"}, {"b.png", "b"}}));
    // Recursive: subdirectories keep their place in the output names; hidden directories are skipped.
    EXPECT_EQ(Collect({root_.string()}, true), (Pairs{{"a.PGM", "a"},
                                                      {"a.png", "a-png"},
                                                      {"b.png", "b"},
                                                      {"sub/c.jpg", "sub/c"},
                                                      {"sub/deep/d.raw", "sub/deep/d"}}));
}

TEST_F(InputFiles, FilesKeepCommandLineOrderAndAnyExtension)
{
    using Pairs = std::vector<std::pair<std::string, std::string>>;
    std::string b = (root_ / "b.png").string(), txt = (root_ / "notes.txt").string();
    std::string missing = (root_ / "missing.png").string(), empty = (root_ / "empty").string();
    // The same file twice gets a number; a missing file stays for the worker to report; an
    // empty directory is an input error of its own.
    EXPECT_EQ(Collect({b, txt, b, b, missing, empty}, false),
              (Pairs{{"b.png", "b"}, {"notes.txt", "notes"}, {"b.png", "b-png"}, {"b.png", "b-2"},
                     {"missing.png", "missing"}, {"empty", "error"}}));
}

} // namespace
