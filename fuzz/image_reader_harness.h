// The check every image-reader fuzz target makes: the reader either refuses
// with a reason and no pixels, or gives an image of its stated size within
// the limits; and the same bytes always decode to the same pixels, so that
// nothing depends on memory the decoder did not write.
#ifndef KOVRAL_FUZZ_IMAGE_READER_HARNESS_H
#define KOVRAL_FUZZ_IMAGE_READER_HARNESS_H

#include "fuzz_bytes.h"

#include <format_readers.h>

// Small limits keep every run quick; the size checks are the same at any limit.
inline kovral_io::ReadOptions FuzzReadOptions()
{
    kovral_io::ReadOptions options;
    options.maxSize = {2048, 2048};
    options.maxPixels = 1u << 20;
    options.maxFileBytes = 1u << 20;
    options.maxJpegScans = 20;
    return options;
}

// Bytes that the reader does not recognise are not decoded, as in kovral_io.
// inPlace: the reader also decodes the bytes where they lie in the image's
// memory (as a file reader hands them over), to the same result.
template <typename Recognises, typename Decode>
void FuzzReader(const uint8_t* data, size_t size, Recognises recognises, Decode decode, bool inPlace = false)
{
    const kovral_io::ReadOptions options = FuzzReadOptions();
    const kovral_io::detail::Bytes bytes(data, size);
    if (!recognises(bytes))
        return;
    kovral_io::ReadResult first, second;
    decode(bytes, options, first);
    decode(bytes, options, second);
    FUZZ_CHECK(first.ok == second.ok);
    FUZZ_CHECK(first.reason == second.reason);
    if (!first.ok) {
        FUZZ_CHECK(!first.reason.empty());
        return;
    }
    const kovral_io::GrayImage& image = first.image;
    FUZZ_CHECK(image.width >= 1 && image.width <= options.maxSize.width);
    FUZZ_CHECK(image.height >= 1 && image.height <= options.maxSize.height);
    FUZZ_CHECK(image.pixels.size() == static_cast<size_t>(image.width) * static_cast<size_t>(image.height));
    FUZZ_CHECK(image.pixels == second.image.pixels);

    // Memory an earlier image left, holding other bytes, never shows.
    kovral_io::ReadResult reused;
    reused.image.pixels.assign(size, 0xA5);
    decode(bytes, options, reused);
    FUZZ_CHECK(reused.ok && reused.image.pixels == image.pixels);
    if (inPlace) {
        kovral_io::ReadResult here;
        here.image.pixels.assign(data, data + size);
        decode(kovral_io::detail::Bytes(here.image.pixels.data(), size), options, here);
        FUZZ_CHECK(here.ok && here.image.width == image.width && here.image.height == image.height);
        FUZZ_CHECK(here.image.pixels == image.pixels);
    }
}

#endif
