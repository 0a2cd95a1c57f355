// The review page as text: which slaps come first and why, what is escaped,
// how image paths become relative URLs, and the columns shown only when a
// summary carries their field. The page in a real browser is tested by
// review_page_in_browser.cpp.
#include "review_page.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

using kovral_tool::ReviewPageHtml;
using kovral_tool::ReviewSlap;
using Json = nlohmann::ordered_json;

// A split slap whose summary has these fingers and extra fields.
ReviewSlap Split(const std::string& input, int count, const Json& extra = nullptr, const Json& finger = nullptr)
{
    Json record{{"input", input}, {"result", 1}, {"count", count}, {"fingers", Json::array()}};
    for (int i = 0; i < count; i++) {
        Json f{{"position", i + 1}, {"quality", 40 + i}, {"file", input + std::to_string(i + 1) + ".bmp"}};
        if (finger.is_object())
            f.update(finger);
        record["fingers"].push_back(f);
    }
    if (extra.is_object())
        record.update(extra);
    return {input, true, "", record, {}, {}};
}

std::vector<std::string> All(const std::string& html, const std::string& pattern)
{
    std::vector<std::string> found;
    std::regex re(pattern);
    for (auto it = std::sregex_iterator(html.begin(), html.end(), re); it != std::sregex_iterator(); ++it)
        found.push_back((*it)[1]);
    return found;
}

TEST(ReviewPage, FailedThenFlaggedThenOkInInputOrder)
{
    std::vector<ReviewSlap> slaps = {
        Split("ok1", 4),
        {"unreadable", false, "corrupt PNG", nullptr, {}, {}}, // failed before any summary
        Split("touching", 4, {}, {{"flags", {"touching"}}}),   // every finger flagged
        Split("none", 0),                                      // split, but nothing found
        Split("text", 4, {{"deficiencies", {"artifacts: text"}}}),
        Split("wrong-hand", 4, {{"hand", {{"hand", "left four"}, {"confidence", 80}, {"mismatch", true}}}}),
        Split("bits", 2, {}, {{"flags", 5}}),                                // a bit set, shown in hex
        Split("ok2", 2, {{"flags", Json::array()}}),                         // empty flag lists flag nothing
        {"refused", false, "ok2.json exists", Split("x", 4).record, {}, {}}, // failed despite a summary
    };
    std::string html = ReviewPageHtml(slaps, "/out");
    EXPECT_EQ(All(html, "<span class=\"input\">([^<]*)<"),
              (std::vector<std::string>{"unreadable", "refused", "touching", "none", "text", "wrong-hand", "bits",
                                        "ok1", "ok2"}));
    EXPECT_EQ(All(html, "data-status=\"([a-z]+)\""),
              (std::vector<std::string>{"failed", "failed", "flagged", "flagged", "flagged", "flagged", "flagged",
                                        "ok", "ok"}));
    // Flags of the flagged rows in order, slap-wide ones before the fingers'.
    EXPECT_EQ(All(html, "<span class=\"flag\">([^<]*)<"),
              (std::vector<std::string>{"finger 1: touching", "finger 2: touching", "finger 3: touching",
                                        "finger 4: touching", "artifacts: text", "hand mismatch",
                                        "finger 1: flags 0x5", "finger 2: flags 0x5"}));
    EXPECT_NE(html.find("<td data-sort=\"left four (80)\">left four (80)</td>"), std::string::npos);
    EXPECT_NE(html.find("<div class=\"reason\">corrupt PNG</div>"), std::string::npos);
    // Quality sorts by a slap's lowest finger; rows without fingers last.
    EXPECT_NE(html.find("<td data-sort=\"40\">40 &middot; 41 &middot; 42 &middot; 43</td>"), std::string::npos);
    EXPECT_EQ(All(html, "<li class=\"[a-z]*\"><b>([0-9]+)</b>"),
              (std::vector<std::string>{"9", "2", "5", "2", "20", "4", "2", "1"}))
        << "slaps, failed, flagged, ok, fingers; slaps with 4, 2 and 0 fingers";
}

TEST(ReviewPage, TextIsEscapedAndImagePathsAreRelativeUrls)
{
    ReviewSlap slap = Split("<img src=x onerror=alert(1)>&\"'", 1);
    slap.overlay = "/data/out/a #b%c/\xC3\xBC_overlay.png";
    slap.fingerImages = {"/data/out/f?1.bmp"};
    std::string html = ReviewPageHtml({slap}, "/data/pages");
    EXPECT_EQ(html.find("<img src=x"), std::string::npos);
    EXPECT_NE(html.find("&lt;img src=x onerror=alert(1)&gt;&amp;&quot;&#39;"), std::string::npos);
    EXPECT_EQ(All(html, "<img class=\"[a-z]+\" loading=\"lazy\" src=\"([^\"]*)\""),
              (std::vector<std::string>{"../out/a%20%23b%25c/%C3%BC_overlay.png", "../out/f%3F1.bmp"}));
    // Nothing is fetched from elsewhere.
    EXPECT_EQ(All(html, "(https?:|<link|src=\"/)"), std::vector<std::string>{});
}

TEST(ReviewPage, ColumnsOfFieldsOnlyWhenSomeSummaryHasThem)
{
    auto heads = [](const std::vector<ReviewSlap>& slaps) {
        return All(ReviewPageHtml(slaps, "/"), "<th data-key=\"([a-z]+)\"");
    };
    const std::vector<std::string> always = {"status", "slap", "overlay", "fingers", "quality", "flags", "hand"};
    EXPECT_EQ(heads({Split("a", 4)}), always);
    std::vector<std::string> withConfidence = always;
    withConfidence.insert(withConfidence.begin() + 5, "confidence");
    EXPECT_EQ(heads({Split("a", 4), Split("b", 2, {}, {{"confidence", 90}})}), withConfidence);
}

} // namespace
