#include "slap_outputs.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

constexpr int kJsonIndent = 2;
constexpr const char* kHexDigits = "0123456789abcdef";

std::string OutputBase(const Options& options, const std::string& name)
{
    return (fs::path(options.outDir) / name).string();
}

// NIST finger position codes run from 0 (unknown) to 10.
constexpr int kLargestFgp = 10;

std::string FingerPath(const Options& options, const std::string& name, int position, int fgp, FingerFormat format)
{
    return OutputBase(options, name) + "_finger" + std::to_string(position)
        + (fgp >= 0 ? "_fgp" + std::to_string(fgp) : "") + (format == FingerFormat::Png ? ".png" : ".bmp");
}

bool Exists(const std::string& path)
{
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

const char* JudgementMeaning(int judgement)
{
    switch (judgement) {
    case KOVRAL_JUDGE_LEFT:
        return "highest finger left of the lowest (as a right hand lies)";
    case KOVRAL_JUDGE_RIGHT:
        return "highest finger right of the lowest (as a left hand lies)";
    default:
        return "undecided";
    }
}

bool ValidUtf8(const std::string& text)
{
    nlohmann::json value = text;
    try {
        (void)value.dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

// A file name as key; one that is not UTF-8 also as key_hex, its bytes in
// hexadecimal, so that the name can be recovered exactly.
void PutName(nlohmann::ordered_json& json, const std::string& key, const std::string& name)
{
    json[key] = name;
    if (ValidUtf8(name))
        return;
    std::string hex;
    for (unsigned char c : name)
        hex += {kHexDigits[c >> 4], kHexDigits[c & 15]};
    json[key + "_hex"] = hex;
}

} // namespace

std::string FingerPath(const Options& options, const std::string& name, int position, int fgp)
{
    return FingerPath(options, name, position, fgp, options.format);
}

std::string SummaryPath(const Options& options, const std::string& name)
{
    return OutputBase(options, name) + ".json";
}

std::string OverlayPath(const Options& options, const std::string& name)
{
    return OutputBase(options, name) + "_overlay.png";
}

std::vector<std::string> PossibleOutputs(const Options& options, const std::string& name)
{
    std::vector<std::string> paths{SummaryPath(options, name), OverlayPath(options, name)};
    for (FingerFormat format : {FingerFormat::Bmp, FingerFormat::Png})
        for (int position = 1; position <= kMaxFingers; position++)
            for (int fgp = -1; fgp <= kLargestFgp; fgp++)
                paths.push_back(FingerPath(options, name, position, fgp, format));
    return paths;
}

EarlierOutputs FindEarlierOutputs(const Options& options, const std::string& name, std::string& first)
{
    first.clear();
    for (const std::string& path : PossibleOutputs(options, name))
        if (Exists(path)) {
            first = path;
            break;
        }
    if (first.empty())
        return EarlierOutputs::None;
    // Complete: the summary is whole and every file it names is there.
    std::ifstream in(SummaryPath(options, name));
    nlohmann::json summary
        = nlohmann::json::parse(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>(), nullptr, false);
    if (!summary.is_object() || !summary.contains("fingers") || !summary["fingers"].is_array())
        return EarlierOutputs::Incomplete;
    // Each finger's file: the plain name, or the one the summary gives (it carries the finger position).
    const fs::path dir = fs::path(SummaryPath(options, name)).parent_path();
    int position = 1;
    for (const nlohmann::json& finger : summary["fingers"]) {
        if (!finger.is_object())
            return EarlierOutputs::Incomplete;
        const bool named = finger.contains("file") && finger["file"].is_string()
            && Exists((dir / finger["file"].get<std::string>()).string());
        if (!named && !Exists(FingerPath(options, name, position)))
            return EarlierOutputs::Incomplete;
        position++;
    }
    if (options.overlay && !Exists(OverlayPath(options, name)))
        return EarlierOutputs::Incomplete;
    return EarlierOutputs::Complete;
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
    static const std::pair<uint32_t, const char*> kNames[]
        = {{KOVRAL_DEFICIENCY_ARTIFACTS, "artifacts"},       {KOVRAL_DEFICIENCY_LOW_CONTRAST, "low contrast"},
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
    switch (hand) {
    case KOVRAL_HAND_RIGHT:
        return "right four";
    case KOVRAL_HAND_LEFT:
        return "left four";
    case KOVRAL_HAND_THUMBS:
        return "thumbs";
    default:
        return "unknown";
    }
}

} // namespace

int HandOfPosition(int position)
{
    switch (position) {
    case 13:
        return KOVRAL_HAND_RIGHT;
    case 14:
        return KOVRAL_HAND_LEFT;
    case 15:
        return KOVRAL_HAND_THUMBS;
    default:
        return KOVRAL_HAND_UNKNOWN;
    }
}

nlohmann::ordered_json SummaryJson(const SlapSummary& summary)
{
    nlohmann::ordered_json fingers = nlohmann::ordered_json::array();
    for (int i = 0; i < summary.count && i < static_cast<int>(summary.fingerFiles.size()); i++) {
        const KOVRAL_INFO_& f = summary.fingers[i];
        nlohmann::ordered_json finger{
            {"position", i + 1}, {"x", f.x}, {"y", f.y}, {"angle", f.angle}, {"quality", f.quality}};
        PutName(finger, "file", summary.fingerFiles[i]);
        PutFingerPlacement(finger, summary.placement, i);
        if (summary.accurate) {
            finger["confidence"] = summary.confidence[i];
            finger["flags"] = FlagNames(summary.flags[i]);
        }
        fingers.push_back(finger);
    }
    nlohmann::ordered_json json;
    PutName(json, "input", summary.input);
    json["width"] = summary.width;
    json["height"] = summary.height;
    json["finger_width"] = summary.fingerWidth;
    json["finger_height"] = summary.fingerHeight;
    json["result"] = summary.result;
    json["count"] = summary.count;
    json["fingers"] = fingers;
    if (summary.accurate) {
        if (summary.result == KOVRAL_OK) {
            const kovral_slap_report& r = summary.report;
            json["locator"] = "accurate";
            json["hand"] = {{"layout", HandName(r.hand)}, {"confidence", r.hand_confidence}};
            // A record naming another hand than the image shows: a common enrolment error.
            const int recorded = HandOfPosition(summary.placement.source.position);
            if (recorded != KOVRAL_HAND_UNKNOWN) {
                json["hand"]["record"] = HandName(recorded);
                if (r.hand != KOVRAL_HAND_UNKNOWN && r.hand != recorded)
                    json["hand"]["mismatch"]
                        = std::string("record says ") + HandName(recorded) + ", image shows " + HandName(r.hand);
            }
            json["deficiencies"] = DeficiencyNames(r.deficiencies);
            nlohmann::ordered_json rejected = nlohmann::ordered_json::array();
            for (int i = 0; i < r.rejected_count; i++)
                rejected.push_back(
                    {r.rejected[i].left, r.rejected[i].top, r.rejected[i].right, r.rejected[i].bottom});
            json["rejected"] = rejected;
        }
    } else if (summary.count == kMaxFingers && summary.result == KOVRAL_OK)
        json["hand"] = {{"judgement", summary.judgement}, {"meaning", JudgementMeaning(summary.judgement)}};
    PutSlapPlacement(json, summary.placement);
    return json;
}

std::string SummaryText(const SlapSummary& summary)
{
    return SummaryJson(summary).dump(kJsonIndent, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

} // namespace kovral_tool
