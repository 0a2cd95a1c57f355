// Allocation failures on purpose, for test programs that link
// failing_new.cpp: it replaces the global operator new, so that once armed
// the n-th allocation from then on fails (and, if asked, every later one):
// the nothrow forms return null, the others throw std::bad_alloc.
#ifndef KOVRAL_FAILING_NEW_H
#define KOVRAL_FAILING_NEW_H

namespace failing_new {

// The n-th allocation from now fails (0: the next); with andAfter every
// later one fails too.
void Arm(long n, bool andAfter = false);
void Disarm();
// Allocations that failed since the last Arm.
long Failures();

} // namespace failing_new

#endif
