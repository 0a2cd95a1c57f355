/* The public header is plain C: this program builds with -std=c99 -pedantic -Werror. */
#include <kovral.h>

#include <stddef.h>

int main(void)
{
    KOVRAL_INFO_ info;
    tagRECT rect = {0, 0, 0, 0};
    tagPOINT point = {0, 0};
    int (*split)(unsigned char*, int, int, void*, int, int, int*, KOVRAL_INFO_*) = KOVRAL_DoSplit;
    info.pFpImg = NULL;
    (void)rect;
    (void)point;
    (void)split;
    /* No state needed for a refused request or a refused judgement. */
    if (KOVRAL_DoSplit(NULL, 256, 360, NULL, 256, 360, NULL, &info) != KOVRAL_EINVAL)
        return 1;
    if (KOVRAL_JudegeFingers(2, &info) != KOVRAL_EINVAL)
        return 1;
    return KOVRAL_VERSION_MAJOR >= 1 ? 0 : 1;
}
