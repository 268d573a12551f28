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
/*
 * Colour dropout works in darkness space, 255 minus each byte, where paper white is the origin
 * and ink points away from it. Sources are 24-bit (blue, green, red); colours are three bytes
 * in the same order. Results are new 8-bit grey records of the rectangle under the exact-fit
 * rule, with the source's resolutions; 255 is white. Null on a null or non-24-bit source, a
 * rejected rectangle, an allocation failure, or the colour failures named below.
 */
/* Removes one colour by a linear projection: each pixel's darkness is taken along the grey
   axis with its component along the colour's darkness removed, in 16.16 fixed point, and
   divided into 255 steps of q = w0 + w1 + w2 + 1 (the weights' sum plus one, truncating):
   out = 255 - (w . (255 - b)) / q, clamped. The colour itself and white give 255; black gives
   1, never 0 (deliberately: the divisor keeps one level). Null for a null colour, white or any
   neutral grey (no direction is left). */
QUILP_API DibInfo* DibSupressColor(DibInfo* src, unsigned char const (*colour)[3], tagRect32* rect);
/* Keeps the darkness of pixels near the kept colours and whitens pixels near the suppressed
   ones. Per pixel, with p its darkness, L = |p|^2, A = max(0, largest p . unit(kept colour)),
   B = the same over the suppressed colours (0 when there are none):
     sinKeep = sqrt(max(0, 1 - A^2 / L)), sinDrop = sqrt(max(0, 1 - B^2 / L)),
     weight = sinDrop / (sinKeep + sinDrop) (sinDrop when the sum is 0),
     out = 255 - min(255, (int)(A * weight + 0.5)); white pixels stay 255.
   So a pixel along a kept colour keeps its darkness A and one along a suppressed colour turns
   white. Null when keepCount < 1, dropCount < 0, either array is null (drop too, even when
   dropCount is 0) or any colour is white. */
QUILP_API DibInfo* DibSupressColors(DibInfo* src, int keepCount, unsigned char const (*keep)[3],
                                    int dropCount, unsigned char const (*drop)[3],
                                    tagRect32* rect);

/*
 * Keyed colour-to-grey conversion: 24- or 32-bit source (blue, green, red first; a fourth byte
 * is ignored), 8-bit result of the source rectangle (clamping rule) placed at `origin` of
 * `dest` (see the keyed-parameter conventions above). Three stages, each off by default:
 *  1. Weighted grey: g = round((mulB * blue + mulG * green + mulR * red) / mulS), halves
 *     upward, clamped to 0..255. Keys mulB, mulG, mulR (default 85 each) and mulS (default
 *     their sum; it must come out positive). The defaults give the equal-thirds grey.
 *  2. Dropout of the reference colours (colourCount colours of three bytes, blue first). A
 *     neutral colour (three equal bytes: white, the greys, black) has no hue to tell it from
 *     the text and is ignored, so (85,85,85) and (0,0,0) leave the weighted grey as it is.
 *     For the others, with sinKeep the sine of the angle between the pixel's darkness
 *     (255 - each byte) and the grey axis and sinDrop the smallest sine of its angle to a
 *     dropout colour: a pixel no closer in angle to a dropout colour than to the grey axis
 *     keeps its grey; a closer one keeps the share sinDrop / sinKeep of its darkness,
 *     g = 255 - (int)((255 - g) * sinDrop / sinKeep + 0.5), so a pixel along a dropout
 *     colour turns white.
 *  3. Levels (keys and arguments lvl0, lvl1, lvl2): black point lvl0 (0..254), white point
 *     lvl1 (0 stands for 255), mid-tone lvl2 (0: linear; else the input level, strictly
 *     between the two points, that becomes about 128). With t = (g - lvl0) / (lvl1 - lvl0)
 *     clamped to 0..1: out = round(255 t), or (int)(255 t^gamma + 0.5) with
 *     gamma = ln 0.5 / ln((lvl2 - lvl0) / (lvl1 - lvl0)). Zeros leave the levels unchanged.
 * hSize and vSize (keys and arguments) are reserved for paper flattening: 0 is required
 * (negative gives -1, positive -4, not provided).
 * Returns 0, or -1 for a null source, a depth other than 24 or 32, an empty rectangle, a
 * negative colourCount, colours null with colourCount > 0, mulS not positive, levels out of
 * order, an unsuitable dest; -3 when the result cannot be made; the frame's other codes.
 */
QUILP_API int DibSuppressColorsEx(DibInfo*& dest, DibInfo const* src, int colourCount,
                                  unsigned char const (*colours)[3], int hSize, int vSize,
                                  int lvl0, int lvl1, int lvl2, int count,
                                  char const* const* names, char const* const* values,
                                  tagRect32 const* rect, tagPoint32 const* origin);
/* (end of colour suppression and the depth decision) */


/* ---- Erosion, dilation and grey filters ---------------------------------------- */

/* (end of erosion, dilation and grey filters) */


/* ---- Skew estimation and downscaling ------------------------------------------- */

/* (end of skew estimation and downscaling) */


#endif /* QUILP32_H */
