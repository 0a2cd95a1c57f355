// Command line of kovral-split: what to split, where the results go and how.
#ifndef KOVRAL_TOOLS_CLI_OPTIONS_H
#define KOVRAL_TOOLS_CLI_OPTIONS_H

#include <fingerprint/fingerprint_files.h>
#include <kovral_io.h>

#include <optional>
#include <string>
#include <vector>

namespace kovral_tool {

using PixelSize = kovral_io::PixelSize;

enum class FingerFormat
{
    Bmp,
    Png
};

struct Options
{
    std::vector<std::string> inputs; // files and directories; empty: the bundled sample
    std::string outDir = "kovral-out";
    bool recursive = false;   // descend into subfolders of folder inputs
    bool followLinks = false; // also walk symbolic links to folders
    int jobs = 1;             // worker processes
    FingerFormat format = FingerFormat::Bmp;
    bool overlay = false;                // also draw what was found over a small copy of the slap
    bool force = false;                  // replace outputs that exist
    bool skipExisting = false;           // leave slaps whose complete outputs exist
    bool sync = false;                   // flush every output to the disk before it counts as written
    std::optional<PixelSize> rawSize;    // size of headerless 8-bit inputs
    std::optional<PixelSize> fingerSize; // given finger buffer size; default: 320 x 480 reduced to the image
    bool quiet = false;                  // only errors and the summary line
    std::string report;                  // review page of the batch (HTML), with overlays; empty: none
    // Image records of transaction files split: the slaps, or every one.
    kovral_io::RecordSelection records = kovral_io::RecordSelection::Slaps;
    double ppi = 0;        // resolution given with --ppi N; 0: the file's
    bool ppiAuto = false;  // --ppi auto: the measured resolution
    bool fitScale = false; // scale images well over the split's limits down to fit
    std::string an2kOut;   // the run's fingers as an ANSI/NIST-ITL transaction; empty: none
    bool accurate = true;  // find fingers with the accurate locator; false: KOVRAL_DoSplit
};

// Default finger buffer: 0.64 x 0.96 inch at 500 ppi, a fingertip with margin.
inline constexpr PixelSize kDefaultFingerSize{320, 480};

// Parses "WxH" (also "W,H" and "WXH"): two decimal numbers, each at most the
// largest int. On failure returns false and sets error.
bool ParsePixelSize(const std::string& text, PixelSize& size, std::string& error);

// Parses the command line. Returns nothing when the program should end at once
// (help, version, a usage error); exitCode then holds its exit status.
std::optional<Options> ParseCommandLine(int argc, char** argv, int& exitCode);

// The number of processors this process may run on (at least 1).
int UsableCores();

} // namespace kovral_tool

#endif
