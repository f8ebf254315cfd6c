/** @file
 * hue - colour spaces.
 *
 * Rows of 8-bit samples go from one colour space to another. All functions are pure and may be
 * called from any thread.
 */
#ifndef HUE_H
#define HUE_H

#include <stdint.h>

#include "rle.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes the library ready. Not 0 when it is, 0 when it cannot be. Cheap, and may be called any
 * number of times from any number of threads.
 */
RLE_API int32_t HueInit(void);

/**
 * The luminance of `count` pixels of red, green and blue, weighted as in ITU-R BT.709 and rounded
 * to the nearest: 0 is black, 255 white.
 */
RLE_API void hueGreyFromRgb(const uint8_t* rgb, uint8_t* grey, uint32_t count);

/**
 * `count` pixels of cyan, magenta, yellow and black inks (255 is full ink) as red, green and blue:
 * each is what its ink and the black one leave of the light, (255 - ink) * (255 - black) / 255.
 */
RLE_API void hueRgbFromCmyk(const uint8_t* cmyk, uint8_t* rgb, uint32_t count);

#ifdef __cplusplus
}
#endif

#endif /* HUE_H */
