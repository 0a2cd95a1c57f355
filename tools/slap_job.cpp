#include "slap_job.h"

#include "embedded_sample.h"
#include "overlay_drawing.h"
#include "slap_outputs.h"

#include <kovral.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace kovral_tool {

namespace {

std::string SplitFailure(int result)
{
    switch (result)
    {
    case KOVRAL_EINVAL: return "the splitter refused the request (result -1)";
    case KOVRAL_ENOTINIT: return "the splitter is not initialised (result -2)";
    case KOVRAL_ENOMEM: return "the splitter ran out of memory (result -3)";
    default: return "the splitter failed (result " + std::to_string(result) + ")";
    }
}

std::string FileName(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

// The "input" of the summary at path, or "" when it cannot be read.
std::string SummaryInput(const std::string& path)
{
    std::ifstream in(path);
    nlohmann::json summary = nlohmann::json::parse(in, nullptr, false);
    if (!summary.is_object() || !summary.contains("input") || !summary["input"].is_string())
        return "";
    return summary["input"].get<std::string>();
}

} // namespace

SlapSplitter::SlapSplitter(const Options& options, const std::set<FileIdentity>& inputs)
    : options_(options), inputs_(inputs)
{
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
}

SlapSplitter::~SlapSplitter()
{
    KOVRAL_Uninit();
    kovral_splitter_free(splitter_);
}

bool SlapSplitter::Decode(const InputFile& input, GrayImage& image, std::string& error) const
{
    if (!input.path.empty())
        return DecodeImageFile(input.path, options_.rawSize, image, error);
    std::span<const uint8_t> sample = BundledSample();
    if (sample.empty())
    {
        error = "this build of kovral-split carries no sample slap; name an input file";
        return false;
    }
    return DecodeImage(sample, std::nullopt, image, error);
}

TaskOutcome SlapSplitter::Split(const InputFile& input)
{
    TaskOutcome outcome;
    bool replace = options_.force;
    std::string existing;
    EarlierOutputs earlier = FindEarlierOutputs(options_, input.name, existing);
    if (earlier != EarlierOutputs::None && !replace)
    {
        if (options_.skipExisting && earlier == EarlierOutputs::Complete)
        {
            outcome.ok = outcome.skipped = true;
            outcome.message = "skipped: " + SummaryPath(options_, input.name) + " and its files exist";
            return outcome;
        }
        if (input.path.empty() && SummaryInput(SummaryPath(options_, input.name)) == kSampleInput)
            replace = true;
        else
        {
            const bool complete = earlier == EarlierOutputs::Complete;
            outcome.message = existing + (complete ? " exists" : " is left from an unfinished run")
                              + " (--force replaces it" + (complete ? ", --skip-existing leaves it)" : ")");
            return outcome;
        }
    }
    GrayImage image;
    if (!Decode(input, image, outcome.message))
        return outcome;

    // Finger buffers: the given size must fit the image; the default shrinks to it.
    PixelSize finger = options_.fingerSize.value_or(kDefaultFingerSize);
    if (options_.fingerSize && (finger.width > image.width || finger.height > image.height))
    {
        outcome.message = "finger size " + std::to_string(finger.width) + "x" + std::to_string(finger.height)
                          + " is larger than the " + std::to_string(image.width) + " x "
                          + std::to_string(image.height) + " image";
        return outcome;
    }
    finger.width = std::min(finger.width, image.width);
    finger.height = std::min(finger.height, image.height);

    size_t fingerBytes = static_cast<size_t>(finger.width) * finger.height;
    std::vector<uint8_t> buffers(fingerBytes * KOVRAL_MAX_RECORDS);
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers.data() + fingerBytes * i;

    SlapSummary summary;
    summary.input = input.path.empty() ? kSampleInput : input.path;
    summary.width = image.width;
    summary.height = image.height;
    summary.fingerWidth = finger.width;
    summary.fingerHeight = finger.height;
    if (options_.accurate)
    {
        if (splitter_ == nullptr)
            splitter_ = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
        kovral_finger found[KOVRAL_MAX_FINGERS] = {};
        for (int i = 0; i < KOVRAL_MAX_FINGERS; i++)
            found[i].image = info[i].pFpImg;
        const kovral_split_options split{finger.width, finger.height, KOVRAL_LOCATOR_ACCURATE};
        summary.accurate = true;
        summary.result = splitter_ == nullptr ? KOVRAL_ENOMEM
                                              : kovral_split(splitter_, image.pixels.data(), image.width,
                                                             image.height, &split, found, &summary.count,
                                                             &summary.report);
        for (int i = 0; summary.result == KOVRAL_OK && i < summary.count; i++)
        {
            info[i].x = found[i].x;
            info[i].y = found[i].y;
            info[i].angle = found[i].angle;
            info[i].quality = static_cast<uint8_t>(found[i].quality);
            summary.confidence[i] = found[i].confidence;
            summary.flags[i] = found[i].flags;
        }
    }
    else
        summary.result = KOVRAL_DoSplit(image.pixels.data(), image.width, image.height, nullptr, finger.width,
                                        finger.height, &summary.count, info);
    bool split = summary.result == KOVRAL_OK;
    if (split)
    {
        std::copy_n(info, std::min(summary.count, kMaxFingers), summary.fingers);
        if (summary.count == kMaxFingers)
            summary.judgement = KOVRAL_JudegeFingers(summary.count, info);
    }

    // Every output to a temporary; the summary last, as it marks a complete set.
    OutputSet outputs(replace, options_.sync, inputs_);
    std::set<std::string> written;
    std::string& error = outcome.message;
    auto stage = [&](const std::string& path, const std::vector<uint8_t>& bytes) {
        if (bytes.empty())
        {
            error = "cannot encode " + path + ": out of memory";
            return false;
        }
        written.insert(path);
        return outputs.Stage(path, bytes, error);
    };
    for (int i = 0; split && i < summary.count; i++)
    {
        std::string path = FingerPath(options_, input.name, i + 1);
        GrayImage fingerImage{finger.width, finger.height,
                              std::vector<uint8_t>(info[i].pFpImg, info[i].pFpImg + fingerBytes)};
        if (!stage(path, options_.format == FingerFormat::Png ? kovral_io::EncodeGrayPng(fingerImage)
                                                              : kovral_io::EncodeGrayBmp(fingerImage)))
            return outcome;
        summary.fingerFiles.push_back(FileName(path));
    }
    if (options_.overlay)
    {
        std::vector<FingerMark> marks;
        for (int i = 0; split && i < summary.count; i++)
            marks.push_back({info[i].x, info[i].y, info[i].angle, i + 1});
        RgbImage overlay = DrawOverlay(image, marks, finger.width, finger.height);
        if (!stage(OverlayPath(options_, input.name),
                   kovral_io::EncodeRgbPng(overlay.pixels.data(), overlay.width, overlay.height)))
            return outcome;
    }
    const std::string summaryPath = SummaryPath(options_, input.name);
    const std::string text = SummaryText(summary);
    if (!stage(summaryPath, std::vector<uint8_t>(text.begin(), text.end())))
        return outcome;
    for (const std::string& path : PossibleOutputs(options_, input.name))
        if (!written.count(path))
            outputs.Retire(path);
    if (!outputs.Commit(error))
        return outcome;
    outcome.record = SummaryJson(summary).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);

    if (!split)
    {
        outcome.message = SplitFailure(summary.result);
        return outcome;
    }
    outcome.ok = true;
    outcome.fingers = summary.count;
    outcome.message = std::to_string(summary.count) + (summary.count == 1 ? " finger" : " fingers") + " -> "
                      + summaryPath;
    return outcome;
}

} // namespace kovral_tool
