/* The public header needs no other one. */

#include "rle.h"

const uint32_t* rleHeaderAlone(void) { return &rleRunAllocFactor; }
