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

/* (end of erosion, dilation and grey filters) */


/* ---- Skew estimation and downscaling ------------------------------------------- */
/*
 * Three ways of measuring how far the text lines of an 8-bit grey page (dark pixels are ink)
 * deviate from the horizontal, each in its own unit, and the area-averaging reduction one of
 * them works on. Positive skew always means lines that descend to the right (rows counted
 * from the visual top).
 */

/* The fast Hough transform of square blocks. DibHoughPrepare(n, vertical, polarity) readies
   blocks of N = 2^n pixels a side (n in 0..14; false otherwise or when memory runs out):
   vertical true follows nearly vertical lines, false nearly horizontal ones; polarity false
   means dark ink (a pixel votes 255 - value), true that a pixel votes its value. A second
   prepare replaces the first. The three calls share one process-wide state: the host must
   not run them concurrently. */
QUILP_API bool DibHoughPrepare(int logSize, bool vertical, bool polarity);
/* Transforms the N x N block `rect` of an 8-bit image (null: the whole image, which must then
   be N x N) and reports the best digital line: zero = 0; slope in 0..N-1 for lines that
   descend that many rows from the block's left column to its right one (vertical mode: move
   that many columns right from its top row to its bottom one), or -1..-(N-1) for lines that
   rise to the right (move left going down), the mirror pass winning only when its integer
   score is strictly greater; score = (int)(65536 * sqrt(variance) / (mean^2 + 0.01)), from
   the slope's N cyclic line sums h: mean of sqrt(h), variance of h. The first best slope wins
   ties. False, outputs untouched, for a null image, a depth other than 8, a block that is not
   N x N or not inside the image, and when no prepared state is live (never prepared, or
   released by DibHoughDone). */
QUILP_API bool DibHoughCompute(DibInfo* dib, int& zero, int& slope, int& score, tagRect32* rect);
/* Releases the prepared state: true when one was live, false otherwise (a second call). */
QUILP_API bool DibHoughDone();

/* The Hough transform image of an 8-bit image. mode 2 follows nearly horizontal lines, mode 1
   nearly vertical ones; depth is 8 or 32. For mode 2 on a W x H image, with L the smallest
   power of two such that L - 1 >= 0.18 W (lines up to about 10 degrees):
     - row p holds the lines that drift p - L rows from the left edge to the right one
       (positive: descending), so a line of row p has the angle atan2(p - L, W); the image
       has 2L rows (row 0, a drift of -L, is empty), centred at half its height;
     - column c holds the line that crosses the left edge at row c, columns H..H+L-2
       standing for rows -(L-1)..-1 above the top, so the width is H + L - 1;
     - a value is the sum along the line of each pixel's ink, max(0, paper - value), paper
       being the median grey level: every column contributes its pixel in the line's row.
   Lines are the dyadic digital lines of the fast Hough transform over L bands of columns.
   32 bits: the sums as signed 32-bit integers; 8 bits: the sums scaled so the largest is 255.
   Mode 1 is the same with rows and columns exchanged (drift to the right going down).
   Null for a null image, a depth other than 8, a mode other than 1 or 2, a depth argument
   other than 8 or 32, an empty image or a failed allocation. */
QUILP_API DibInfo* DibHoughTransform(DibInfo* dib, int mode, int depth);
/* The strongest row of a transform image (8 or 32 bits). Each row is scored by measure 1: the
   sum of the squared differences between neighbouring values (how sharply the row's lines
   separate ink from paper); measure 0: the sum of the squared values. position is the row of
   the highest score refined to a fraction of a row, in 1/256 rows; value is the peak score
   divided by the width. radius: <unused yet>. False, outputs untouched, for a null image, a
   depth other than 8 or 32, a measure other than 0 or 1, a negative radius, an empty image. */
QUILP_API bool DibFindHoughPeak(DibInfo* transform, int radius, int measure, int& position,
                                int& value);
/* The skew angle in radians of an 8-bit page or of the rectangle of it (clamping rule): the
   top and bottom tenth of the area (at most 200 rows each) are faded into the border level,
   the Hough transform image (mode 2, depth 8) is taken and its peak (radius 5, measure 1)
   gives angle = atan2(p - 0.5 * height of the transform, width of the area). `unused` is
   ignored. False, angle untouched, for a null image, a depth other than 8, an empty
   rectangle or a failed allocation. */
QUILP_API bool DibHoughGetAngle(double& angle, DibInfo* dib, int unused, tagRect32* rect);

/* (end of skew estimation and downscaling) */


#endif /* QUILP32_H */
