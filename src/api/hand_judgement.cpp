// Hand layout of a four-finger split: the finger centres turned so that the
// mean angle stands upright, then the highest and the lowest compared.
#include "api/api.h"
#include "geometry/geometry.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr int DEFAULT_IMAGE_HEIGHT = 1500;
constexpr int JUDGED_COUNT = 4;

// 32-bit int arithmetic that wraps instead of overflowing.
int Add32(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

int Sub32(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

// Truncates toward zero; values beyond the int range saturate.
int TruncateToInt(double v)
{
    if (!(v > static_cast<double>(std::numeric_limits<int>::min())))
        return std::numeric_limits<int>::min();
    if (!(v < static_cast<double>(std::numeric_limits<int>::max())))
        return std::numeric_limits<int>::max();
    return static_cast<int>(v);
}

} // namespace

void RoatedFingers(int count, KOVRAL_INFO_* in, KOVRAL_INFO_* out)
{
    TurnFingers(count, in, out, g_ImgH != 0 ? g_ImgH : DEFAULT_IMAGE_HEIGHT);
}

void TurnFingers(int count, const KOVRAL_INFO_* in, KOVRAL_INFO_* out, int H)
{
    if (count < 1 || count > KOVRAL_MAX_RECORDS || in == nullptr || out == nullptr)
        return;
    int sum = 0;
    for (int i = 0; i < count; i++)
        sum = Add32(sum, in[i].angle);
    const int d = Sub32(UPRIGHT, sum / count); // the mean truncates toward zero
    for (int i = 0; i < count; i++) {
        const double X = in[i].x;
        const double Y = Sub32(H, in[i].y);
        const double theta = std::atan2(Y, X);
        const double phi = (PI * d) / static_cast<double>(HALF_TURN) + theta;
        // r x cos(phi) and r x sin(phi), with r taken as X / cos(theta) and
        // Y / sin(theta); on the corner's own column or row that divisor is
        // 0, so r is the distance itself there.
        const double r = std::sqrt(X * X + Y * Y);
        out[i].x = TruncateToInt(X == 0.0 ? r * std::cos(phi) : X * std::cos(phi) / std::cos(theta));
        out[i].y = TruncateToInt(H - (Y == 0.0 ? r * std::sin(phi) : Y * std::sin(phi) / std::sin(theta)));
        out[i].angle = Add32(in[i].angle, d);
    }
}

int32_t kovral_judge_hand(const kovral_finger* fingers, int32_t count)
{
    if (count != JUDGED_COUNT || fingers == nullptr)
        return KOVRAL_EINVAL;
    KOVRAL_INFO_ records[KOVRAL_MAX_RECORDS] = {};
    for (int i = 0; i < count; i++) {
        records[i].x = fingers[i].x;
        records[i].y = fingers[i].y;
        records[i].angle = fingers[i].angle;
    }
    KOVRAL_INFO_ turned[KOVRAL_MAX_RECORDS] = {};
    TurnFingers(count, records, turned, DEFAULT_IMAGE_HEIGHT);
    return JudgeTurnedFingers(count, turned);
}

int KOVRAL_JudegeFingers(int count, KOVRAL_INFO_* pInfo)
{
    if (count != 3 && count != 4)
        return KOVRAL_EINVAL;
    if (!g_bInit)
        return KOVRAL_ENOTINIT;
    if (pInfo == nullptr)
        return KOVRAL_EINVAL;

    KOVRAL_INFO_ turned[KOVRAL_MAX_RECORDS] = {};
    RoatedFingers(count, pInfo, turned);
    return JudgeTurnedFingers(count, turned);
}

int JudgeTurnedFingers(int count, const KOVRAL_INFO_* turned)
{
    // On equal rows the earlier record keeps its place.
    int top = 0;
    int bottom = 0;
    for (int i = 1; i < count; i++) {
        if (turned[i].y < turned[top].y)
            top = i;
        if (turned[i].y > turned[bottom].y)
            bottom = i;
    }
    if (count != JUDGED_COUNT)
        return KOVRAL_EINVAL;
    if (top > bottom)
        return KOVRAL_JUDGE_RIGHT;
    if (top < bottom)
        return KOVRAL_JUDGE_LEFT;
    return KOVRAL_EINVAL;
}
