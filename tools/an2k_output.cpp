#include "an2k_output.h"

#include "slap_outputs.h"

#include <an2k/an2k.h>
#include <kovral_io.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

constexpr const char* kAgency = "kovral-split";

std::string Today()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[16];
    std::strftime(text, sizeof text, "%Y%m%d", &utc);
    return text;
}

} // namespace

bool WriteFingerTransaction(const Options& options, const std::vector<InputFile>& inputs,
                            const std::vector<TaskOutcome>& outcomes, const std::set<FileIdentity>& inputFiles,
                            std::string& error)
{
    std::vector<kovral_io::An2kFingerImage> fingers;
    for (size_t i = 0; i < inputs.size() && i < outcomes.size(); i++) {
        if (!outcomes[i].ok)
            continue;
        const std::string summaryPath = SummaryPath(options, inputs[i].name);
        std::ifstream in(summaryPath);
        const nlohmann::json summary = nlohmann::json::parse(std::istreambuf_iterator<char>(in),
                                                             std::istreambuf_iterator<char>(), nullptr, false);
        if (!summary.is_object() || !summary.contains("fingers") || !summary["fingers"].is_array()) {
            error = "--an2k-out: cannot read " + summaryPath;
            return false;
        }
        const nlohmann::json source = summary.value("source", nlohmann::json::object());
        for (const nlohmann::json& f : summary["fingers"]) {
            const std::string file = (fs::path(summaryPath).parent_path() / f.value("file", std::string())).string();
            kovral_io::ReadResult image = kovral_io::ReadImageFile(file);
            if (!image.ok) {
                error = "--an2k-out: " + image.Error();
                return false;
            }
            kovral_io::An2kFingerImage out;
            out.width = image.image.width;
            out.height = image.image.height;
            out.pixels = std::move(image.image.pixels);
            out.position = f.value("fgp", 0);
            out.impression = std::max(0, source.value("impression", 0));
            out.comment = "finger " + std::to_string(f.value("position", 0)) + " of " + inputs[i].path
                + (inputs[i].recordName.empty() ? "" : " " + inputs[i].recordName) + ", centre "
                + std::to_string(f.value("x", 0)) + " " + std::to_string(f.value("y", 0)) + ", angle "
                + std::to_string(f.value("angle", 0)) + ", quality " + std::to_string(f.value("quality", 0));
            fingers.push_back(std::move(out));
        }
    }
    std::vector<uint8_t> bytes;
    if (!kovral_io::WriteAn2kFingers(fingers, Today(), kAgency, bytes, error)) {
        error = "--an2k-out: " + error;
        return false;
    }
    OutputSet output(options.force, options.sync, inputFiles);
    return output.Stage(options.an2kOut, bytes, error) && output.Commit(error);
}

} // namespace kovral_tool
