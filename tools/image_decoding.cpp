#include "image_decoding.h"

#include <kovral.h>

namespace kovral_tool {

namespace {

kovral_io::ReadOptions SlapReadOptions(const std::optional<PixelSize>& rawSize)
{
    kovral_io::ReadOptions options;
    options.minSize = {KOVRAL_MIN_WIDTH, KOVRAL_MIN_HEIGHT};
    options.maxSize = {KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT};
    options.rawSize = rawSize;
    return options;
}

// False with error set when the read failed.
bool Succeeded(const kovral_io::ReadResult& result, const std::optional<PixelSize>& rawSize, std::string& error)
{
    if (!result.ok) {
        error = result.reason;
        if (result.format.empty() && !rawSize && result.reason.starts_with("not a ")
            && result.reason.ends_with(" image"))
            error += " (raw files need --size WxH)";
        return false;
    }
    return true;
}

bool Finish(kovral_io::ReadResult& result, const std::optional<PixelSize>& rawSize, GrayImage& image,
            std::string& error)
{
    if (!Succeeded(result, rawSize, error))
        return false;
    image = std::move(result.image);
    return true;
}

} // namespace

bool DecodeImage(std::span<const uint8_t> bytes, const std::optional<PixelSize>& rawSize, GrayImage& image,
                 std::string& error)
{
    kovral_io::ReadResult result = kovral_io::ReadImage(bytes, SlapReadOptions(rawSize));
    return Finish(result, rawSize, image, error);
}

bool DecodeImageFile(const std::string& path, const std::optional<PixelSize>& rawSize, GrayImage& image,
                     std::string& error)
{
    kovral_io::ReadResult result = kovral_io::ReadImageFile(path, SlapReadOptions(rawSize));
    return Finish(result, rawSize, image, error);
}

} // namespace kovral_tool
