// The public header also builds as C++ (-pedantic -Werror), where its types are the
// ones the exported C++ symbols are named after; the program is the C one.
#include <kovral.h>

#include <type_traits>

static_assert(std::is_standard_layout_v<KOVRAL_INFO_>);
static_assert(sizeof(KOVRAL_INFO_) == 24);
static_assert(sizeof(tagRECT) == 16 && sizeof(tagPOINT) == 8);

#include "header_compiles.c"
