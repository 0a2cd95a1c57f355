#include "slap_outputs.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

std::string OutputBase(const Options& options, const std::string& name)
{
    return (fs::path(options.outDir) / name).string();
}

const char* JudgementMeaning(int judgement)
{
    switch (judgement)
    {
    case KOVRAL_JUDGE_LEFT: return "highest finger left of the lowest (as a right hand lies)";
    case KOVRAL_JUDGE_RIGHT: return "highest finger right of the lowest (as a left hand lies)";
    default: return "undecided";
    }
}

} // namespace

std::string FingerPath(const Options& options, const std::string& name, int position)
{
    return OutputBase(options, name) + "_finger" + std::to_string(position)
           + (options.format == FingerFormat::Png ? ".png" : ".bmp");
}

std::string SummaryPath(const Options& options, const std::string& name)
{
    return OutputBase(options, name) + ".json";
}

std::string OverlayPath(const Options& options, const std::string& name)
{
    return OutputBase(options, name) + "_overlay.png";
}

std::string FirstExistingOutput(const Options& options, const std::string& name)
{
    std::vector<std::string> paths{SummaryPath(options, name)};
    for (int position = 1; position <= kMaxFingers; position++)
        paths.push_back(FingerPath(options, name, position));
    if (options.overlay)
        paths.push_back(OverlayPath(options, name));
    for (const std::string& path : paths)
    {
        std::error_code ec;
        if (fs::exists(fs::symlink_status(path, ec)))
            return path;
    }
    return "";
}

void RemoveStaleFingers(const Options& options, const std::string& name, int count)
{
    for (int position = count + 1; position <= kMaxFingers; position++)
    {
        std::error_code ec;
        fs::remove(FingerPath(options, name, position), ec);
    }
}

namespace {

nlohmann::ordered_json FlagNames(uint32_t flags)
{
    nlohmann::ordered_json names = nlohmann::ordered_json::array();
    if (flags & KOVRAL_FINGER_CUT_BY_BORDER)
        names.push_back("cut by border");
    if (flags & KOVRAL_FINGER_TOUCHING)
        names.push_back("touching");
    if (flags & KOVRAL_FINGER_FAINT)
        names.push_back("faint");
    return names;
}

nlohmann::ordered_json DeficiencyNames(uint32_t bits)
{
    static const std::pair<uint32_t, const char*> kNames[] = {
        {KOVRAL_DEFICIENCY_ARTIFACTS, "artifacts"},       {KOVRAL_DEFICIENCY_LOW_CONTRAST, "low contrast"},
        {KOVRAL_DEFICIENCY_OVER_INKED, "over-inked"},     {KOVRAL_DEFICIENCY_SIDEWAYS, "sideways"},
        {KOVRAL_DEFICIENCY_OVER_ROTATED, "over-rotated"}, {KOVRAL_DEFICIENCY_INCOMPLETE, "incomplete"}};
    nlohmann::ordered_json names = nlohmann::ordered_json::array();
    for (const auto& [bit, name] : kNames)
        if (bits & bit)
            names.push_back(name);
    return names;
}

const char* HandName(int hand)
{
    switch (hand)
    {
    case KOVRAL_HAND_RIGHT: return "right four";
    case KOVRAL_HAND_LEFT: return "left four";
    case KOVRAL_HAND_THUMBS: return "thumbs";
    default: return "unknown";
    }
}

} // namespace

nlohmann::ordered_json SummaryJson(const SlapSummary& summary)
{
    nlohmann::ordered_json fingers = nlohmann::ordered_json::array();
    for (int i = 0; i < summary.count && i < static_cast<int>(summary.fingerFiles.size()); i++)
    {
        const KOVRAL_INFO_& f = summary.fingers[i];
        fingers.push_back({{"position", i + 1},
                           {"x", f.x},
                           {"y", f.y},
                           {"angle", f.angle},
                           {"quality", f.quality},
                           {"file", summary.fingerFiles[i]}});
        if (summary.accurate)
        {
            fingers.back()["confidence"] = summary.confidence[i];
            fingers.back()["flags"] = FlagNames(summary.flags[i]);
        }
    }
    nlohmann::ordered_json json{{"input", summary.input},
                        {"width", summary.width},
                        {"height", summary.height},
                        {"finger_width", summary.fingerWidth},
                        {"finger_height", summary.fingerHeight},
                        {"result", summary.result},
                        {"count", summary.count},
                        {"fingers", fingers}};
    if (summary.accurate)
    {
        if (summary.result == KOVRAL_OK)
        {
            const kovral_slap_report& r = summary.report;
            json["locator"] = "accurate";
            json["hand"] = {{"layout", HandName(r.hand)}, {"confidence", r.hand_confidence}};
            json["deficiencies"] = DeficiencyNames(r.deficiencies);
            nlohmann::ordered_json rejected = nlohmann::ordered_json::array();
            for (int i = 0; i < r.rejected_count; i++)
                rejected.push_back({r.rejected[i].left, r.rejected[i].top, r.rejected[i].right, r.rejected[i].bottom});
            json["rejected"] = rejected;
        }
    }
    else if (summary.count == kMaxFingers && summary.result == KOVRAL_OK)
        json["hand"] = {{"judgement", summary.judgement}, {"meaning", JudgementMeaning(summary.judgement)}};
    return json;
}

bool WriteOutput(const std::string& path, const std::function<bool(const std::string&)>& write, std::string& error)
{
    std::error_code ec;
    fs::path parent = fs::path(path).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec) && !fs::create_directories(parent, ec) && ec)
    {
        error = "cannot create directory " + parent.string() + ": " + ec.message();
        return false;
    }
    std::string temporary = path + ".part" + std::to_string(getpid());
    errno = 0;
    if (!write(temporary))
    {
        error = "cannot write " + path + (errno ? std::string(": ") + std::strerror(errno) : std::string());
        std::remove(temporary.c_str());
        return false;
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0)
    {
        error = "cannot write " + path + ": " + std::strerror(errno);
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

} // namespace kovral_tool
