// Pointer checks and the millisecond wait, under their Win32 names.
#include "api/api.h"

#include <sys/select.h>

int IsBadReadPtr(void* p, unsigned long)
{
    return p == nullptr ? 1 : 0;
}

int IsBadWritePtr(void* p, unsigned long)
{
    return p == nullptr ? 1 : 0;
}

void Sleep(int ms)
{
    constexpr unsigned MICROSECONDS_PER_MS = 1000;
    // The whole wait goes into the microsecond field, as a 32-bit product:
    // waits of a second or more are refused by select and return at once.
    timeval timeout{};
    timeout.tv_sec = 0;
    timeout.tv_usec = static_cast<int>(static_cast<unsigned>(ms) * MICROSECONDS_PER_MS);
    select(0, nullptr, nullptr, nullptr, &timeout);
}
