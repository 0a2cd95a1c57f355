#include "cli_options.h"

#include <CLI/CLI.hpp>
#include <kovral.h>
#include <sched.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>

namespace kovral_tool {

namespace {

constexpr int kMaxJobs = 256;
constexpr int kUsageError = 2;
// Resolutions --ppi takes.
constexpr double kMinPpi = 100;
constexpr double kMaxPpi = 5000;

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
  kovral-split -r scans/ --report review.html
      also a page to look through the batch in a browser, failures first
  kovral-split -r scans/ -o fingers/ --skip-existing
      go on with a batch that was interrupted
  kovral-split card.eft --ppi auto
      every slap record of an ANSI/NIST-ITL transaction, at the resolution
      its ridges measure

Outputs per slap NAME: NAME_finger1.bmp .. NAME_finger4.bmp (left to right),
NAME.json (sizes, result code, per finger centre, angle, quality, NIST finger
position, box and file, resolution, confidence and flags, hand, deficiencies;
with --locator exact the hand judgement of four fingers instead) and, with
--overlay, NAME_overlay.png. Each slap record N of a transaction file (.an2,
.eft, .nist) is a slap NAME_rN; its finger images carry their NIST finger
position: NAME_rN_finger1_fgp2.bmp.
Each slap's outputs appear together, complete, or not at all. One run at a
time writes into an output folder. Ctrl-C (or SIGTERM) starts no new slap,
lets the running ones finish and ends with a summary; a second one discards
them.
Exit status: 0 when every input was split, 1 when any failed, 2 on a usage
error, 130 after SIGINT, 143 after SIGTERM.)";

// Reads the size of option name; slaps and finger images both have the splitter's limits.
bool ReadSize(const char* name, const std::string& text, std::optional<PixelSize>& out)
{
    if (text.empty())
        return true;
    PixelSize size;
    std::string error;
    if (!ParsePixelSize(text, size, error)) {
        std::fprintf(stderr, "kovral-split: %s %s: %s\n", name, text.c_str(), error.c_str());
        return false;
    }
    if (size.width < KOVRAL_MIN_WIDTH || size.height < KOVRAL_MIN_HEIGHT || size.width > KOVRAL_MAX_WIDTH
        || size.height > KOVRAL_MAX_HEIGHT) {
        std::fprintf(stderr, "kovral-split: %s %dx%d: %s are %d..%d x %d..%d pixels\n", name, size.width, size.height,
                     std::string(name) == "--size" ? "slaps" : "finger images", KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH,
                     KOVRAL_MIN_HEIGHT, KOVRAL_MAX_HEIGHT);
        return false;
    }
    out = size;
    return true;
}

std::string VersionText()
{
    char text[96];
    std::snprintf(text, sizeof text, "kovral-split %s (libkovral %d.%d.%d)", KOVRAL_SPLIT_VERSION,
                  KOVRAL_VERSION_MAJOR, KOVRAL_VERSION_MINOR, KOVRAL_VERSION_PATCH);
    return text;
}

} // namespace

