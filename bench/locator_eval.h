// Accuracy of the two finger locators against known fingertips: generated
// slaps with the generator's truth, and real slaps with a truth file.
#ifndef KOVRAL_LOCATOR_EVAL_H
#define KOVRAL_LOCATOR_EVAL_H

#include <cstdint>
#include <string>
#include <vector>

namespace eval {

// A fingertip to be found: centre, axis angle (90 upright) and the size of
// the ellipse a report's centre must fall into.
struct TruthFinger
{
    double x, y, angle, width, length;
    bool required = true; // false: mostly outside the image; a report on it is neither needed nor extra
};

struct Box
{
    double left, top, right, bottom;
};

struct Case
{
    std::string name;
    int width = 0, height = 0;
    std::vector<uint8_t> pixels;
    std::vector<TruthFinger> fingers;
    std::vector<Box> marks;  // text, lines, holes: nothing may be reported in them
    std::vector<Box> ignore; // prints that belong to no finger of this slap: reports there do not count
    std::string hand;        // "right", "left", "thumbs" or empty
};

struct Report
{
    double x, y, angle;
};

// Outcome of one locator on one case.
struct Outcome
{
    int required = 0, found = 0, extra = 0, onMarks = 0;
    bool allCorrect = false;
    std::vector<double> centreErrors, angleErrors;
    double milliseconds = 0;
};

Outcome Score(const Case& c, const std::vector<Report>& reports);

// Reads the truth file and the PGMs it names from dir (slaps at a lower
// resolution are upsampled by their scale). Returns false with a message.
bool LoadRealSet(const std::string& truthPath, const std::string& dir, std::vector<Case>& cases, std::string& error);

} // namespace eval

#endif
