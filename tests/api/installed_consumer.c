/* Built against an installed libkovral: initialises, refuses a bad request, cleans up. */
#include <kovral.h>

#include <stddef.h>

int main(void)
{
    int count = -1;
    KOVRAL_INFO_ info[KOVRAL_MAX_RECORDS];
    KOVRAL_Init(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT);
    int rc = KOVRAL_DoSplit(NULL, 800, 600, NULL, 256, 360, &count, info);
    KOVRAL_Uninit();
    return (rc == KOVRAL_EINVAL && count == -1) ? 0 : 1;
}
