// The NIST transaction files committed as test data, and the directory of
// the reference decoder's PGM output when it sits beside the repository.
#ifndef KOVRAL_TESTS_SUPPORT_IO_NIST_FILES_H
#define KOVRAL_TESTS_SUPPORT_IO_NIST_FILES_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "../test_bytes.h"

namespace kovral_test {

inline std::string NistFile(const std::string& name)
{
    return std::string(KOVRAL_NIST_DATA) + "/" + name;
}

// $KOVRAL_REALDATA, else shared/realdata beside the repository (or beside the
// worktree's parent); empty when there is none.
inline std::string RealDataDir()
{
    if (const char* env = std::getenv("KOVRAL_REALDATA"))
        return env;
    for (const char* rel : {"/../shared/realdata", "/../../shared/realdata"}) {
        const std::string dir = std::string(KOVRAL_SOURCE_DIR) + rel;
        if (std::filesystem::is_directory(dir))
            return dir;
    }
    return {};
}

// One slap record of the two files: where its image data lies, and the
// reference decoder's output as a PGM file (its name and SHA-256).
struct NistSlap
{
    const char* file;
    size_t dataOffset, dataBytes;
    int fgp, width, height;
    const char* pgm;
    const char* pgmSha256;
};

inline const NistSlap kNistSlaps[] = {
    {"valid1.8.an2", 540, 60152, 13, 1600, 976, "nbis-valid1.8_fgp13_right4_1600x976.pgm",
     "558c75295db7d7b904369df408e2faf7cdec2908e01ac0a47c63518087456b35"},
    {"valid1.8.an2", 60915, 60626, 14, 1600, 976, "nbis-valid1.8_fgp14_left4_1600x976.pgm",
     "74215875763fc893b59f4bdd2db9362e6e434427c90c711882b172f78394ecbb"},
    {"valid1.8.an2", 121735, 61321, 15, 1600, 800, "nbis-valid1.8_fgp15_thumbs_1600x800.pgm",
     "ff16369617a90ba85b6e6a766e4a02201aa24ce8eab59b0a2778ac7b35cc0580"},
    {"nist-type-4-14-flats.eft", 306, 104259, 14, 1608, 1000, "nist-workshop_fgp14_left4_1608x1000.pgm",
     "6467c680b10b84149d32e06d7abc03636cc2e6cbef6b835534d65439fb301b0b"},
    {"nist-type-4-14-flats.eft", 104583, 112517, 13, 1572, 1000, "nist-workshop_fgp13_right4_1572x1000.pgm",
     "f88d6411f9dad5d1c3a455688189ee12bc92d5b4651233417e91337cebd7d771"},
    {"nist-type-4-14-flats.eft", 217258, 50256, 15, 804, 1000, "nist-workshop_fgp15_thumbs_804x1000.pgm",
     "8ce76d6548a7848630080e18fa68ad0c54da4958fff04adbc7152b6a4c097db7"},
};

// A binary PGM file of 8-bit gray pixels, as the reference files are written.
inline std::vector<uint8_t> PgmBytes(int width, int height, const std::vector<uint8_t>& pixels)
{
    const std::string header = "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    std::vector<uint8_t> out(header.begin(), header.end());
    out.insert(out.end(), pixels.begin(), pixels.end());
    return out;
}

} // namespace kovral_test

#endif
