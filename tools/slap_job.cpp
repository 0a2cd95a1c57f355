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

// A split uses the image's rows in whole blocks of this many.
constexpr int kSplitRowBlock = 16;

std::string SplitFailure(int result)
{
    switch (result) {
    case KOVRAL_EINVAL:
        return "the splitter refused the request (result -1)";
    case KOVRAL_ENOTINIT:
        return "the splitter is not initialised (result -2)";
    case KOVRAL_ENOMEM:
        return "the splitter ran out of memory (result -3)";
    default:
        return "the splitter failed (result " + std::to_string(result) + ")";
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

SplitWorkspace::~SplitWorkspace()
{
    kovral_splitter_free(splitter_);
}

SlapSplitter::SlapSplitter(const Options& options, const std::set<FileIdentity>& inputs, SplitWorkspace* workspace)
    : options_(options),
      inputs_(inputs),
      own_(workspace ? nullptr : std::make_unique<SplitWorkspace>()),
      work_(workspace ? *workspace : *own_)
{ }

const GrayImage* SlapSplitter::Decode(const InputFile& input, SlapSource& source, std::string& error)
{
    if (!input.path.empty()) {
        // Image files are read into the reader's memory, PGM and raw pixels
        // where they lie; WSQ files, transaction records and files no image
        // reader knows go the fingerprint files' way.
        if (input.record == 0) {
            const kovral_io::ReadResult& read = work_.reader_.Read(input.path, ImageReadOptions(options_));
            if (read.ok) {
                NoteImageSource(read, source);
                return &read.image;
            }
        }
        return ReadSlap(input, options_, source, work_.slap_, error) ? &work_.slap_ : nullptr;
    }
    std::span<const uint8_t> sample = BundledSample();
    if (sample.empty()) {
        error = "this build of kovral-split carries no sample slap; name an input file";
        return nullptr;
    }
    return DecodeImage(sample, std::nullopt, work_.sample_, error) ? &work_.sample_ : nullptr;
}

TaskOutcome SlapSplitter::Split(const InputFile& input)
{
    TaskOutcome outcome;
    bool replace = options_.force;
    std::string existing;
    EarlierOutputs earlier = FindEarlierOutputs(options_, input.name, existing);
    if (earlier != EarlierOutputs::None && !replace) {
        if (options_.skipExisting && earlier == EarlierOutputs::Complete) {
            outcome.ok = outcome.skipped = true;
            outcome.message = "skipped: " + SummaryPath(options_, input.name) + " and its files exist";
            return outcome;
        }
        if (input.path.empty() && SummaryInput(SummaryPath(options_, input.name)) == kSampleInput)
            replace = true;
        else {
            const bool complete = earlier == EarlierOutputs::Complete;
            outcome.message = existing + (complete ? " exists" : " is left from an unfinished run")
                + " (--force replaces it" + (complete ? ", --skip-existing leaves it)" : ")");
            return outcome;
        }
    }
    // The slap as read, then readied at 500 ppi within the limits: the split sees the latter.
    SlapSummary summary;
    const GrayImage* decoded = Decode(input, summary.placement.source, outcome.message);
    if (decoded == nullptr)
        return outcome;
    summary.width = decoded->width;
    summary.height = decoded->height;
    kovral_io::SplitPreparation& prepared = summary.placement.prepared;
    if (!PrepareSlap(*decoded, summary.placement.source, options_, prepared, outcome.message))
        return outcome;
    // Unchanged by the preparation, the slap is split where it was read.
    const bool unchanged = prepared.pixels.empty();
    if (!unchanged)
        work_.prepared_ = {prepared.width, prepared.height, std::move(prepared.pixels)};
    const GrayImage& image = unchanged ? *decoded : work_.prepared_;

    // Finger buffers: the given size must fit the image; the default shrinks to it.
    PixelSize finger = options_.fingerSize.value_or(kDefaultFingerSize);
    if (options_.fingerSize && (finger.width > image.width || finger.height > image.height)) {
        outcome.message = "finger size " + std::to_string(finger.width) + "x" + std::to_string(finger.height)
            + " is larger than the " + std::to_string(image.width) + " x " + std::to_string(image.height) + " image";
        return outcome;
    }
    finger.width = std::min(finger.width, image.width);
    finger.height = std::min(finger.height, image.height);

    // The buffers go from slap to slap. A split overwrites all of a buffer it
    // fills but one it cannot fill from a window (a buffer higher than the
    // rows the split uses): that keeps its bytes, which start as zeros.
    const size_t fingerBytes = static_cast<size_t>(finger.width) * finger.height;
    std::vector<uint8_t>& buffers = work_.fingers_;
    if (buffers.size() < fingerBytes * kMaxFingers)
        buffers.resize(fingerBytes * kMaxFingers);
    if (finger.height > image.height / kSplitRowBlock * kSplitRowBlock)
        std::fill_n(buffers.begin(), fingerBytes * kMaxFingers, 0);
    kovral_finger found[kMaxFingers] = {};
    for (int i = 0; i < kMaxFingers; i++)
        found[i].image = buffers.data() + fingerBytes * i;
    if (work_.splitter_ == nullptr)
        work_.splitter_ = kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);

    summary.input = input.path.empty() ? kSampleInput : input.path;
    summary.fingerWidth = finger.width;
    summary.fingerHeight = finger.height;
    const kovral_split_options request{finger.width, finger.height,
                                       options_.accurate ? KOVRAL_LOCATOR_ACCURATE : KOVRAL_LOCATOR_EXACT};
    summary.accurate = options_.accurate;
    summary.result = work_.splitter_ == nullptr
        ? KOVRAL_ENOMEM
        : kovral_split(work_.splitter_, image.pixels.data(), image.width, image.height, &request, found,
                       &summary.count, options_.accurate ? &summary.report : nullptr);
    bool split = summary.result == KOVRAL_OK;
    for (int i = 0; split && i < std::min(summary.count, kMaxFingers); i++) {
        summary.fingers[i]
            = {found[i].x, found[i].y, found[i].angle, static_cast<uint8_t>(found[i].quality), found[i].image};
        summary.confidence[i] = found[i].confidence;
        summary.flags[i] = found[i].flags;
    }
    if (split && summary.count == kMaxFingers)
        summary.judgement = kovral_judge_hand(found, summary.count);
    if (split)
        PlaceFingers(summary.placement, summary.fingers, std::min(summary.count, kMaxFingers), finger.width,
                     finger.height, summary.judgement);

    // Every output to a temporary; the summary last, as it marks a complete set.
    OutputSet outputs(replace, options_.sync, inputs_);
    std::set<std::string> written;
    std::string& error = outcome.message;
    auto stage = [&](const std::string& path, std::span<const uint8_t> bytes) {
        if (bytes.empty()) {
            error = "cannot encode " + path + ": out of memory";
            return false;
        }
        written.insert(path);
        return outputs.Stage(path, bytes, error);
    };
    for (int i = 0; split && i < summary.count; i++) {
        std::string path = FingerPath(options_, input.name, i + 1, FileFingerPosition(summary.placement, i));
        // Encoded from the split's buffer; each file is written whole, at once.
        if (options_.format == FingerFormat::Png)
            work_.encoded_ = kovral_io::EncodeGrayPng(found[i].image, finger.width, finger.height);
        else
            kovral_io::EncodeGrayBmp(found[i].image, finger.width, finger.height, work_.encoded_);
        if (!stage(path, work_.encoded_))
            return outcome;
        summary.fingerFiles.push_back(FileName(path));
    }
    if (options_.overlay) {
        std::vector<FingerMark> marks;
        for (int i = 0; split && i < summary.count; i++)
            marks.push_back({found[i].x, found[i].y, found[i].angle, i + 1});
        RgbImage overlay = DrawOverlay(image, marks, finger.width, finger.height);
        if (!stage(OverlayPath(options_, input.name),
                   kovral_io::EncodeRgbPng(overlay.pixels.data(), overlay.width, overlay.height)))
            return outcome;
    }
    const std::string summaryPath = SummaryPath(options_, input.name);
    const std::string text = SummaryText(summary);
    if (!stage(summaryPath, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size())))
        return outcome;
    for (const std::string& path : PossibleOutputs(options_, input.name))
        if (!written.count(path))
            outputs.Retire(path);
    if (!outputs.Commit(error))
        return outcome;
    outcome.record = SummaryJson(summary).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);

    if (!split) {
        outcome.message = SplitFailure(summary.result);
        return outcome;
    }
    outcome.ok = true;
    outcome.fingers = summary.count;
    outcome.message
        = std::to_string(summary.count) + (summary.count == 1 ? " finger" : " fingers") + " -> " + summaryPath;
    return outcome;
}

} // namespace kovral_tool
