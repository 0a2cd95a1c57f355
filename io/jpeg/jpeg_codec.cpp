// JPEG through libjpeg-turbo: decoding with size and scan limits, where any
// warning about the data (a file cut short, corrupt entropy data) refuses the
// file; and baseline gray encoding for generated test files.
#include "format_readers.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

// jpeglib.h needs size_t and FILE declared before it.
#include <jerror.h>
#include <jpeglib.h>

namespace kovral_io {

namespace {

using detail::Bytes;

// Error handling: libjpeg reports errors through these callbacks, which jump
// back to the setjmp of the call that started the work.
struct ErrorHandler
{
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
    bool truncated;
};

[[noreturn]] void Fail(j_common_ptr cinfo)
{
    ErrorHandler* handler = reinterpret_cast<ErrorHandler*>(cinfo->err);
    cinfo->err->format_message(cinfo, handler->message);
    std::longjmp(handler->jump, 1);
}

// Level -1 is a warning about the data: taken as an error, so that a
// damaged file is refused rather than decoded into a partly gray image.
void Message(j_common_ptr cinfo, int level)
{
    if (level >= 0)
        return;
    ErrorHandler* handler = reinterpret_cast<ErrorHandler*>(cinfo->err);
    handler->truncated = cinfo->err->msg_code == JWRN_JPEG_EOF;
    Fail(cinfo);
}

void Silent(j_common_ptr)
{ }

// Progress of a decompression, with the scan limit it enforces.
struct ScanGuard
{
    jpeg_progress_mgr base;
    int maxScans;
    bool exceeded;
};

void CountScans(j_common_ptr cinfo)
{
    ScanGuard* guard = reinterpret_cast<ScanGuard*>(cinfo->progress);
    j_decompress_ptr d = reinterpret_cast<j_decompress_ptr>(cinfo);
    if (d->input_scan_number > guard->maxScans) {
        guard->exceeded = true;
        std::longjmp(reinterpret_cast<ErrorHandler*>(cinfo->err)->jump, 1);
    }
}

void InstallHandler(ErrorHandler& handler)
{
    jpeg_std_error(&handler.base);
    handler.base.error_exit = Fail;
    handler.base.emit_message = Message;
    handler.base.output_message = Silent;
    handler.message[0] = 0;
    handler.truncated = false;
}

// Decodes after the handler is installed; false after an error.
bool Decompress(jpeg_decompress_struct& cinfo, ErrorHandler& handler, ScanGuard& guard, Bytes bytes,
                const ReadOptions& options, ReadResult& result)
{
    if (setjmp(handler.jump))
        return false;
    jpeg_create_decompress(&cinfo);
    cinfo.progress = &guard.base;
    jpeg_mem_src(&cinfo, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&cinfo, TRUE);
    // JFIF density: unit 1 dots per inch, 2 per centimetre, 0 an aspect ratio only.
    if (cinfo.saw_JFIF_marker && cinfo.X_density > 0 && (cinfo.density_unit == 1 || cinfo.density_unit == 2))
        result.ppi = cinfo.density_unit == 1 ? cinfo.X_density : cinfo.X_density / detail::kInchesPerCentimetre;
    if (!detail::SizeAccepted(cinfo.image_width, cinfo.image_height, options, result))
        return false;
    cinfo.out_color_space = JCS_GRAYSCALE;
    jpeg_start_decompress(&cinfo);
    detail::AllocateImage(static_cast<int>(cinfo.output_width), static_cast<int>(cinfo.output_height), result);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = result.image.pixels.data() + static_cast<size_t>(cinfo.output_scanline) * cinfo.output_width;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    return true;
}

// Encodes after the handler is installed, into a buffer that libjpeg
// allocates; false after an error.
bool Compress(jpeg_compress_struct& cinfo, ErrorHandler& handler, const GrayImage& image, int quality,
              unsigned char*& buffer, unsigned long& size)
{
    if (setjmp(handler.jump))
        return false;
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &buffer, &size);
    cinfo.image_width = static_cast<JDIMENSION>(image.width);
    cinfo.image_height = static_cast<JDIMENSION>(image.height);
    cinfo.input_components = 1;
    cinfo.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = const_cast<uint8_t*>(image.pixels.data())
            + static_cast<size_t>(cinfo.next_scanline) * static_cast<size_t>(image.width);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    return true;
}

} // namespace

namespace detail {

bool JpegRecognises(Bytes bytes)
{
    return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

void JpegDecode(Bytes bytes, const ReadOptions& options, ReadResult& result)
{
    jpeg_decompress_struct cinfo = {};
    ErrorHandler handler;
    InstallHandler(handler);
    cinfo.err = &handler.base;
    ScanGuard guard = {};
    guard.base.progress_monitor = CountScans;
    guard.maxScans = options.maxJpegScans;
    result.ok = Decompress(cinfo, handler, guard, bytes, options, result);
    jpeg_destroy_decompress(&cinfo);
    if (result.ok || !result.reason.empty())
        return;
    if (guard.exceeded)
        result.reason = "JPEG of more than " + std::to_string(options.maxJpegScans) + " scans refused";
    else
        result.reason = std::string(handler.truncated ? "truncated JPEG: " : "corrupt JPEG: ") + handler.message;
}

} // namespace detail

std::vector<uint8_t> EncodeGrayJpeg(const GrayImage& image, int quality)
{
    jpeg_compress_struct cinfo = {};
    ErrorHandler handler;
    InstallHandler(handler);
    cinfo.err = &handler.base;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    std::vector<uint8_t> bytes;
    if (Compress(cinfo, handler, image, quality, buffer, size))
        bytes.assign(buffer, buffer + size);
    jpeg_destroy_compress(&cinfo);
    std::free(buffer);
    return bytes;
}

} // namespace kovral_io
