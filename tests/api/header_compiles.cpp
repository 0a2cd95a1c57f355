// The public header also builds as C++ (-pedantic -Werror), where its types are the
// ones the exported C++ symbols are named after.
#include <kovral.h>

#include <type_traits>

static_assert(std::is_standard_layout_v<KOVRAL_INFO_>);
static_assert(sizeof(KOVRAL_INFO_) == 24);
static_assert(sizeof(tagRECT) == 16 && sizeof(tagPOINT) == 8);

int main()
{
    KOVRAL_INFO_ info;
    tagRECT rect = {0, 0, 0, 0};
    tagPOINT point = {0, 0};
    int (*split)(unsigned char*, int, int, void*, int, int, int*, KOVRAL_INFO_*) = KOVRAL_DoSplit;
    info.pFpImg = nullptr;
    (void)rect;
    (void)point;
    (void)split;
    /* No state needed for a refused request or a refused judgement. */
    if (KOVRAL_DoSplit(nullptr, 256, 360, nullptr, 256, 360, nullptr, &info) != KOVRAL_EINVAL)
        return 1;
    if (KOVRAL_JudegeFingers(2, &info) != KOVRAL_EINVAL)
        return 1;
    return KOVRAL_VERSION_MAJOR >= 1 ? 0 : 1;
}
