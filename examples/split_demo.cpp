// Splits a generated four-finger slap and writes the slap and its fingers as
// BMP files into kovral-out/ (or the directory given as the first argument).
#include <kovral.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "slapgen.h"

int main(int argc, char** argv)
{
    constexpr int OUT_W = 320;
    constexpr int OUT_H = 480;
    const std::filesystem::path dir = argc > 1 ? argv[1] : "kovral-out";
    std::filesystem::create_directories(dir);

    // A right hand leaning 10 degrees to the left, always the same pixels.
    slapgen::Slap slap = slapgen::Generate(slapgen::FourFingerHand(1600, 1000, 10, true, 2024));
    const std::string slapPath = (dir / "slap.bmp").string();
    KOVRAL_SaveToBmp(slap.pixels.data(), slap.width, slap.height, slapPath.c_str());

    std::vector<std::vector<unsigned char>> buffers(KOVRAL_MAX_RECORDS, std::vector<unsigned char>(OUT_W * OUT_H));
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    for (int i = 0; i < KOVRAL_MAX_RECORDS; i++)
        info[i].pFpImg = buffers[i].data();

    KOVRAL_Init(slap.width, slap.height);
    int count = 0;
    const int rc = KOVRAL_DoSplit(slap.pixels.data(), slap.width, slap.height, nullptr, OUT_W, OUT_H, &count, info);
    std::printf("split of %dx%d: result %d, %d fingers\n", slap.width, slap.height, rc, count);
    for (int i = 0; i < count; i++) {
        const std::string path = (dir / ("finger" + std::to_string(i) + ".bmp")).string();
        KOVRAL_SaveToBmp(info[i].pFpImg, OUT_W, OUT_H, path.c_str());
        std::printf("  finger %d: centre (%d, %d), angle %d, quality %d -> %s\n", i, info[i].x, info[i].y,
                    info[i].angle, info[i].quality, path.c_str());
    }
    if (count == 4)
        std::printf("hand layout: %d\n", KOVRAL_JudegeFingers(count, info));
    KOVRAL_Uninit();
    std::printf("slap written to %s\n", slapPath.c_str());
    return rc == KOVRAL_OK && count > 0 ? 0 : 1;
}
