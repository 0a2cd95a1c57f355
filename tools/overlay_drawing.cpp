#include "overlay_drawing.h"

#include <kovral.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace kovral_tool {

namespace {

struct Rgb
{
    uint8_t r, g, b;
};

constexpr std::array<Rgb, 4> kFingerColours{{{235, 40, 40}, {30, 170, 60}, {40, 100, 235}, {245, 150, 0}}};
constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kBlack{0, 0, 0};
constexpr double kPi = 3.14159265358979323846;

constexpr double kLineWidth = 2.0;
constexpr double kCentreRadius = 4.0;
constexpr double kAxisReach = 0.4; // of the finger height, each way from the centre
constexpr double kArrowLength = 12.0;
constexpr int kGlyphScale = 3;
constexpr int kLabelGap = 6;

// 5 x 7 digits, one row per byte, the leftmost pixel in bit 4.
constexpr int kGlyphW = 5;
constexpr int kGlyphH = 7;
constexpr uint8_t kDigits[10][kGlyphH]
    = {{14, 17, 19, 21, 25, 17, 14}, {4, 12, 4, 4, 4, 4, 14},    {14, 17, 1, 2, 4, 8, 31},   {31, 2, 4, 2, 1, 17, 14},
       {2, 6, 10, 18, 31, 2, 2},     {31, 16, 30, 1, 1, 17, 14}, {6, 8, 16, 30, 17, 17, 14}, {31, 1, 2, 4, 8, 8, 8},
       {14, 17, 17, 14, 17, 17, 14}, {14, 17, 17, 15, 1, 2, 12}};

struct Point
{
    double x, y;
};

class Canvas
{
public:
    explicit Canvas(RgbImage& image) : image_(image) { }

    void Dot(double cx, double cy, double radius, Rgb colour)
    {
        int x0 = static_cast<int>(std::floor(cx - radius)), x1 = static_cast<int>(std::ceil(cx + radius));
        int y0 = static_cast<int>(std::floor(cy - radius)), y1 = static_cast<int>(std::ceil(cy + radius));
        for (int y = y0; y <= y1; y++)
            for (int x = x0; x <= x1; x++)
                if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius)
                    Set(x, y, colour);
    }

    void Line(Point a, Point b, Rgb colour)
    {
        double length = std::hypot(b.x - a.x, b.y - a.y);
        int steps = std::max(1, static_cast<int>(length * 2));
        for (int i = 0; i <= steps; i++) {
            double t = static_cast<double>(i) / steps;
            Dot(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, kLineWidth / 2, colour);
        }
    }

    void Rectangle(int x0, int y0, int x1, int y1, Rgb colour)
    {
        for (int y = y0; y < y1; y++)
            for (int x = x0; x < x1; x++)
                Set(x, y, colour);
    }

    // A number in white on a tile of the finger's colour, centred on (cx, cy).
    void Label(int number, double cx, double cy, Rgb colour)
    {
        std::string digits = std::to_string(number);
        int tileW = static_cast<int>(digits.size()) * (kGlyphW + 1) * kGlyphScale + kGlyphScale;
        int tileH = (kGlyphH + 2) * kGlyphScale;
        int left = std::clamp(static_cast<int>(cx) - tileW / 2, 0, std::max(0, image_.width - tileW));
        int top = std::clamp(static_cast<int>(cy) - tileH / 2, 0, std::max(0, image_.height - tileH));
        Rectangle(left, top, left + tileW, top + tileH, colour);
        for (size_t d = 0; d < digits.size(); d++) {
            const uint8_t* glyph = kDigits[digits[d] - '0'];
            int gx = left + kGlyphScale + static_cast<int>(d) * (kGlyphW + 1) * kGlyphScale;
            for (int row = 0; row < kGlyphH; row++)
                for (int col = 0; col < kGlyphW; col++)
                    if (glyph[row] & (1 << (kGlyphW - 1 - col)))
                        Rectangle(gx + col * kGlyphScale, top + (row + 1) * kGlyphScale, gx + (col + 1) * kGlyphScale,
                                  top + (row + 2) * kGlyphScale, kWhite);
        }
    }

private:
    void Set(int x, int y, Rgb colour)
    {
        if (x < 0 || y < 0 || x >= image_.width || y >= image_.height)
            return;
        uint8_t* p = &image_.pixels[(static_cast<size_t>(y) * image_.width + x) * 3];
        p[0] = colour.r;
        p[1] = colour.g;
        p[2] = colour.b;
    }

