// kovral_make_sample: writes a generated four-finger slap, in the format that
// the file's extension names. Makes the bundled sample and test inputs.
#include "image_encoding.h"

#include <CLI/CLI.hpp>
#include <slapgen.h>

#include <cstdio>

int main(int argc, char** argv)
{
    std::string path;
    int width = 1600;
    int height = 1000;
    int tilt = 0;
    uint32_t seed = 1;
    bool leftHand = false;
    int noise = -1;
    CLI::App app("Writes a synthetic four-finger slap (500 ppi) as PNG, BMP, JPG, PGM or RAW.", "kovral_make_sample");
    app.add_option("file", path, "Output file; its extension picks the format")->required();
    app.add_option("--width", width, "Image width")->capture_default_str();
    app.add_option("--height", height, "Image height")->capture_default_str();
    app.add_option("--tilt", tilt, "Hand tilt in degrees, positive leans the fingertips left")->capture_default_str();
    app.add_option("--seed", seed, "Seed of ridges, ink and noise, and of the hand's small variations")
        ->capture_default_str();
    app.add_flag("--left", leftHand, "A left hand (little finger leftmost)");
    app.add_option("--noise", noise, "Amplitude of the uniform noise over the image, gray levels (default 4)");
    CLI11_PARSE(app, argc, argv);

    slapgen::SlapSpec hand = slapgen::FourFingerHand(width, height, tilt, !leftHand, seed);
    if (noise >= 0)
        hand.noise = noise;
    slapgen::Slap slap = slapgen::Generate(hand);
    std::string error;
    if (!kovral_tool::WriteGrayImageFile(path, {slap.width, slap.height, slap.pixels}, error)) {
        std::fprintf(stderr, "kovral_make_sample: %s\n", error.c_str());
        return 1;
    }
    return 0;
}
