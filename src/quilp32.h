/*
 * quilp32.h - image operations for scanned document pages.
 *
 * Images travel as DibInfo records: a 40-byte bitmap info header, the palette and the pixel
 * rows in one block that the library allocates (DibCreate and every operation that returns an
 * image) and the caller releases with DibFree.
 *
 * Conventions shared by every export:
 *  - Positive biHeight: rows stored bottom-up; zero or negative: top-down. Every row and
 *    rectangle coordinate of the interface is visual: row 0 is the top of the picture.
 *  - tagRect32 is left, top, right, bottom with right and bottom inclusive; a null rectangle
 *    means the whole image. Each export documents which of two rules it applies:
 *      clamping  - the rectangle is cut to the image; fails only when nothing is left;
 *      exact-fit - the result has the requested size; fails unless the rectangle (normalised,
 *                  each edge clamped to 0..Width or 0..Height) keeps that size. A right edge
 *                  equal to Width or a bottom edge equal to Height therefore passes and covers
 *                  one column or row beyond the image; pass rectangles inside the image.
 *  - Plain exports return a new record (null on failure), a bool, or a number; keyed
 *    parameter exports (names ending in Ex) return 0 or a positive value on success and
 *    -1 invalid argument, -2 kernel failure, -3 result allocation failed, -4 not provided,
 *    -5 destination requested before a source.
 *  - 1-bit images: palette index 0 black, 1 white, leftmost pixel in the most significant bit.
 *  - Sources are never modified. Nothing is printed except by the comparison operations.
 *
 * The header is C++11 and depends on nothing but <stdint.h> and <stdio.h>.
 */
#ifndef QUILP32_H
#define QUILP32_H

#include <stdint.h>
#include <stdio.h>

#if defined(_WIN32)
#  if defined(QUILP_BUILDING_LIBRARY)
#    define QUILP_API __declspec(dllexport)
#  else
#    define QUILP_API __declspec(dllimport)
#  endif
#else
#  define QUILP_API __attribute__((visibility("default")))
#endif

/* ---- Records ------------------------------------------------------------------------- */

struct tagBITMAPINFOHEADER {
  uint32_t biSize;
  int32_t biWidth;
  int32_t biHeight;
  uint16_t biPlanes;
  uint16_t biBitCount;
  uint32_t biCompression;
  uint32_t biSizeImage;
  int32_t biXPelsPerMeter;
  int32_t biYPelsPerMeter;
  uint32_t biClrUsed;
  uint32_t biClrImportant;
};
struct tagRGBQUAD {
  uint8_t rgbBlue, rgbGreen, rgbRed, rgbReserved;
};
typedef tagBITMAPINFOHEADER BITMAPINFOHEADER;
typedef tagRGBQUAD RGBQUAD;

struct tagRect32 {
  int32_t left, top, right, bottom;
};
struct tagPoint32 {
  int32_t x, y;
};

/* The record: header, palette and rows in one block. The accessors never allocate. */
struct QUILP_API DibInfo : tagBITMAPINFOHEADER {
  /* First stored pixel row: record + biSize + 4 * NumColors(). */
  unsigned char* BitsPtr() const;
  /* Visual row `row` (0 = top), or null when row < 0 or row >= Height(). */
  unsigned char* GetLine(int row) const;
  /* The palette, at record + biSize. */
  tagRGBQUAD* PalPtr() const;
  /* Row stride in bytes: rows padded to a multiple of 4 bytes. */
  int ByteWidth() const;
  /* Palette size in bytes, 4 * NumColors(). */
  int PaletteSize() const;
  /* biClrUsed if non-zero, else 2^biBitCount below 9 bits, else 0. */
  int NumColors() const;
  /* biPlanes * biBitCount. */
  int BitsPerPixel() const;
  int XPelsPerMeter() const;
  int YPelsPerMeter() const;
  /* abs(biHeight). */
  int Height() const;
  /* biWidth as stored. */
  int Width() const;
  /* Copies the 40 header bytes only; palette and pixels are not touched. */
  DibInfo& operator=(DibInfo const& other);
};

