// All outputs of one slap written together or not at all: each file goes to a
// temporary beside its final name, and only when every one of them is
// written and closed without error are they renamed into place.
#ifndef KOVRAL_TOOLS_OUTPUT_COMMIT_H
#define KOVRAL_TOOLS_OUTPUT_COMMIT_H

#include <sys/types.h>

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kovral_tool {

// Device and inode of a file: what makes two paths the same file.
using FileIdentity = std::pair<dev_t, ino_t>;

// Temporaries are hidden, short whatever the final name, and carry the
// writing process's id, so that those of a process that died can be found.
inline constexpr const char* kTemporaryPrefix = ".kovral-tmp-";

class OutputSet
{
public:
    // replace: final names that exist are replaced (otherwise the commit
    // fails on them); sync: every file and folder is flushed to the disk
    // before the commit counts as done; inputs: files that must never be
    // replaced or removed, whatever their names.
    OutputSet(bool replace, bool sync, const std::set<FileIdentity>& inputs);
    // Removes the temporaries of a set that was not committed.
    ~OutputSet();
    OutputSet(const OutputSet&) = delete;
    OutputSet& operator=(const OutputSet&) = delete;

    // Writes bytes to a new temporary in path's folder (created if missing).
    // Files are renamed in the order they are staged: stage the one that
    // marks a complete set last. On failure returns false and sets error.
    bool Stage(const std::string& path, std::span<const uint8_t> bytes, std::string& error);

    // Names a file of an earlier run that this set replaces by nothing: it is
    // removed when the set is committed.
    void Retire(const std::string& path);

    // Renames every staged file into place and removes the retired ones. On
    // failure returns false, sets error and removes the temporaries left;
    // files already renamed stay (each is whole), the last staged one is
    // never renamed then.
    bool Commit(std::string& error);

private:
    bool Protected(const std::string& path, std::string& error) const;
    void RemoveTemporaries();

    struct Staged
    {
        std::string temporary;
        std::string path;
    };
    bool replace_;
    bool sync_;
    const std::set<FileIdentity>& inputs_;
    std::vector<Staged> staged_;
    std::vector<std::string> retired_;
};

// Removes the temporaries that process pid left in folder (a worker that was killed).
void RemoveTemporariesOf(pid_t pid, const std::string& folder);

} // namespace kovral_tool

#endif
