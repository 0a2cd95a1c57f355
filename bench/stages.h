// The exported stage functions the benchmarks time, declared here rather than
// taken from the library's internal headers, so that the same benchmark
// sources also build against the library of an earlier commit (see
// compare.py). Their signatures never change.
#ifndef KOVRAL_BENCH_STAGES_H
#define KOVRAL_BENCH_STAGES_H

#include <kovral.h>

int Directions(unsigned char* img, int w, int h, signed char* map, int param);
int FindFpPos(signed char* map, int bw, int bh, signed char* work, tagRECT* boxes, int* angles, signed char* labels);
int GetFpPos(signed char* map, int w, int h, signed char label, tagRECT* rect, bool bGetAngle);
int FastBkGray(const unsigned char* image, int width, int height);
int GetRoatedFp(unsigned char* img, int w, int h, signed char* work, int count, tagRECT* boxes, int* angles,
                signed char* labels, unsigned char bkGray, unsigned char** outBufs, int outW, int outH,
                tagPOINT* centres);
void FindTheFpGrad(const unsigned char* source, int width, int height, unsigned char* destination);
int GetQuality(const unsigned char* image, int width, int height);

#endif
