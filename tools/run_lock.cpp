#include "run_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>

namespace kovral_tool {

namespace {

constexpr size_t kMaxLockText = 200;

} // namespace

bool LockOutputFolder(const std::string& outDir, std::string& error)
{
    // The descriptor stays open (and inherited by the workers) until the run ends.
    return TakeOutputFolderLock(outDir, error) >= 0;
}

int TakeOutputFolderLock(const std::string& outDir, std::string& error)
{
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if (ec) {
        error = "cannot create the output folder " + outDir + ": " + ec.message();
        return -1;
    }
    const std::string path = outDir + "/" + kLockFileName;
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd < 0) {
        error = "cannot write in the output folder " + outDir + ": " + std::strerror(errno);
        return -1;
    }
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int reason = errno;
        char text[kMaxLockText + 1] = {};
        ssize_t n = pread(fd, text, kMaxLockText, 0);
        close(fd);
        std::string holder(text, n > 0 ? static_cast<size_t>(n) : 0);
        while (!holder.empty() && (holder.back() == '\n' || holder.back() == '\0'))
            holder.pop_back();
        if (reason != EWOULDBLOCK)
            error = "cannot lock the output folder " + outDir + ": " + std::strerror(reason);
        else
            error = "the output folder " + outDir + " is in use by another kovral-split run"
                + (holder.empty() ? std::string() : " (" + holder + ")") + "; one run at a time writes into a folder";
        return -1;
    }
    // Who holds the lock, for a run that finds it taken.
    char started[32] = {};
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::strftime(started, sizeof started, "%Y-%m-%d %H:%M:%S", &local);
    std::string holder = "pid " + std::to_string(getpid()) + ", started " + started + "\n";
    if (ftruncate(fd, 0) != 0 || pwrite(fd, holder.data(), holder.size(), 0) < 0) {
        // Only the description is lost; the lock itself holds.
    }
    return fd;
}

} // namespace kovral_tool
