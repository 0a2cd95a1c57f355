// Runs a fuzz target's entry point once on every file named on the command
// line (folders: every file in them, in name order), without libFuzzer, so
// that the normal test build replays the seeds and every regression input.
// A finding shows as a crash, an assertion or a sanitizer report of the run.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> InputsOf(const std::filesystem::path& arg)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(arg)) {
        for (const auto& entry : std::filesystem::directory_iterator(arg))
            if (entry.is_regular_file() && entry.path().extension() != ".md")
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
    } else {
        files.push_back(arg);
    }
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& path : InputsOf(argv[i])) {
            std::ifstream file(path, std::ios::binary);
            if (!file) {
                std::fprintf(stderr, "cannot read %s\n", path.c_str());
                return 2;
            }
            std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
            // libFuzzer never passes a null pointer, not even for empty input.
            static const uint8_t kEmpty = 0;
            LLVMFuzzerTestOneInput(bytes.empty() ? &kEmpty : bytes.data(), bytes.size());
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no inputs to replay\n");
        return 2;
    }
    std::printf("replayed %zu inputs\n", replayed);
    return 0;
}
