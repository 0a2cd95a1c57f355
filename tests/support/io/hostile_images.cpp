#include "hostile_images.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

// Encodes with the given scan script (none: libjpeg's usual progression).
// Test input only: a libjpeg error ends the program.
std::vector<uint8_t> Encode(const kovral_io::GrayImage& image, const std::vector<jpeg_scan_info>& scans)
{
    jpeg_compress_struct cinfo;
    jpeg_error_mgr errors;
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&cinfo, &buffer, &size);
    cinfo.image_width = static_cast<JDIMENSION>(image.width);
    cinfo.image_height = static_cast<JDIMENSION>(image.height);
    cinfo.input_components = 1;
    cinfo.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, 95, TRUE);
    jpeg_simple_progression(&cinfo);
    if (!scans.empty()) {
        cinfo.scan_info = scans.data();
        cinfo.num_scans = static_cast<int>(scans.size());
    }
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row
            = const_cast<uint8_t*>(image.pixels.data()) + cinfo.next_scanline * static_cast<size_t>(image.width);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    std::vector<uint8_t> bytes(buffer, buffer + size);
    jpeg_destroy_compress(&cinfo);
    std::free(buffer);
    return bytes;
}

} // namespace

std::vector<uint8_t> ScanBombJpeg(const kovral_io::GrayImage& image, int refinements)
{
    std::vector<jpeg_scan_info> scans{{1, {0}, 0, 0, 0, 0}};
    for (int k = 1; k < 64; k++) {
        scans.push_back({1, {0}, k, k, 0, refinements});
        for (int bit = refinements; bit > 0; bit--)
            scans.push_back({1, {0}, k, k, bit, bit - 1});
    }
    return Encode(image, scans);
}

std::vector<uint8_t> ProgressiveJpeg(const kovral_io::GrayImage& image)
{
    return Encode(image, {});
}
