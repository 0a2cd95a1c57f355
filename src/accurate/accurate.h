// The accurate finger locator: finds fingertips from a ridge test on 8 x 8
// pixel cells, separates touching fingertips, keeps fingers cut by the image
// border, chooses among candidates with a model of the hand and tells the hand
// from the fingertips' layout. Independent of the exact locator's block maps.
//
// Conventions: image x to the right, y downward. A finger's axis angle is in
// whole degrees counter-clockwise from the horizontal as the image is viewed,
// 90 upright, below 90 leaning right; its fingertip lies in the direction
// (cos a, -sin a) from its centre. Hand frame: u across the fingers (to the
// right when upright), v along them towards the tips.
#ifndef KOVRAL_ACCURATE_H
#define KOVRAL_ACCURATE_H

#include <kovral.h>

#include <cstdint>
#include <vector>

namespace accurate {

constexpr int CELL = 8;         // pixels per cell side
constexpr int MAX_FINGERS = 4;  // reported fingertips per slap
constexpr int MAX_REJECTED = 8; // rejected regions reported per slap

// Per-finger flags, deficiencies and hands: the public API's values.
constexpr uint32_t FLAG_CUT_BY_BORDER = KOVRAL_FINGER_CUT_BY_BORDER;
constexpr uint32_t FLAG_TOUCHING = KOVRAL_FINGER_TOUCHING;
constexpr uint32_t FLAG_FAINT = KOVRAL_FINGER_FAINT;

// Per-slap deficiencies.
constexpr uint32_t DEFICIENCY_ARTIFACTS = KOVRAL_DEFICIENCY_ARTIFACTS; // text, lines, marks or halos were rejected
constexpr uint32_t DEFICIENCY_LOW_CONTRAST = KOVRAL_DEFICIENCY_LOW_CONTRAST; // a fingertip is faint
constexpr uint32_t DEFICIENCY_OVER_INKED = KOVRAL_DEFICIENCY_OVER_INKED;     // fingertips too dark to show valleys
constexpr uint32_t DEFICIENCY_SIDEWAYS = KOVRAL_DEFICIENCY_SIDEWAYS;         // the hand leans by more than 30 degrees
constexpr uint32_t DEFICIENCY_OVER_ROTATED = KOVRAL_DEFICIENCY_OVER_ROTATED; // by more than 45 degrees
constexpr uint32_t DEFICIENCY_INCOMPLETE = KOVRAL_DEFICIENCY_INCOMPLETE; // a finger is missing or cut by the border

// Hand layouts.
constexpr int HAND_UNKNOWN = KOVRAL_HAND_UNKNOWN;
constexpr int HAND_RIGHT = KOVRAL_HAND_RIGHT; // right four: index leftmost
constexpr int HAND_LEFT = KOVRAL_HAND_LEFT;   // left four: little finger leftmost
constexpr int HAND_THUMBS = KOVRAL_HAND_THUMBS;

// Ridge evidence on the cell grid of one image.
struct CellMap
{
    int cw = 0;                     // cells per row: image width / CELL
    int ch = 0;                     // rows: image height / CELL
    std::vector<uint8_t> ridge;     // 1: the window around the cell shows fingerprint ridges
    std::vector<float> contrast;    // standard deviation of gray in the window
    std::vector<float> dark;        // share of the window's gray range below its mean (0.5 for ridges)
    float noise = 0.0f;             // typical contrast of cells without ridges
    std::vector<int> gxx, gyy, gxy; // gradient moments of each cell's own samples
};

// One connected piece of ridge cells.
struct Region
{
    std::vector<int> cells; // cell indices (y * cw + x)
    bool touching = false;  // split off a neighbour along the valley between them
    bool lower = false;     // below a crease: a middle phalanx, not a fingertip
};

// A fingertip candidate measured in pixels.
struct Candidate
{
    double cx = 0, cy = 0; // centre of the fingertip, image pixels
    double u = 0, v = 0;   // the same in the hand frame
    double width = 0;      // across the axis, pixels
    double length = 0;     // along the axis, pixels
    double angle = 90;     // own axis, degrees
    double area = 0;       // pixels covered by ridge cells
    double contrast = 0;   // mean cell contrast
    tagRECT box{};         // pixel box of its cells, right / bottom one past
    uint32_t flags = 0;
    bool lower = false;
    int reject = 0;   // 0 kept, else why it was rejected (REJECT_*)
    double score = 0; // how much like a fingertip, for choosing
};

constexpr int REJECT_SMALL = 1;   // too small for a fingertip
constexpr int REJECT_SHAPE = 2;   // thin, sparse or frayed: text, lines, marks
constexpr int REJECT_PHALANX = 3; // lies below another finger's fingertip
constexpr int REJECT_SURPLUS = 4; // more candidates than fingers in a slap

struct Finger
{
    int x = 0, y = 0; // centre of the fingertip, image pixels
    int angle = 90;
    tagRECT box{};      // pixel box of the fingertip
    int confidence = 0; // 0..100
    uint32_t flags = 0;
};

struct Result
{
    int count = 0;
    Finger fingers[MAX_FINGERS]; // left to right
    int hand = HAND_UNKNOWN;
    int handConfidence = 0; // 0..100
    uint32_t deficiencies = 0;
    int handAngle = 90;
    int rejectedCount = 0;
    tagRECT rejected[MAX_REJECTED]{};
};

// Stage 1: the ridge test on every cell of the w x h image.
void FindRidgeCells(const uint8_t* image, int w, int h, CellMap& map);

// Stage 2: closes pores and gaps inside prints, removes thin strokes and
// specks, and returns the connected pieces of what remains.
std::vector<Region> CandidateRegions(CellMap& map);

// Stage 3: the hand's axis angle from the elongated pieces (90 when none).
double HandAngle(const CellMap& map, const std::vector<Region>& regions);

// Stage 4: splits pieces holding touching fingertips along the valley between
// them and cuts each piece at the crease below its fingertip.
std::vector<Region> SeparateFingertips(const CellMap& map, const std::vector<Region>& regions, double handAngle);

// Measures a piece as a fingertip candidate.
Candidate MeasureCandidate(const CellMap& map, const Region& region, double handAngle);

// Stage 5: rejects candidates that are no fingertips and chooses at most four
// with the hand model; returns the indices of the kept ones, left to right.
std::vector<int> ChooseFingertips(std::vector<Candidate>& candidates, double handAngle);

// Stage 6: right four, left four or thumbs from the chosen fingertips.
void ClassifyHand(const std::vector<Candidate>& chosen, Result& result);

// Stage 7: deficiencies and rejected regions of the slap.
void ReportDeficiencies(const CellMap& map, const std::vector<Candidate>& candidates, const std::vector<int>& chosen,
                        Result& result);

// The whole locator. Returns false when working memory ran out (result then
// holds no finger).
bool Locate(const uint8_t* image, int w, int h, Result& result);

} // namespace accurate

#endif
