// The review page of a real batch opened in headless chromium: every row
// renders, every image loads, the page's script runs without an error and
// sorts as its address asks. The screenshot stays in the build tree
// (review_page.png) to look at. Skipped when chromium is missing, except in
// CI, where its absence is a failure.
#include "image_encoding.h"

#include <slapgen.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace {

namespace fs = std::filesystem;

// Chromium starts slowly on a loaded machine; a hung one must not hang the suite.
constexpr int kBrowserTimeoutSeconds = 120;
// Virtual time the page gets to load its images and run its script.
constexpr int kPageBudgetMilliseconds = 10000;

const fs::path kDir = fs::path(KOVRAL_TOOL_TEST_DIR) / "review_page_in_browser";

std::string Read(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

int Shell(const std::string& command)
{
    int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void WriteSlap(const std::string& file, size_t fingers, uint32_t seed)
{
    slapgen::SlapSpec plan = slapgen::FourFingerHand(1400, 1000, 5, true, seed);
    plan.fingers.resize(fingers);
    slapgen::Slap slap = slapgen::Generate(plan);
    std::string error;
    ASSERT_TRUE(kovral_tool::WriteGrayImageFile((kDir / file).string(), {1400, 1000, slap.pixels}, error)) << error;
}

// Runs chromium headless on url with a fresh profile, the given extra flags; output into log.
int Chromium(const std::string& url, const std::string& flags, const std::string& log)
{
    fs::path profile = kDir / ("profile-" + log);
    fs::remove_all(profile);
    return Shell("timeout " + std::to_string(kBrowserTimeoutSeconds)
                 + " chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
                   " --disable-background-networking --disable-component-update --disable-sync"
                   " --hide-scrollbars --virtual-time-budget="
                 + std::to_string(kPageBudgetMilliseconds) + " --user-data-dir=" + profile.string() + " " + flags
                 + " '" + url + "' >" + (kDir / (log + ".out")).string() + " 2>" + (kDir / (log + ".log")).string());
}

TEST(ReviewPageInBrowser, RowsRenderImagesLoadAndTheScriptSorts)
{
    if (Shell("command -v chromium >/dev/null") != 0) {
        if (std::getenv("CI"))
            FAIL() << "chromium is missing; CI installs it (scripts/install_packages.sh chromium)";
        GTEST_SKIP() << "chromium is not installed and could not be installed";
    }
    fs::remove_all(kDir);
    fs::create_directories(kDir);
    // A file name that only survives as a properly encoded URL, a two-finger slap and a broken file;
    // the page lives apart from the outputs, so that every image is reached through "..".
    WriteSlap("right.png", 4, 2);
    WriteSlap("odd #1 %.png", 4, 8);
    WriteSlap("two.png", 2, 4);
    std::ofstream(kDir / "broken.png") << "\x89PNG\r\n";
    const std::string run = "cd '" + kDir.string()
        + "' && " KOVRAL_SPLIT_EXE " -q right.png 'odd #1 %.png' two.png broken.png --report pages/review.html";
    ASSERT_EQ(Shell(run + " >/dev/null 2>&1"), 1) << "the broken file fails the batch, the page is still written";
    ASSERT_TRUE(fs::exists(kDir / "pages/review.html"));
    EXPECT_EQ(fs::directory_iterator(kDir / "pages")->path().filename(), "review.html") << "no temporary left";
    EXPECT_EQ(Shell(run + " 2>/dev/null"), 1) << "an existing page is kept without --force";

    const std::string url = "file://" + (kDir / "pages/review.html").string();
    ASSERT_EQ(Chromium(url + "#sort=-fingers", "--dump-dom", "dom"), 0) << Read(kDir / "dom.log");
    std::string dom = Read(kDir / "dom.out");
    EXPECT_NE(dom.find("<ul id=\"page-errors\" data-count=\"0\"></ul>"), std::string::npos)
        << "script errors: " << dom.substr(0, dom.find("<h1>"));
    // 4 rows; 3 overlays and 4 + 4 + 2 finger images.
    EXPECT_NE(dom.find("data-state=\"ready\">4 rows, 4 shown; 13 of 13 images loaded, 0 broken; sorted by fingers "
                       "descending</p>"),
              std::string::npos)
        << dom.substr(0, dom.find("<table"));
    // Most fingers first; equal counts keep the page's order.
    std::vector<std::string> order;
    std::regex input("<span class=\"input\">([^<]*)</span>");
    for (auto it = std::sregex_iterator(dom.begin(), dom.end(), input); it != std::sregex_iterator(); ++it)
        order.push_back((*it)[1]);
    EXPECT_EQ(order, (std::vector<std::string>{"right.png", "odd #1 %.png", "two.png", "broken.png"}));

    fs::path shot = fs::path(KOVRAL_TOOL_TEST_DIR) / "review_page.png";
    fs::remove(shot);
    EXPECT_EQ(Chromium(url, "--window-size=1400,1200 --screenshot=" + shot.string(), "shot"), 0)
        << Read(kDir / "shot.log");
    EXPECT_GT(fs::exists(shot) ? fs::file_size(shot) : 0, 10000u) << shot;
}

} // namespace
