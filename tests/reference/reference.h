// The straightforward versions of the stages that the library runs in a faster
// form, kept as they were before any speed work: the equivalence tests compare
// the library's output with theirs, byte for byte, on many inputs. Same
// arguments and results as the library functions of the same names.
#ifndef KOVRAL_TESTS_REFERENCE_H
#define KOVRAL_TESTS_REFERENCE_H

#include <kovral.h>

#include "accurate/accurate.h"

namespace reference {

unsigned char BlockDrct1(const unsigned char* img, int w, int h, int x, int y);
int GetQuality(const unsigned char* image, int width, int height);
void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination);
void FinishFingers(KOVRAL_INFO_* pInfo, int n, int outW, int outH, const tagPOINT* centres, const int* angles,
                   unsigned char* scratch);
void GetHVMinRect(signed char* map, int w, int h, signed char label, tagRECT& rect);
int GetRctXWidth(signed char* map, int w, int h, signed char label);
int GetFpPos(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle);
int GetRoatedFp(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
                signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
                tagPOINT* centres);

void FindRidgeCells(const uint8_t* image, int w, int h, accurate::CellMap& map);

} // namespace reference

#endif
