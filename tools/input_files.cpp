#include "input_files.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

constexpr std::array<std::string_view, 11> kImageExtensions{
    "png", "bmp", "dib", "pgm", "pnm", "ppm", "jpg", "jpeg", "jpe", "raw", "gray"};

std::string LowerExtension(const fs::path& path)
{
    std::string ext = path.extension().string();
    if (!ext.empty())
        ext.erase(0, 1);
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

bool IsHidden(const fs::path& path)
{
    std::string file = path.filename().string();
    return !file.empty() && file[0] == '.';
}

// Image files of one directory argument, sorted, with their names relative to it.
std::vector<InputFile> ScanDirectory(const fs::path& dir, bool recursive, std::string& error)
{
    std::vector<InputFile> found;
    std::error_code ec;
    auto consider = [&](const fs::directory_entry& entry) {
        std::error_code fileEc;
        if (entry.is_regular_file(fileEc) && !IsHidden(entry.path()) && HasImageExtension(entry.path().string()))
        {
            fs::path relative = entry.path().lexically_relative(dir);
            found.push_back({entry.path().string(), relative.replace_extension().generic_string(), ""});
        }
    };
    if (recursive)
    {
        fs::recursive_directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec);
        for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec))
        {
            if (it->is_directory() && IsHidden(it->path()))
                it.disable_recursion_pending();
            else
                consider(*it);
        }
    }
    else
    {
        fs::directory_iterator it(dir, fs::directory_options::skip_permission_denied, ec);
        for (; !ec && it != fs::directory_iterator(); it.increment(ec))
            consider(*it);
    }
    if (ec)
        error = "cannot read directory: " + ec.message();
    else if (found.empty())
        error = recursive ? "no image files in this directory tree"
                          : "no image files in this directory (--recursive descends into subdirectories)";
    std::sort(found.begin(), found.end(), [](const InputFile& a, const InputFile& b) { return a.path < b.path; });
    return found;
}

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

std::vector<InputFile> CollectInputs(const std::vector<std::string>& paths, bool recursive)
{
    std::vector<InputFile> inputs;
    std::set<std::string> taken;
    for (const std::string& arg : paths)
    {
        std::error_code ec;
        if (fs::is_directory(arg, ec))
        {
            std::string error;
            std::vector<InputFile> found = ScanDirectory(arg, recursive, error);
            if (!error.empty())
                inputs.push_back({arg, "", error});
            for (InputFile& file : found)
            {
                file.name = UniqueName(file.name, file.path, taken);
                inputs.push_back(std::move(file));
            }
        }
        else
        {
            std::string stem = fs::path(arg).stem().string();
            inputs.push_back({arg, UniqueName(stem.empty() ? "slap" : stem, arg, taken), ""});
        }
    }
    return inputs;
}

} // namespace kovral_tool
