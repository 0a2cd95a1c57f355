// Files made to hurt a decoder, built at test time rather than committed.
#ifndef KOVRAL_TESTS_SUPPORT_IO_HOSTILE_IMAGES_H
#define KOVRAL_TESTS_SUPPORT_IO_HOSTILE_IMAGES_H

#include <kovral_io.h>

#include <cstdint>
#include <vector>

// A progressive gray JPEG of 1 + 63 x (1 + refinements) scans: the DC, then
// every AC coefficient on its own, first at reduced precision and then one
// refinement scan for each bit left (refinements 0..13). A valid file; with
// many refinements, a small file that costs a decoder a pass over the whole
// image for every scan.
std::vector<uint8_t> ScanBombJpeg(const kovral_io::GrayImage& image, int refinements);

// A progressive gray JPEG of the usual few scans.
std::vector<uint8_t> ProgressiveJpeg(const kovral_io::GrayImage& image);

#endif
