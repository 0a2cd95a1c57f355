// kovral-split under faults: a full disk, signals to a running batch, two runs
// into one folder, odd file-system entries, outputs that would land on
// inputs. After each, no file under a final name is partial, no temporary is
// left, and a rerun succeeds.
#include "image_encoding.h"
#include "output_commit.h"
#include "run_lock.h"

#include <kovral_io.h>
#include <nlohmann/json.hpp>
#include <slapgen.h>

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// A run still going after this many seconds hangs: it is killed and the test fails.
constexpr int kRunTimeoutSeconds = 60;

std::string Read(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class ToolUnderFaults : public ::testing::Test
{
protected:
    void SetUp() override
    {
        fs::remove_all(dir_);
        fs::create_directories(dir_);
    }

    // Starts the tool in the test's folder, in a process group of its own;
    // prepare runs in the child before the tool starts (limits, signals).
    pid_t Start(const std::string& args, void (*prepare)() = nullptr, const std::string& log = "run")
    {
        std::string command = "exec " KOVRAL_SPLIT_EXE " " + args + " >" + log + ".out 2>" + log + ".err";
        pid_t pid = fork();
        if (pid == 0) {
            setpgid(0, 0);
            if (chdir(dir_.c_str()) != 0)
                _exit(126);
            if (prepare)
                prepare();
            execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        setpgid(pid, pid);
        return pid;
    }

    // Waits for a started run; its exit status (128 + the signal that ended it).
    int Wait(pid_t pid, const std::string& log = "run")
    {
        int status = 0;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kRunTimeoutSeconds);
        while (waitpid(pid, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "the run hangs";
                kill(-pid, SIGKILL);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        out_ = Read(dir_ / (log + ".out"));
        err_ = Read(dir_ / (log + ".err"));
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    int Run(const std::string& args, void (*prepare)() = nullptr) { return Wait(Start(args, prepare)); }

    // count copies of one generated slap as in/slapN.pgm.
    void Inputs(int count, const std::string& folder = "in")
    {
        slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1000, 700, 0, true, 5));
        std::string error;
        fs::create_directories(dir_ / folder);
        ASSERT_TRUE(kovral_tool::WriteGrayImageFile((dir_ / folder / "slap0.pgm").string(),
                                                    {slap.width, slap.height, slap.pixels}, error))
            << error;
        for (int i = 1; i < count; i++)
            fs::copy_file(dir_ / folder / "slap0.pgm", dir_ / folder / ("slap" + std::to_string(i) + ".pgm"));
    }

    // Waits until the output folder holds a summary, i.e. the batch runs.
    bool WaitForFirstSummary(const fs::path& out)
    {
        for (int i = 0; i < 2000; i++) {
            std::error_code ec;
            for (const auto& entry : fs::directory_iterator(out, ec))
                if (entry.path().extension() == ".json")
                    return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }

    // Every file under out is whole: summaries parse, images decode, no
    // temporary is left. Returns the number of summaries.
    int ExpectWholeOutputs(const fs::path& out)
    {
        int summaries = 0;
        std::error_code ec;
        for (const auto& entry : fs::recursive_directory_iterator(out, ec)) {
            const std::string name = entry.path().filename().string();
            if (!entry.is_regular_file() || name == kovral_tool::kLockFileName)
                continue;
            EXPECT_FALSE(name.starts_with(kovral_tool::kTemporaryPrefix)) << "temporary left: " << entry.path();
            if (entry.path().extension() == ".json") {
                json summary = json::parse(Read(entry.path()), nullptr, false);
                EXPECT_TRUE(summary.is_object() && summary.contains("fingers")) << "partial: " << entry.path();
                summaries++;
            } else {
                kovral_io::ReadResult image = kovral_io::ReadImageFile(entry.path().string());
                EXPECT_TRUE(image.ok) << "partial: " << image.Error();
            }
        }
        return summaries;
    }

    fs::path dir_ = fs::path(KOVRAL_TOOL_TEST_DIR) / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::string out_, err_;
};

// Each file may grow to this size; writes past it fail with EFBIG, as on a full disk.
template <rlim_t kBytes>
void LimitFileSize()
{
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{kBytes, kBytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(ToolUnderFaults, FullDisk)
{
    Inputs(4);
    // The limit, and the file that meets it first. A finger BMP here is 154,678 bytes.
    const std::tuple<void (*)(), std::string> rows[] = {
        {LimitFileSize<100000>, "_finger1.bmp: File too large"},
        {LimitFileSize<160000>, "_overlay.png: File too large"},
    };
    for (const auto& [limit, file] : rows) {
        SCOPED_TRACE(file);
        fs::remove_all(dir_ / "out");
        EXPECT_EQ(Run("in -o out --overlay -j 2", limit), 1);
        EXPECT_NE(err_.find(file), std::string::npos) << err_;
        // Nothing of a slap appears unless all of it does.
        EXPECT_EQ(ExpectWholeOutputs(dir_ / "out"), 0);
        EXPECT_EQ(std::distance(fs::directory_iterator(dir_ / "out"), fs::directory_iterator()), 1)
            << "only the lock";
        EXPECT_EQ(Run("in -o out --overlay"), 0) << err_;
        EXPECT_EQ(ExpectWholeOutputs(dir_ / "out"), 4);
    }
}

TEST_F(ToolUnderFaults, InterruptedBatch)
{
    constexpr int kSlaps = 200;
    Inputs(kSlaps);
    // The signal, sent to the whole process group as a terminal's Ctrl-C is, and the exit status.
    const std::tuple<int, int, std::string> rows[] = {{SIGINT, 130, "SIGINT"}, {SIGTERM, 143, "SIGTERM"}};
    for (const auto& [signal, status, name] : rows) {
        SCOPED_TRACE(name);
        fs::remove_all(dir_ / "out");
        pid_t run = Start("in -o out -j 2");
        ASSERT_TRUE(WaitForFirstSummary(dir_ / "out"));
        kill(-run, signal);
        EXPECT_EQ(Wait(run), status) << err_;
        EXPECT_NE(out_.find("interrupted by " + name + ": "), std::string::npos) << out_;
        // Every worker was reaped: nothing is left in the group.
        EXPECT_EQ(kill(-run, 0), -1);
        int done = ExpectWholeOutputs(dir_ / "out");
        EXPECT_LT(done, kSlaps) << "the batch went on";
        // A rerun goes on where the batch stopped.
        EXPECT_EQ(Run("in -o out -j 2 --skip-existing"), 0) << err_;
        EXPECT_NE(out_.find(std::to_string(kSlaps - done) + " slaps split"), std::string::npos) << out_;
        EXPECT_NE(out_.find(std::to_string(done) + " skipped"), std::string::npos) << out_;
        EXPECT_EQ(ExpectWholeOutputs(dir_ / "out"), kSlaps);
    }
}

TEST_F(ToolUnderFaults, TwoRunsIntoOneFolder)
{
    Inputs(150);
    pid_t first = Start("in -o out -j 1", nullptr, "first");
    ASSERT_TRUE(WaitForFirstSummary(dir_ / "out"));
    // Refused at once, naming the run that holds the folder; with --force too.
    EXPECT_EQ(Run("in/slap0.pgm -o out --force"), 1);
    EXPECT_NE(err_.find("the output folder out is in use by another kovral-split run (pid "), std::string::npos)
        << err_;
    EXPECT_EQ(Wait(first, "first"), 0) << err_;
    EXPECT_EQ(ExpectWholeOutputs(dir_ / "out"), 150);
    EXPECT_EQ(Run("in/slap0.pgm -o out --force"), 0) << err_;
}

TEST_F(ToolUnderFaults, OddEntriesAndInputsAsOutputs)
{
    Inputs(2, "tree");
    fs::create_directories(dir_ / "tree/sub");
    fs::copy_file(dir_ / "tree/slap0.pgm", dir_ / "tree/sub/deep.pgm");
    fs::create_directory_symlink("..", dir_ / "tree/sub/loop");   // a loop when links are followed
    fs::create_directory_symlink("sub", dir_ / "tree/linked");    // a second way to sub
    ASSERT_EQ(mkfifo((dir_ / "tree/fifo.pgm").c_str(), 0600), 0); // would block an open for reading
    fs::copy_file(dir_ / "tree/slap0.pgm", dir_ / "tree/slap0_finger1.bmp");
    const std::string given = Read(dir_ / "tree/slap0_finger1.bmp");

    // Arguments, exit status, what stderr holds ("": nothing), summaries written.
    const std::tuple<std::string, int, std::string, int> rows[] = {
        // The FIFO is refused without waiting; links to folders are not followed; each slap once.
        {"-r tree -o out", 1, "tree/fifo.pgm: not a regular file (a FIFO)\n", 4},
        // Followed, the loop is walked once, and sub only once though two ways lead to it.
        {"-r tree -o out --follow-links --force", 1, "tree/fifo.pgm: not a regular file (a FIFO)\n", 4},
        // Outputs never land on inputs, whatever --force says: the slap fails, the input stays.
        {"tree/slap0.pgm tree/slap1.pgm tree/slap0_finger1.bmp -o tree --force", 1,
         "tree/slap0.pgm: tree/slap0_finger1.bmp is an input file of this run", 2},
        // A folder given as input that is the output folder.
        {"tree -o tree", 1, "tree: is the output folder", 2},
    };
    for (const auto& [args, status, error, summaries] : rows) {
        SCOPED_TRACE(args);
        fs::remove_all(dir_ / "out");
        EXPECT_EQ(Run(args), status);
        EXPECT_NE(err_.find(error), std::string::npos) << err_;
        EXPECT_EQ(ExpectWholeOutputs(args.find("-o tree") != std::string::npos ? dir_ / "tree" : dir_ / "out"),
                  summaries);
        EXPECT_EQ(Read(dir_ / "tree/slap0_finger1.bmp"), given);
    }
    // The output folder is never walked: a second run inside the tree finds the same slap.
    for (int run = 0; run < 2; run++) {
        EXPECT_EQ(Run("-r tree/sub -o tree/sub/out --force"), 0) << err_;
        EXPECT_NE(out_.find("1 slap split"), std::string::npos) << out_;
    }
}

TEST_F(ToolUnderFaults, RoughEdges)
{
    Inputs(1);
    const std::string longStem(240, 'a');
    fs::copy_file(dir_ / "in/slap0.pgm", dir_ / ("in/" + longStem + ".pgm"));
    fs::copy_file(dir_ / "in/slap0.pgm", dir_ / "in/caf\xe9.pgm");
    std::ofstream(dir_ / "file") << "not a folder";

    // The long name is shortened for the outputs; the name that is not UTF-8 stays recoverable.
    EXPECT_EQ(Run("in -o out"), 0) << err_;
    EXPECT_EQ(ExpectWholeOutputs(dir_ / "out"), 3);
    json cafe = json::parse(Read(dir_ / "out/caf\xe9.json"));
    EXPECT_EQ(cafe["input_hex"], "696e2f636166e92e70676d"); // in/caf\xe9.pgm
    EXPECT_EQ(cafe["fingers"][0]["file_hex"], "636166e95f66696e676572312e626d70");

    // Arguments, exit status, stdout and stderr exactly ("*": anything).
    const std::tuple<std::string, int, std::string, std::string> rows[] = {
        // One error for an output folder that cannot be made, not one per input.
        {"in -o file/out", 1, "", "kovral-split: cannot create the output folder file/out: Not a directory\n"},
        // Numbers beyond the int range are refused, not wrapped.
        {"--size 4294967616x480 in", 2, "", "kovral-split: --size 4294967616x480: a number out of range\n"},
        {"--finger-size 320x4294967776 in", 2, "",
         "kovral-split: --finger-size 320x4294967776: a number out of range\n"},
        {"--size 320x-480 in", 2, "", "kovral-split: --size 320x-480: expected WIDTHxHEIGHT, e.g. 320x480\n"},
        {"--size 200x480 in", 2, "", "kovral-split: --size 200x480: slaps are 256..1600 x 360..1500 pixels\n"},
        // The rate counts slaps split only; a folder without images is a failure, not a file.
        {"in/empty -o out2", 1, "*", "*"},
        // The bundled sample, twice (the README's first command): the second replaces the first's results.
        {"-o sample -q", 0, "*", ""},
        {"-o sample -q", 0, "*", ""},
    };
    fs::create_directories(dir_ / "in/empty");
    for (const auto& [args, status, out, err] : rows) {
        EXPECT_EQ(Run(args), status) << args;
        if (out != "*") {
            EXPECT_EQ(out_, out) << args;
        }
        if (err != "*") {
            EXPECT_EQ(err_, err) << args;
        }
    }
    EXPECT_TRUE(out_.starts_with("kovral-split: 1 slap split, 4 fingers found, 0 failures, ")) << out_;
    EXPECT_EQ(Run("in/empty -o out2"), 1);
    EXPECT_TRUE(out_.starts_with("kovral-split: 0 slaps split, 0 fingers found, 1 failure, ")) << out_;
    EXPECT_EQ(out_.find("slaps/s"), std::string::npos) << out_;

    // --force removes what the new run does not write: here the overlay and the BMP fingers.
    EXPECT_EQ(Run("in/slap0.pgm -o out3 --overlay"), 0) << err_;
    EXPECT_EQ(Run("in/slap0.pgm -o out3 --force --format png"), 0) << err_;
    EXPECT_FALSE(fs::exists(dir_ / "out3/slap0_overlay.png"));
    EXPECT_FALSE(fs::exists(dir_ / "out3/slap0_finger1.bmp"));
    EXPECT_TRUE(fs::exists(dir_ / "out3/slap0_finger1.png"));
}

} // namespace
