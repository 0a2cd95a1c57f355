// The list of slaps of one run: command-line paths expanded into image files,
// each with the name its outputs carry.
#ifndef KOVRAL_TOOLS_INPUT_FILES_H
#define KOVRAL_TOOLS_INPUT_FILES_H

#include <string>
#include <vector>

namespace kovral_tool {

struct InputFile
{
    std::string path;    // as given or found; empty for the bundled sample
    std::string name;    // output name without extension, e.g. "right4" or "visit2/right4"; unique in a run
    std::string error;   // set when the input cannot be processed at all (e.g. an empty directory)
};

// Expands files and directories, in command-line order. A directory gives its
// image files (by extension, sorted by name; hidden files skipped), with
// recursive also those of its subdirectories, whose outputs then go into the
// same subdirectories of the output directory. Any other path is taken as a
// file, existing or not, so that its problem is reported with the file.
// Output names are the file names without extension; where two would clash,
// the later one gets "-EXT", then "-2", "-3", ... appended.
std::vector<InputFile> CollectInputs(const std::vector<std::string>& paths, bool recursive);

// True when the extension marks a file that a directory scan picks up.
bool HasImageExtension(const std::string& path);

} // namespace kovral_tool

#endif
