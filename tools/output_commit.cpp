#include "output_commit.h"

#include <kovral_io.h>

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

// Temporaries of this process, numbered across all its sets and threads.
std::atomic<unsigned long> g_temporaryCount = 0;

std::string Folder(const std::string& path)
{
    std::string folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string SystemError(const std::string& what, const std::string& path)
{
    return what + " " + path + ": " + std::strerror(errno);
}

bool SyncFolder(const std::string& folder)
{
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool ok = fsync(fd) == 0;
    close(fd);
    return ok;
}

// Renames without replacing an existing file, in one step where the file system can.
int RenameNoReplace(const std::string& from, const std::string& to)
{
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    struct stat info;
    if (lstat(to.c_str(), &info) == 0) {
        errno = EEXIST;
        return -1;
    }
    return rename(from.c_str(), to.c_str());
}

} // namespace

OutputSet::OutputSet(bool replace, bool sync, const std::set<FileIdentity>& inputs)
    : replace_(replace), sync_(sync), inputs_(inputs)
{ }

OutputSet::~OutputSet()
{
    RemoveTemporaries();
}

void OutputSet::RemoveTemporaries()
{
    for (const Staged& file : staged_)
        if (!file.temporary.empty())
            unlink(file.temporary.c_str());
    staged_.clear();
}

bool OutputSet::Stage(const std::string& path, std::span<const uint8_t> bytes, std::string& error)
{
    const std::string folder = Folder(path);
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) {
        error = "cannot create folder " + folder + ": " + ec.message();
        return false;
    }
    std::string temporary;
    int fd = -1;
    while (fd < 0) {
        temporary
            = folder + "/" + kTemporaryPrefix + std::to_string(getpid()) + "-" + std::to_string(g_temporaryCount++);
        fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (fd < 0 && errno != EEXIST) {
            error = SystemError("cannot write in", folder);
            return false;
        }
    }
    staged_.push_back({temporary, path});
    bool ok = kovral_io::WriteAll(fd, bytes) && (!sync_ || fsync(fd) == 0);
    int saved = errno;
    if (close(fd) != 0 && ok) {
        ok = false;
        saved = errno;
    }
    if (!ok) {
        errno = saved;
        error = SystemError("cannot write", path);
    }
    return ok;
}

void OutputSet::Retire(const std::string& path)
{
    retired_.push_back(path);
}

bool OutputSet::Protected(const std::string& path, std::string& error) const
{
    struct stat info;
    if (lstat(path.c_str(), &info) != 0 || !inputs_.count({info.st_dev, info.st_ino}))
        return false;
    error = path + " is an input file of this run: it is never replaced (choose another output folder)";
    return true;
}

bool OutputSet::Commit(std::string& error)
{
    if (staged_.empty())
        return true;
    for (const Staged& file : staged_)
        if (Protected(file.path, error)) {
            RemoveTemporaries();
            return false;
        }
    for (const std::string& path : retired_)
        if (Protected(path, error)) {
            RemoveTemporaries();
            return false;
        }

    // The last file marks a complete set: an old one goes first, the new one
    // comes last, so that a commit that fails half-way leaves no marker.
    Staged& marker = staged_.back();
    if (replace_ && unlink(marker.path.c_str()) != 0 && errno != ENOENT) {
        error = SystemError("cannot replace", marker.path);
        RemoveTemporaries();
        return false;
    }
    for (Staged& file : staged_) {
        if (&file == &marker) {
            for (const std::string& path : retired_)
                if (unlink(path.c_str()) != 0 && errno != ENOENT) {
                    error = SystemError("cannot remove", path);
                    RemoveTemporaries();
                    return false;
                }
        }
        int renamed = replace_ ? rename(file.temporary.c_str(), file.path.c_str())
                               : RenameNoReplace(file.temporary, file.path);
        if (renamed != 0) {
            error = errno == EEXIST ? file.path + " exists (--force replaces it)"
                                    : SystemError("cannot rename into", file.path);
            RemoveTemporaries();
            return false;
        }
        file.temporary.clear();
    }
    if (sync_) {
        std::set<std::string> folders;
        for (const Staged& file : staged_)
            folders.insert(Folder(file.path));
        for (const std::string& path : retired_)
            folders.insert(Folder(path));
        for (const std::string& folder : folders)
            if (!SyncFolder(folder)) {
                error = SystemError("cannot flush folder", folder);
                staged_.clear();
                return false;
            }
    }
    staged_.clear();
    return true;
}

void RemoveTemporariesOf(pid_t pid, const std::string& folder)
{
    const std::string prefix = std::string(kTemporaryPrefix) + std::to_string(pid) + "-";
    DIR* dir = opendir(folder.c_str());
    if (!dir)
        return;
    while (dirent* entry = readdir(dir))
        if (std::strncmp(entry->d_name, prefix.c_str(), prefix.size()) == 0)
            unlinkat(dirfd(dir), entry->d_name, 0);
    closedir(dir);
}

} // namespace kovral_tool
