// Resolution of fingerprint images: measuring it from the ridges, and
// resampling an image to the 500 ppi the splitter works at.
//
// The ridge period of a fingerprint is close to 0.5 mm whoever it belongs to
// (about 10 pixels at 500 ppi), so the strongest spatial frequency of the
// print gives the resolution within roughly ten per cent: good enough to
// catch a 250 or 1000 ppi image that states none, or states a wrong one.
#ifndef KOVRAL_IO_RESOLUTION_H
#define KOVRAL_IO_RESOLUTION_H

#include <cstdint>
#include <string>
#include <vector>

namespace kovral_io {

constexpr double kSplitPpi = 500;
// Images within this fraction of 500 ppi are split as they are.
constexpr double kPpiTolerance = 0.02;
// Measured and stated resolutions further apart than this fraction are worth a warning.
constexpr double kPpiDisagreement = 0.25;
// Ridge periods of people differ: a measured resolution is this close to the true one.
constexpr double kMeasureAccuracy = 0.15;
// Resolutions fingerprint scanners work at.
constexpr double kUsualPpi[] = {250, 500, 1000};
// Typical distance between neighbouring ridge centres (slaps of fingers and
// thumbs, live-scan and inked; people differ by about a tenth either way).
constexpr double kRidgePeriodMm = 0.5;

struct MeasuredResolution
{
    bool ok = false; // false: too little ridge texture to tell
    double ppi = 0;
    double ridgePeriod = 0; // pixels
    int blocks = 0;         // textured blocks the estimate rests on
};

// Measures the resolution of an 8-bit gray image (rows top to bottom) from
// the dominant ridge frequency of its textured blocks.
MeasuredResolution MeasureResolution(const uint8_t* pixels, int width, int height);

// True when ppi needs no resampling before a split.
bool IsSplitResolution(double ppi);

// An image resampled by a factor (output pixels per input pixel), and the
// way back from its pixel coordinates to the input's.
struct ResampledImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
    double scaleX = 1, scaleY = 1; // width / input width, height / input height

    // Coordinates of a point of this image (pixel centres at whole numbers)
    // in the input image.
    double SourceX(double x) const { return (x + 0.5) / scaleX - 0.5; }
    double SourceY(double y) const { return (y + 0.5) / scaleY - 0.5; }
};

// Resamples by factor (> 0): each output pixel averages the input area it
// covers when shrinking, and interpolates bilinearly between the four
// nearest input pixels when enlarging. The output is round(width x factor)
// by round(height x factor) pixels, at least 1 x 1.
ResampledImage Resample(const uint8_t* pixels, int width, int height, double factor);

// What the splitter takes (the tool's and the Python package's limits).
struct SplitLimits
{
    int minWidth = 256, minHeight = 360;
    int maxWidth = 1600, maxHeight = 1500;
};

// Images over the limits by at most this fraction are cut to them, the
// excess taken equally from both sides; larger ones are refused or scaled.
constexpr double kCropTolerance = 0.05;

enum class PpiMode
{
    Stated, // the file's resolution; 500 ppi when it states none
    Given,  // the caller's (--ppi N), whatever the file says
    // The measured one, as far as measuring can tell: the stated one when the
    // ridges agree with it (within kPpiDisagreement) or measuring fails, else
    // a scanner's usual resolution (kUsualPpi) the measure lies within
    // kMeasureAccuracy of, else the measured one itself.
    Auto
};

enum class FitMode
{
    Refuse, // an image well over the limits is refused
    Scale   // it is scaled down to fit
};

// An image made ready for a split at 500 ppi within the limits, and the way
// back from its coordinates to the original image's.
struct SplitPreparation
{
    bool ok = false;
    std::string reason; // why not, naming the limit
    int width = 0, height = 0;
    std::vector<uint8_t> pixels; // what to split
    double ppi = 0;              // resolution the original is taken to have
    std::string ppiFrom;         // "stated", "given", "measured" or "assumed"
    MeasuredResolution measured;
    double scaleX = 1, scaleY = 1; // resampled size / original size (1: not resampled)
    int cropLeft = 0, cropTop = 0; // removed from the resampled image, each side
    int cropRight = 0, cropBottom = 0;
    bool fitted = false; // scaled down to fit the limits
    std::vector<std::string> warnings;

    bool Resampled() const { return scaleX != 1 || scaleY != 1; }
    bool Cropped() const { return cropLeft || cropTop || cropRight || cropBottom; }
    // A pixel centre of the prepared image in the original's pixels.
    double SourceX(double x) const { return (x + cropLeft + 0.5) / scaleX - 0.5; }
    double SourceY(double y) const { return (y + cropTop + 0.5) / scaleY - 0.5; }
    // A pixel edge (x = 0 is the left side of the first column).
    double SourceEdgeX(double x) const { return (x + cropLeft) / scaleX; }
    double SourceEdgeY(double y) const { return (y + cropTop) / scaleY; }
};

struct SourcePoint
{
    double x = 0, y = 0;
};

// The four corners (top left, top right, bottom left, bottom right; top is
// the fingertip end) of the region cut out for a finger the split of a
// prepared image reported at centre (x, y) with this angle, in the original
// image's pixels: the library's own corner geometry, mapped back through the
// resampling and the cut. False when the library refuses the numbers.
bool FingerBoxInSource(const SplitPreparation& prepared, int fingerWidth, int fingerHeight, int x, int y, int angle,
                       SourcePoint corners[4]);

// Measures the resolution, decides the one to use, resamples to 500 ppi when
// it is off by more than kPpiTolerance, then cuts or scales to the limits.
// Warns when the measured resolution and the stated or the given one
// disagree by more than kPpiDisagreement.
// With PixelCopy::WhenChanged, the pixels stay empty when the image needs
// neither resampling nor cutting: the caller splits the original.
enum class PixelCopy
{
    Always,
    WhenChanged
};
SplitPreparation PrepareForSplit(const uint8_t* pixels, int width, int height, double statedPpi, PpiMode mode,
                                 double givenPpi, FitMode fit, const SplitLimits& limits = {},
                                 PixelCopy copy = PixelCopy::Always);

} // namespace kovral_io

#endif