bool ParsePixelSize(const std::string& text, PixelSize& size, std::string& error)
{
    const char* end = text.data() + text.size();
    int values[2] = {0, 0};
    const char* p = text.data();
    for (int i = 0; i < 2; i++) {
        if (i == 1) {
            if (p == end || (*p != 'x' && *p != 'X' && *p != ',')) {
                error = "expected WIDTHxHEIGHT, e.g. 320x480";
                return false;
            }
            p++;
        }
        // Digits only: no sign, no spaces; a number past the largest int is refused, not wrapped.
        if (p == end || *p < '0' || *p > '9') {
            error = "expected WIDTHxHEIGHT, e.g. 320x480";
            return false;
        }
        auto [next, ec] = std::from_chars(p, end, values[i]);
        if (ec == std::errc::result_out_of_range) {
            error = "a number out of range";
            return false;
        }
        p = next;
    }
    if (p != end) {
        error = "expected WIDTHxHEIGHT, e.g. 320x480";
        return false;
    }
    size = {values[0], values[1]};
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
    app.add_option("inputs", options.inputs,
                   "Slap images (PNG, JPEG, BMP, PGM, WSQ; raw with --size), ANSI/NIST-ITL transaction files "
                   "or directories")
        ->type_name("FILE|DIR");
    app.add_option("-o,--out", options.outDir, "Output directory, created if missing (default kovral-out)")
        ->type_name("DIR");
    app.add_flag("-r,--recursive", options.recursive, "Also take images from subfolders of folder inputs");
    app.add_flag("--follow-links", options.followLinks,
                 "With -r, also walk symbolic links to folders (each folder once)");
    app.add_option("-j,--jobs", options.jobs, "Worker processes (default: the number of cores)")
        ->type_name("N")
        ->check(CLI::Range(1, kMaxJobs).description(""));
    std::string format = "bmp";
    app.add_option("--format", format, "Finger image format: bmp or png (default bmp)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"bmp", "png"}).description(""));
    app.add_flag("--overlay", options.overlay, "Also write NAME_overlay.png: the slap with every finger marked");
    app.add_flag("-f,--force", options.force,
                 "Replace existing outputs (and remove the slap's outputs this run does not write)");
    app.add_flag("--skip-existing", options.skipExisting,
                 "Leave slaps whose complete outputs exist (to go on with an interrupted batch)");
    app.add_flag("--sync", options.sync,
                 "Flush every output to the disk before going on (slower, survives power loss)");
    app.add_option("--size", rawSize, "Size of raw 8-bit inputs (files that are no known image format)")
        ->type_name("WxH");
    app.add_option("--finger-size", fingerSize,
                   "Finger image size (default 320x480, reduced to a smaller image's width or height)")
        ->type_name("WxH");
    std::string records = "slaps";
    app.add_option("--records", records,
                   "Image records of transaction files to split: slaps (finger position 13, 14, 15) or all "
                   "(default slaps)")
        ->type_name("WHICH")
        ->check(CLI::IsMember({"slaps", "all"}).description(""));
    std::string ppi;
    app.add_option("--ppi", ppi,
                   "Resolution of the inputs, overriding what files state, or auto: the one their ridges "
                   "measure. Slaps not at 500 ppi are resampled to it; coordinates stay in input pixels")
        ->type_name("N|auto");
    std::string fit = "refuse";
    app.add_option("--fit", fit,
                   "Images well over 1600 x 1500 at 500 ppi: refuse or scale them down (default refuse; "
                   "a little over is cut to the limit)")
        ->type_name("HOW")
        ->check(CLI::IsMember({"refuse", "scale"}).description(""));
    app.add_option("--an2k-out", options.an2kOut,
                   "Also write every finger image of the run into one ANSI/NIST-ITL transaction: a Type-14 "
                   "record per finger with its NIST finger position, 500 ppi, uncompressed")
        ->type_name("FILE");
    std::string locator = "accurate";
    app.add_option("--locator", locator,
                   "How fingers are found: accurate (default: touching, faint and border fingers, no text or lines; "
                   "adds confidence, flags, hand and deficiencies to the JSON) or exact (as KOVRAL_DoSplit)")
        ->type_name("NAME")
        ->check(CLI::IsMember({"exact", "accurate"}).description(""));
    app.add_flag("-q,--quiet", options.quiet, "Print only errors and the summary line");
    app.add_option("--report", options.report,
                   "Also write a review page of the batch: one HTML file with every slap's overlay, fingers, "
                   "quality and flags, failures first (implies --overlay)")
        ->type_name("FILE.html");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        exitCode = app.exit(e) == 0 ? 0 : kUsageError;
        return std::nullopt;
    }

    options.accurate = locator == "accurate";
    options.format = format == "png" ? FingerFormat::Png : FingerFormat::Bmp;
    options.records = records == "all" ? kovral_io::RecordSelection::All : kovral_io::RecordSelection::Slaps;
    options.fitScale = fit == "scale";
    if (ppi == "auto")
        options.ppiAuto = true;
    else if (!ppi.empty()) {
        double value = 0;
        const auto [end, ec] = std::from_chars(ppi.data(), ppi.data() + ppi.size(), value);
        if (ec != std::errc() || end != ppi.data() + ppi.size() || !(value >= kMinPpi && value <= kMaxPpi)) {
            std::fprintf(stderr, "kovral-split: --ppi %s: expected auto or a resolution of %.0f..%.0f\n", ppi.c_str(),
                         kMinPpi, kMaxPpi);
            exitCode = kUsageError;
            return std::nullopt;
        }
        options.ppi = value;
    }
    if (options.force && options.skipExisting) {
        std::fprintf(stderr, "kovral-split: --force and --skip-existing exclude each other\n");
        exitCode = kUsageError;
        return std::nullopt;
    }
    if (!ReadSize("--size", rawSize, options.rawSize) || !ReadSize("--finger-size", fingerSize, options.fingerSize)) {
        exitCode = kUsageError;
        return std::nullopt;
    }
    exitCode = 0;
    return options;
}

} // namespace kovral_tool
