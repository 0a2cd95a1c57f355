#include "cli_options.h"

#include <CLI/CLI.hpp>
#include <kovral.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>

namespace kovral_tool {

namespace {

constexpr int kMaxJobs = 256;
constexpr int kUsageError = 2;

const char* const kExamples = R"(Examples:
  kovral-split
      split the bundled sample slap into ./kovral-out
  kovral-split right4.png left4.png --overlay
      two slaps; finger BMPs, JSON summaries and overlay PNGs in ./kovral-out
  kovral-split -r scans/ -o fingers/ -j 4 --format png
      every image under scans/, four worker processes, finger images as PNG
  kovral-split --size 1600x1000 slap.raw
      a headerless 8-bit gray file of 1600 x 1000 pixels
  kovral-split --finger-size 400x560 --force slap.pgm
      larger finger images, replacing earlier results

Outputs per slap NAME: NAME_finger1.bmp .. NAME_finger4.bmp (left to right),
NAME.json (sizes, result code, per finger centre, angle, quality and file,
hand judgement of four fingers) and, with --overlay, NAME_overlay.png.
Exit status: 0 when every input was split, 1 when any failed, 2 on a usage error.)";

// CLI11 check that a value reads as a size "WxH".
std::string CheckPixelSize(const std::string& text)
{
    PixelSize size;
    return ParsePixelSize(text, size) ? std::string() : "expected WIDTHxHEIGHT, e.g. 320x480, not '" + text + "'";
}

std::string VersionText()
{
    char text[96];
    std::snprintf(text, sizeof text, "kovral-split %s (libkovral %d.%d.%d)", KOVRAL_SPLIT_VERSION,
                  KOVRAL_VERSION_MAJOR, KOVRAL_VERSION_MINOR, KOVRAL_VERSION_PATCH);
    return text;
}

} // namespace

bool ParsePixelSize(const std::string& text, PixelSize& size)
{
    int w = 0;
    int h = 0;
    char sep = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%d%c%d%n", &w, &sep, &h, &used) != 3 || used != static_cast<int>(text.size()))
        return false;
    if ((sep != 'x' && sep != 'X' && sep != ',') || w <= 0 || h <= 0)
        return false;
    size = {w, h};
    return true;
}

int UsableCores()
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0)
        return CPU_COUNT(&set);
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<int>(online) : 1;
}

std::optional<Options> ParseCommandLine(int argc, char** argv, int& exitCode)
{
    Options options;
    options.jobs = UsableCores();
    std::string rawSize;
    std::string fingerSize;

    CLI::App app("Splits slap fingerprint images (500 ppi, up to four fingers) into upright finger images.\n"
                 "Without an input it splits the bundled sample slap.",
                 "kovral-split");
    app.footer(kExamples);
    app.set_version_flag("--version", VersionText());
    app.add_option("inputs", options.inputs, "Slap images (PNG, JPEG, BMP, PGM; raw with --size) or directories")
        ->type_name("FILE|DIR");
    app.add_option("-o,--out", options.outDir, "Output directory, created if missing (default kovral-out)")
        ->type_name("DIR");
    app.add_flag("-r,--recursive", options.recursive, "Also take images from subdirectories of directory inputs");
    app.add_option("-j,--jobs", options.jobs, "Worker processes (default: the number of cores)")
        ->type_name("N")->check(CLI::Range(1, kMaxJobs).description(""));
    std::string format = "bmp";
    app.add_option("--format", format, "Finger image format: bmp or png (default bmp)")
        ->type_name("FORMAT")->check(CLI::IsMember({"bmp", "png"}).description(""));
    app.add_flag("--overlay", options.overlay, "Also write NAME_overlay.png: the slap with every finger marked");
    app.add_flag("-f,--force", options.force, "Replace existing outputs");
    app.add_option("--size", rawSize, "Size of raw 8-bit inputs (files that are no known image format)")
        ->type_name("WxH")->check(CheckPixelSize);
    app.add_option("--finger-size", fingerSize,
                   "Finger image size (default 320x480, reduced to a smaller image's width or height)")
        ->type_name("WxH")->check(CheckPixelSize);
    std::string locator = "exact";
    app.add_option("--locator", locator,
                   "How fingers are found: exact (as KOVRAL_DoSplit, default) or accurate (touching, faint and "
                   "border fingers, no text or lines; adds confidence, flags, hand and deficiencies to the JSON)")
        ->type_name("NAME")->check(CLI::IsMember({"exact", "accurate"}).description(""));
    app.add_flag("-q,--quiet", options.quiet, "Print only errors and the summary line");

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        exitCode = app.exit(e) == 0 ? 0 : kUsageError;
        return std::nullopt;
    }

    options.accurate = locator == "accurate";
    options.format = format == "png" ? FingerFormat::Png : FingerFormat::Bmp;
    if (!rawSize.empty())
    {
        options.rawSize.emplace();
        ParsePixelSize(rawSize, *options.rawSize);
    }
    if (!fingerSize.empty())
    {
        PixelSize size;
        ParsePixelSize(fingerSize, size);
        if (size.width < KOVRAL_MIN_WIDTH || size.height < KOVRAL_MIN_HEIGHT || size.width > KOVRAL_MAX_WIDTH
            || size.height > KOVRAL_MAX_HEIGHT)
        {
            std::fprintf(stderr, "kovral-split: --finger-size %dx%d: finger images are %d..%d x %d..%d pixels\n",
                         size.width, size.height, KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH, KOVRAL_MIN_HEIGHT,
                         KOVRAL_MAX_HEIGHT);
            exitCode = kUsageError;
            return std::nullopt;
        }
        options.fingerSize = size;
    }
    exitCode = 0;
    return options;
}

} // namespace kovral_tool