    RgbImage& image_;
};

// Box averaging into at most kOverlayMaxWidth columns, gray copied into RGB.
RgbImage Reduce(const GrayImage& slap)
{
    RgbImage out;
    out.width = std::min(slap.width, kOverlayMaxWidth);
    out.height
        = std::max(1, static_cast<int>(std::lround(static_cast<double>(slap.height) * out.width / slap.width)));
    out.pixels.resize(static_cast<size_t>(out.width) * out.height * 3);
    for (int oy = 0; oy < out.height; oy++) {
        int y0 = oy * slap.height / out.height, y1 = std::max(y0 + 1, (oy + 1) * slap.height / out.height);
        for (int ox = 0; ox < out.width; ox++) {
            int x0 = ox * slap.width / out.width, x1 = std::max(x0 + 1, (ox + 1) * slap.width / out.width);
            unsigned sum = 0;
            for (int y = y0; y < y1; y++)
                for (int x = x0; x < x1; x++)
                    sum += slap.pixels[static_cast<size_t>(y) * slap.width + x];
            unsigned count = static_cast<unsigned>((y1 - y0) * (x1 - x0));
            uint8_t gray = static_cast<uint8_t>((sum + count / 2) / count);
            std::fill_n(&out.pixels[(static_cast<size_t>(oy) * out.width + ox) * 3], 3, gray);
        }
    }
    return out;
}

// Corners of the finger's box in slap pixels, clockwise from the top left, as
// the library computes the region it cut out.
std::array<Point, 4> FingerBox(const FingerMark& finger, const GrayImage& slap, int fingerW, int fingerH)
{
    tagPOINT c[4] = {};
    if (kovral_finger_corners(slap.width, slap.height, fingerW, fingerH, finger.x, finger.y, finger.angle, c)
        != KOVRAL_OK)
        return {};
    auto point = [](tagPOINT p) { return Point{static_cast<double>(p.x), static_cast<double>(p.y)}; };
    return {point(c[0]), point(c[1]), point(c[3]), point(c[2])};
}

} // namespace

RgbImage DrawOverlay(const GrayImage& slap, const std::vector<FingerMark>& fingers, int fingerW, int fingerH)
{
    RgbImage out = Reduce(slap);
    Canvas canvas(out);
    double k = static_cast<double>(out.width) / slap.width;
    auto scaled = [k](Point p) { return Point{p.x * k, p.y * k}; };

    for (const FingerMark& finger : fingers) {
        Rgb colour = kFingerColours[static_cast<size_t>(finger.position - 1) % kFingerColours.size()];
        std::array<Point, 4> box = FingerBox(finger, slap, fingerW, fingerH);
        for (size_t i = 0; i < box.size(); i++)
            canvas.Line(scaled(box[i]), scaled(box[(i + 1) % box.size()]), colour);

        // Axis through the centre, with an arrowhead at the fingertip end.
        double a = finger.angle * kPi / 180;
        Point up{std::cos(a), -std::sin(a)};
        Point centre = scaled({static_cast<double>(finger.x), static_cast<double>(finger.y)});
        double reach = fingerH * kAxisReach * k;
        Point tip{centre.x + up.x * reach, centre.y + up.y * reach};
        canvas.Line({centre.x - up.x * reach, centre.y - up.y * reach}, tip, colour);
        for (double side : {-1.0, 1.0}) {
            double back = a + kPi + side * kPi / 6;
            canvas.Line(tip, {tip.x + std::cos(back) * kArrowLength, tip.y - std::sin(back) * kArrowLength}, colour);
        }
        canvas.Dot(centre.x, centre.y, kCentreRadius + 1, kBlack);
        canvas.Dot(centre.x, centre.y, kCentreRadius, colour);

        // The position number just above the middle of the box's upper edge.
        Point topMid = scaled({(box[0].x + box[1].x) / 2, (box[0].y + box[1].y) / 2});
        double lift = (kGlyphH + 2) * kGlyphScale / 2.0 + kLabelGap;
        canvas.Label(finger.position, topMid.x + up.x * lift, topMid.y + up.y * lift, colour);
    }
    return out;
}

} // namespace kovral_tool
