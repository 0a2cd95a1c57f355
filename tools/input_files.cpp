#include "input_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

constexpr std::array<std::string_view, 16> kImageExtensions{"png", "bmp",  "dib", "pgm", "pnm",  "ppm",
                                                            "jpg", "jpeg", "jpe", "raw", "gray", "wsq",
                                                            "an2", "an2k", "eft", "nist"};

// Output file names add at most "_overlay.png" to the name and a clash
// suffix; names longer than this are shortened to kKeptNameBytes and a hash.
constexpr size_t kMaxNameBytes = 200;
constexpr size_t kKeptNameBytes = 180;
constexpr uint64_t kFnvOffset = 14695981039346656037ull;
constexpr uint64_t kFnvPrime = 1099511628211ull;

std::string LowerExtension(const fs::path& path)
{
    std::string ext = path.extension().string();
    if (!ext.empty())
        ext.erase(0, 1);
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

FileIdentity Identity(const struct stat& info)
{
    return {info.st_dev, info.st_ino};
}

// The name's start (not cutting a UTF-8 sequence) and a hash of the whole name.
std::string ShortName(const std::string& name)
{
    if (name.size() <= kMaxNameBytes)
        return name;
    uint64_t hash = kFnvOffset;
    for (unsigned char c : name)
        hash = (hash ^ c) * kFnvPrime;
    size_t keep = kKeptNameBytes;
    while (keep > 0 && (static_cast<unsigned char>(name[keep]) & 0xC0) == 0x80)
        keep--;
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, "-%016llx", static_cast<unsigned long long>(hash));
    return name.substr(0, keep) + suffix;
}

class Walker
{
public:
    Walker(const WalkRules& rules, std::vector<InputFile>& found) : rules_(rules), found_(found) { }

    // Walks folder dir, whose files are named relative to it with prefix.
    void Walk(const std::string& dir, const std::string& prefix)
    {
        DIR* handle = opendir(dir.c_str());
        if (!handle) {
            found_.push_back({dir, "", std::string("cannot read folder: ") + std::strerror(errno)});
            return;
        }
        std::vector<std::string> names;
        errno = 0;
        while (dirent* entry = readdir(handle))
            if (entry->d_name[0] != '.') // hidden, and . and ..
                names.emplace_back(entry->d_name);
        const int readError = errno;
        closedir(handle);
        if (readError)
            found_.push_back({dir, "", std::string("cannot read folder: ") + std::strerror(readError)});
        std::sort(names.begin(), names.end());

        for (const std::string& name : names) {
            const std::string path = dir + "/" + name;
            struct stat info;
            if (lstat(path.c_str(), &info) != 0)
                continue; // gone since the folder was read
            if (S_ISLNK(info.st_mode)) {
                struct stat target;
                if (stat(path.c_str(), &target) != 0)
                    continue; // a dangling link is no image
                if (S_ISDIR(target.st_mode) && !rules_.followLinks)
                    continue;
                info = target;
            }
            if (S_ISDIR(info.st_mode)) {
                if (rules_.recursive && Enter(info))
                    Walk(path, prefix + name + "/");
                continue;
            }
            if (HasImageExtension(name))
                found_.push_back({path, prefix + ShortName(fs::path(name).stem().string()), ""});
        }
    }

    // False for the output folder and for a folder walked already (a loop,
    // or a second link to it).
    bool Enter(const struct stat& info)
    {
        if (rules_.outDir && *rules_.outDir == Identity(info))
            return false;
        return walked_.insert(Identity(info)).second;
    }

private:
    const WalkRules& rules_;
    std::vector<InputFile>& found_;
    std::set<FileIdentity> walked_;
};

// Makes name unique among taken: first with the extension, then with a number.
std::string UniqueName(const std::string& name, const std::string& path, std::set<std::string>& taken)
{
    std::string candidate = name;
    std::string ext = LowerExtension(path);
    if (taken.count(candidate) && !ext.empty())
        candidate = name + "-" + ext;
    for (int n = 2; taken.count(candidate); n++)
        candidate = name + "-" + std::to_string(n);
    taken.insert(candidate);
    return candidate;
}

} // namespace

bool HasImageExtension(const std::string& path)
{
    std::string ext = LowerExtension(path);
    return std::find(kImageExtensions.begin(), kImageExtensions.end(), ext) != kImageExtensions.end();
}

std::vector<InputFile> CollectInputs(const std::vector<std::string>& paths, const WalkRules& rules)
{
    std::vector<InputFile> inputs;
    std::set<std::string> taken;
    for (const std::string& arg : paths) {
        struct stat info;
        if (stat(arg.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
            std::string stem = ShortName(fs::path(arg).stem().string());
            inputs.push_back({arg, UniqueName(stem.empty() ? "slap" : stem, arg, taken), ""});
            continue;
        }
        if (rules.outDir && *rules.outDir == Identity(info)) {
            inputs.push_back({arg, "",
                              "is the output folder: its files would mix with the results "
                              "(name another folder with -o)"});
            continue;
        }
        std::vector<InputFile> found;
        Walker walker(rules, found);
        walker.Enter(info);
        std::string dir = arg;
        while (dir.size() > 1 && dir.back() == '/')
            dir.pop_back();
        walker.Walk(dir, "");
        for (InputFile& file : found) {
            if (file.error.empty())
                file.name = UniqueName(file.name, file.path, taken);
            inputs.push_back(std::move(file));
        }
        if (found.empty())
            inputs.push_back({arg, "",
                              rules.recursive ? "no image files in this folder tree"
                                              : "no image files in this folder (--recursive "
                                                "descends into subfolders)"});
    }
    return inputs;
}

std::set<FileIdentity> InputIdentities(const std::vector<InputFile>& inputs)
{
    std::set<FileIdentity> identities;
    for (const InputFile& input : inputs) {
        struct stat info;
        if (!input.path.empty() && input.error.empty() && stat(input.path.c_str(), &info) == 0)
            identities.insert(Identity(info));
    }
    return identities;
}

} // namespace kovral_tool
