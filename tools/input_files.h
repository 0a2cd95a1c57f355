// The list of slaps of one run: command-line paths expanded into image files,
// each with the name its outputs carry.
#ifndef KOVRAL_TOOLS_INPUT_FILES_H
#define KOVRAL_TOOLS_INPUT_FILES_H

#include "output_commit.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kovral_tool {

struct InputFile
{
    std::string path;            // as given or found; empty for the bundled sample
    std::string name;            // output name without extension, e.g. "right4" or "visit2/right4"; unique in a run
    std::string error;           // set when the input cannot be processed at all (e.g. an empty folder)
    int record = 0;              // image record of a transaction file (its number in the file); 0: the whole file
    std::string recordName = ""; // "record 3 (Type-14, IDC 1)"
};

struct WalkRules
{
    bool recursive = false;             // descend into subfolders of folder inputs
    bool followLinks = false;           // symbolic links to folders are walked too (each folder once)
    std::optional<FileIdentity> outDir; // never walked
};

// Expands files and folders, in command-line order. A folder gives its image
// files (by extension, sorted by name; hidden files and folders skipped),
// with recursive also those of its subfolders, whose outputs then go into the
// same subfolders of the output folder. Symbolic links to files are taken;
// links to folders only with followLinks, and a folder reached a second time
// (through a loop or another link) is not walked again. A folder that cannot be read
// becomes an entry with an error; a file that vanishes while the folder is
// read is left out. Any other path is taken as a file, existing or not, so
// that its problem is reported with the file. Output names are the file
// names without extension, a very long one shortened (its start and a hash
// of the whole); where two would clash, the later one gets "-EXT", then "-2",
// "-3", ... appended.
std::vector<InputFile> CollectInputs(const std::vector<std::string>& paths, const WalkRules& rules);

// Device and inode of every input file that exists.
std::set<FileIdentity> InputIdentities(const std::vector<InputFile>& inputs);

// True when the extension marks a file that a folder scan picks up.
bool HasImageExtension(const std::string& path);

} // namespace kovral_tool

#endif