/* A zeroed record of depth 1 (palette black, white), 8 (grey ramp), 24 or 32, stored in the
   order the sign of height says. Any other depth, a negative width or a size beyond 4 GiB
   gives null. A height of 0 gives a record with no rows. */
QUILP_API DibInfo* DibCreate(int width, int height, int xPelsPerMeter, int yPelsPerMeter,
                             int bitCount);
/* A zeroed record with the model's width, signed height and resolutions; bitCount 0 means the
   model's depth. Depths other than 1, 8, 24, 32 and a null model give null. */
QUILP_API DibInfo* DibCreate(DibInfo* model, int bitCount);
/* Releases a record made by this library and sets the pointer to null. Returns false, touching
   nothing, for null, for an address that is not a live record and for one already released. */
QUILP_API bool DibFree(DibInfo*& dib);

/* ---- Grey conversion ------------------------------------------------------------------- */
/*
 * A 24-bit area becomes 8-bit grey by projecting each pixel (blue, green, red bytes) on a
 * direction and stretching the projection over 0..255:
 *   weights w = round(65536 * d / |d|); output range [min, max] over the colour cube's corners
 *   (with 0 included); q = (max - min + 255) / 255; grey = clamp((b*w0 + g*w1 + r*w2 - min) / q)
 *   with the division truncating. The direction d is the reference colour (three bytes in
 *   pixel order, blue first) or, when colour is null, the main axis of the area's uncentred
 *   colour moments, turned so that its components sum to 0 or more.
 * Each returns a new 8-bit record of the area, or null when src is null or not 24-bit, the
 * rectangle is rejected, the direction is zero (reference colour (0,0,0), an all-black area
 * with no reference colour) or the output range is empty.
 */
/* Clamping rectangle rule. */
QUILP_API DibInfo* DibRGB2Grey(DibInfo* src, unsigned char const (*colour)[3], tagRect32* rect);
/* Exact-fit rule; the reference colour is centred (each byte minus 128) and the output range
   is taken from black and white only, so (128,128,128) fails. */
QUILP_API DibInfo* DibRGB2GreyN(DibInfo* src, unsigned char const (*colour)[3],
                                tagRect32* rect);
/* Exact-fit rule; colourWeight k >= 1 lifts colourful pixels toward white by k/16 grey level
   per unit of distance from the grey axis: grey + (round(dist) * k + 8) / 16, capped at 255. */
QUILP_API DibInfo* DibRGB2GreyX(DibInfo* src, unsigned char const (*colour)[3],
                                int colourWeight, tagRect32* rect);

/* ---- Keyed-parameter operations ------------------------------------------------------ */
/*
 * Exports ending in Ex take, besides their positional arguments, `count` name/value pairs of
 * decimal text (names[i] is a key, values[i] its value) that can override positional
 * integers. A repeated key keeps its first value; keys are case-sensitive; values are read as
 * atoi reads them ("12px" is 12, "x" is 0). count != 0 with a null list gives -1.
 * Sources follow the clamping rectangle rule. Results are placed at the optional point
 * (null or negative coordinates mean 0, 0) of the caller's target, which must have the result
 * depth and room for point plus area (else -1), or of a new record made just large enough.
 * When a call fails after making the result, the result is released although the caller's
 * variable still holds its address: after a negative return that variable must not be used.
 */

/* Always -4 (not provided), whatever the arguments. */
QUILP_API int DibFilterEx(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2, int p3,
                          int count, char const* const* names, char const* const* values,
                          tagRect32 const* rect);

/* ---- Zone copy, depth conversion, canonical check ------------------------------ */

/* (end of zone copy, depth conversion, canonical check) */


/* ---- Comparison and statistics ------------------------------------------------- */

/* (end of comparison and statistics) */


/* ---- Otsu thresholds and binarization ------------------------------------------ */

/* (end of otsu thresholds and binarization) */


/* ---- Colour suppression and the depth decision --------------------------------- */

/* (end of colour suppression and the depth decision) */


/* ---- Erosion, dilation and grey filters ---------------------------------------- */

