// kovral_finger_corners: the region a split cut out for a finger.
#include "api/api.h"
#include "block_grid.h"
#include "geometry/geometry.h"

int32_t kovral_finger_corners(int32_t image_width, int32_t image_height, int32_t finger_width, int32_t finger_height,
                              int32_t x, int32_t y, int32_t angle, tagPOINT corners[4])
{
    if (corners == nullptr)
        return KOVRAL_EINVAL;
    if (image_width < KOVRAL_MIN_WIDTH || image_width > KOVRAL_MAX_WIDTH || image_height < KOVRAL_MIN_HEIGHT
        || image_height > KOVRAL_MAX_HEIGHT)
        return KOVRAL_EINVAL;
    if (finger_width < KOVRAL_MIN_WIDTH || finger_width > image_width || finger_height < KOVRAL_MIN_HEIGHT
        || finger_height > image_height)
        return KOVRAL_EINVAL;
    if (x < 0 || x >= image_width || y < 0 || y >= image_height)
        return KOVRAL_EINVAL;
    FingerCorners(image_width, WholeBlockRows(image_height), finger_width, finger_height, tagPOINT{x, y}, angle,
                  corners);
    return KOVRAL_OK;
}