/*
 * DibFilterGreyEx: the grey filters of 8-bit images, one operation per code `oper`. Keys (see
 * keyed-parameter operations above) override positional arguments where listed. The source
 * area follows the clamping rule; except for 262 and 267 the result is the caller's 8-bit
 * target (written at its top-left corner; it must be at least as large as the area) or a new
 * 8-bit record of the area's size with the source's resolution.
 *
 *  256  automatic levels: the darkest and lightest 1/200 of the area's pixels are clipped and
 *       the levels between stretched linearly over 0..255 (rounded); one level only: a copy.
 *  257  pixel operation of the source s and the target's present pixels t, sub-code = key
 *       `oper` (default p1): 0 copy s; 1 min(s, t); 2 max(s, t); 3 |s - t|; 4 (s + t + 1) / 2;
 *       5 min(255, (255 s + t / 2) / max(t, 1)) - t is a background estimate, so paper
 *       becomes white. A target made by the call is zero. Sub-codes outside 0..5: -1.
 *  258  minimum over a window hSize x vSize (keys `hSize` default p2, `vSize` default p3,
 *       `type` default p1), the window cut at the area's borders;
 *  259  maximum; 260 opening (minimum, then maximum); 261 closing (maximum, then minimum).
 *       `type` not 0: -1; a negative size: -1; an even size other than 0: -4; size 0 means
 *       one pixel. Cost per pixel does not depend on the window.
 *  262  resolution reduction of a 1-, 8-, 24- or 32-bit source (keys `xDPI` default p1,
 *       `yDPI` default p2): per axis, a DPI of at least 1 with a known source resolution asks
 *       for round(DPI * 39.37) pixels per metre (factor = source / that); otherwise p3 >= 1
 *       gives the factor p3 / 100 (new resolution = source / factor); otherwise, or when a
 *       factor is below 1, or the result would be empty: -1. The result, of the source's
 *       depth and trunc(size / factor), averages each pixel's footprint by area (per byte;
 *       1-bit: set when the set area is more than half). A caller's target must have the
 *       depth and room for it (else -1).
 *  263  linear mapping. p3 = 0: out = clamp((p2 + v * g + 128) >> 8) with g the low 16 bits of
 *       p1 as a signed number (gain and offset in 1/256); p3 = 1: clamp(floor(v * p1 / 256 +
 *       p2 / 256 + 0.5)); other p3: as 264.
 *  264  power law: out = clamp(trunc((v / 256)^(p3 / 256) * 256 + 0.5)) (exponent p3 / 256).
 *  265  Gaussian smoothing with standard deviations p1 / 256 (horizontal) and p2 / 256
 *       (vertical) pixels, out to 3 deviations, edges repeated; 0 leaves a direction alone,
 *       deviations above 85 pixels are taken as 85; negative: -1.
 *  266  local contrast normalisation over a p1 x p2 window (even sizes are taken one
 *       smaller): with the window's minimum lo and maximum hi, out = 255 - min(255, ((hi - v)
 *       * 255 + r / 2) / r), r = max(hi - lo, 32): the local paper level becomes white and
 *       faint strokes black. Choose a window wider than the thickest stroke. Negative: -1.
 *  267  flattening of uneven illumination, four calls of this function: maximum and then
 *       minimum over a window of p1 pixels (0: a sixth of an inch, 21 pixels at an unknown
 *       resolution; even sizes one larger) estimate the paper, 265 smooths it with deviation
 *       p2 / 256 (0: a quarter of the window), then 257 sub-code 5 divides the source by it.
 *       The first negative code of a step is returned; intermediates are released.
 *  268  negative: 255 - v.
 * Codes below 256 (and a null source): -1. Codes above 268 return 0 after the source and the
 * result are prepared (a new result is a blank record the caller then owns). Other negative
 * codes come from the call frame (-1 bad list or source, -3 no memory) and kernels (-2).
 */
QUILP_API int DibFilterGreyEx(DibInfo*& dst, DibInfo const* src, int oper, int p1, int p2,
                              int p3, int count, char const* const* names,
                              char const* const* values, tagRect32 const* rect);

/* (end of erosion, dilation and grey filters) */


/* ---- Skew estimation and downscaling ------------------------------------------- */

/* (end of skew estimation and downscaling) */


#endif /* QUILP32_H */
