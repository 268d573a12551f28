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
  /* Palette size in bytes, 4 * NumColors(), saturating at INT32_MAX for a huge biClrUsed. */
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
   order the sign of height says. Any other depth, a negative width, a row beyond 512 MiB or
   a size beyond 4 GiB (2 GiB in a 32-bit process) gives null. A height of 0 gives a record
   with no rows. */
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
 * Each returns a new 8-bit record of the area in the source's row order, or null when src is
 * null or not 24-bit, the rectangle is rejected, the direction is zero (reference colour
 * (0,0,0), an all-black area with no reference colour) or the output range is empty.
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

/*
 * Zone copy: a rectangle of a 1-, 8-, 24- or 32-bit image is copied pixel for pixel into an
 * image of the same depth (1-bit zones at any bit position). A destination made here has the
 * zone's size, the source's resolutions and the standard palette of its depth (not the
 * source's palette: an 8-bit source with a colour palette gives a copy read as grey).
 */
/* Clamping rectangle rule. Copies the zone to the top-left of `dest`, which must have the
   source's depth and room for the zone (else false, dest untouched); when dest is null a new
   record is made and stored there. False for a null source, a depth other than 1, 8, 24 or
   32, a rectangle with nothing inside the image, or a failed allocation; no pixel is written
   on failure. Destination bits and pixels outside the zone keep their values. */
QUILP_API bool DibCopyZone(DibInfo*& dest, DibInfo* src, tagRect32* rect);
/* Keyed-parameter form (the lists are accepted and not read): copies the clamped zone to
   `origin` of dest (null or a negative coordinate: 0, 0); a null dest gets a new record of
   origin plus zone size, zero outside the zone. 0 on success, -1 null source, unsupported
   depth, empty rectangle or unsuitable dest (other depth, too small), -3 allocation failed. */
QUILP_API int DibCopyZoneEx(DibInfo*& dest, DibInfo const* src, int count,
                            char const* const* names, char const* const* values,
                            tagRect32 const* rect, tagPoint32 const* origin);

/* Keyed-parameter depth change of the clamped zone, placed like DibCopyZoneEx. The route
   depends on the source depth and `depth`:
     same depth            - exactly DibCopyZoneEx;
     1 from 8, 24 or 32    - binarization: DibBinarizeEx with p1 as its method, p2 and p3 as
                             its p1 and p2, and count, the lists, rect and origin; its status
                             is returned (a 32-bit source gives -1);
     8 from 24 or 32       - colour-weighted grey with equal weights (DibSuppressColorsEx with
                             no reference colours, p1, p2, p3 as its levels lvl0, lvl1, lvl2,
                             the lists, rect and origin), whose status is returned;
     1 -> 8, 24, 32; 8 -> 24, 32; 24 -> 32; 32 -> 24 - direct conversion: a set bit becomes
                             white (255 in every channel) and a clear bit black; grey is
                             replicated into blue, green and red (an 8-bit palette is not
                             read); 32 -> 24 drops the fourth byte; every 32-bit result has
                             its fourth byte 0.
   The lists are not read by the conversion itself. Codes as DibCopyZoneEx; a depth other than
   1, 8, 24 or 32 gives -1. */
QUILP_API int DibConvertDepthEx(DibInfo*& dest, DibInfo const* src, int depth, int p1, int p2,
                                int p3, int count, char const* const* names,
                                char const* const* values, tagRect32 const* rect,
                                tagPoint32 const* origin);

/* Row order demanded by DibIsCanonical; any other value demands none. */
enum DibDirection { DibDirectionBottomUp = 1, DibDirectionTopDown = 2 };
/* Grades a record obtained elsewhere against the form the operations expect, reading only its
   header and palette:
     -1 null record;
      0 canonical: 40-byte header, one plane, non-negative resolutions, uncompressed, 1..65535
        pixels each way, biSizeImage 0 or exact, the demanded row order, and depth 1 (palette
        black, white; 0 or 2 colours), 8 (the grey ramp; 0 or 256 colours) or 24 (no palette);
      1 well formed and supported but not canonical (row order, palette or colour count);
      2 malformed (planes, negative resolution, unknown compression, a side of 0 or less,
        wrong biSizeImage);
      3 a kind the library does not handle (another header size, compressed, a side above
        65535, any other depth - 32 bits included).
   The first failing check, in the order listed, decides. */
QUILP_API int DibIsCanonical(DibInfo const* dib, DibDirection direction);

/* (end of zone copy, depth conversion, canonical check) */


/* ---- Comparison and statistics ------------------------------------------------- */

/*
 * Image difference of a test image and a reference image of the same depth (8 or 24 bits)
 * over a rectangle of each (null: the whole image; clamping rule). The loop covers the
 * clipped reference region, W x H: difference (c, r) takes test pixel (c, r) and reference
 * pixel (c, r), each counted from its region's top-left corner. Per byte, with t the test
 * value, e the reference value and o the offset, d = t + o - e and the difference is
 *   method 0: min(|d|, 255)        method 1: min(max(d, 0), 255).
 * Offsets: byte k (blue, green, red) of a 24-bit pixel uses offset{k} + offset; an 8-bit
 * pixel uses (offset0 + offset1 + offset2 + 1) / 3 + offset, the division truncating toward
 * zero. Misuse (null image, depths that differ, another depth, a method other than 0 or 1)
 * returns -1 and writes one message, formatted as
 *   "\nfile=%s line=%d func=%s code=%d descr=%s"
 * into a cleared 256-byte buffer, to the log stream set with DibSetLogStream (nothing is
 * written while none is set, as at start).
 */
/* stopLimitLow, stopLimitHigh: one signed 64-bit stop limit of the sum form, low word first
   (negative: no limit); method 0 (absolute) or 1 (one-sided); offset added to every byte;
   offset0..2 the offsets of the first, second and third byte of a 24-bit pixel. */
struct SDibDifferSetup {
  int32_t stopLimitLow, stopLimitHigh, method, offset, offset0, offset1, offset2;
};
/* Sets the comparison operations' log stream (null: none) for the whole process; returns the
   previous one. */
QUILP_API FILE* DibSetLogStream(FILE* stream);
/* Image form: writes the differences into `out` from its top-left pixel on. When out is null
   a zeroed record of the reference rectangle's size as given (before clipping), the reference
   image's depth and resolutions is made first (-2 when that fails, the depth has no creator
   or either side of that size lies outside -65535..65535) - before the depth and method are checked, so a 1- or 32-bit pair leaves a new,
   unfilled record in `out` for the caller to release. Returns 1 on success (also for a region
   without pixels), 0 when the reference region is wider or taller than the test region or
   `out` is smaller than the reference region or not of the pair's depth, -1 on misuse. */
QUILP_API int DibDiffer(DibInfo*& out, DibInfo* pTstDib, DibInfo* pEtaDib, tagRect32* tstRect,
                        tagRect32* etaRect, SDibDifferSetup const& setup);
/* Sum form: the sum of the differences over the region (all three bytes of 24-bit pixels),
   added row by row; with a stop limit of 0 or more, the sum reached after the first row that
   takes it above the limit. 0 for a region without pixels; -1 on misuse or when the
   reference region is wider or taller than the test region (no message for the latter). */
QUILP_API int64_t DibDiffer(DibInfo* pTstDib, DibInfo* pEtaDib, tagRect32* tstRect,
                            tagRect32* etaRect, SDibDifferSetup const& setup);

/*
 * Sample statistics over a rectangle (clamping rule; null: the whole image) of an 8-bit image
 * (result[0]) or a 24-bit image (result[0..2]: first, second, third byte of each pixel).
 * result must hold three doubles; all three are set to 0.0 first, so a failed call leaves
 * zeros. Within a row, sums of values, squares and products are unsigned 32-bit integers
 * (exact for rows of up to 66,051 pixels); after each row they are added in double. With N
 * pixels, 8-bit: N * (Q/N - (S/N)^2) / (N - 1); 24-bit: (N / (N - 1)) * (Q/N - (S/N)^2) per
 * byte (covariance: P/N - (Sx/N)*(Sy/N) in place of Q/N - (S/N)^2). Fewer than two pixels
 * (a rectangle wholly outside the image included) give a result that is not a number, with
 * true.
 */
/* False for a null image or result, or a depth other than 8 and 24. */
QUILP_API bool DibComputeVariance(DibInfo* dib, tagRect32* rect, double* const result);
/* False for a null image or result; unless the rectangles as given (null: the whole image)
   have equal right - left and equal bottom - top; when dib1's depth is not 8 or 24; when the
   second region, clipped to its image, is smaller than the first clipped region. Only dib1's
   depth is examined: dib2 is read as if it had dib1's depth (its row bytes from its region's
   first pixel on; bytes beyond its pixel area read as 0). */
QUILP_API bool DibComputeCovariance(DibInfo* dib1, tagRect32* rect1, DibInfo* dib2,
                                    tagRect32* rect2, double* const result);

/* (end of comparison and statistics) */


/* ---- Otsu thresholds and binarization ------------------------------------------ */
/*
 * Otsu's criterion on the 256-bin histogram of a grey area:
 *  - two classes: one threshold t, the first level of the upper class (levels 0..t-1 and
 *    t..255). Every bin carries a prior weight of 1/256, so even a one-level image gets a
 *    threshold (5,000 pixels at 128 give 85); ties keep the smallest t; 0 when no split scores.
 *  - three classes: t1, t2, each the last level of its lower class (levels 1..t1, t1+1..t2,
 *    t2+1..255; level 0 joins the total mean but no class). Ties keep the smallest t2, then
 *    the smallest t1. The moment product level * count is taken modulo 2^32 as a signed
 *    number (it wraps above 8,421,504 pixels of level 255), on purpose.
 * 1-bit results are new records of the rectangle's size with the source's resolution, stored
 * bottom-up; black is bit 0 (palette index 0).
 * 24-bit sources are first projected to grey along the main colour axis of their rectangle
 * (as DibRGB2Grey with no colour); an all-black colour area has no axis and fails.
 */

/* The Otsu levels of the rectangle of an 8-bit image (clamping rule) or of a 24-bit image
   (exact-fit rule, grey projection). count 2 writes levels[0]; count 3 writes levels[0] and
   levels[1] when some split scores above zero and leaves them untouched otherwise. False,
   writing nothing, for a null image or levels pointer, a depth other than 8 and 24, a count
   other than 2 and 3, a rejected rectangle or a failed grey projection. */
QUILP_API bool DibGetOtsuLevels(int* levels, DibInfo* dib, int count, tagRect32* rect);

/* A 1-bit image of the rectangle (exact-fit rule) of an 8-bit image: levels below threshold
   black, the others white; with invert, the levels at or above it black. Only the low 8 bits
   of threshold count (256 acts as 0: all white; inverted, all black). Null for a null image,
   any depth but 8, a rejected rectangle or no memory. */
QUILP_API DibInfo* DibBinarizeSimple(DibInfo* dib, int threshold, bool invert, tagRect32* rect);

/* A 1-bit image of the rectangle (exact-fit rule) of an 8- or 24-bit image, black over a band
   of Otsu classes. With t[] the thresholds (classes 2: t[0]; classes 3: t[0], t[1], 0 where
   unset), lower = from > 0 ? t[from-1] : 0 and upper = to < classes-1 ? t[to] : 255:
     without invert, black exactly where lower <= level < upper (level 255 is never black when
     upper is 255); with invert, black where level < lower and level >= upper, which is empty
     unless from > to (classes 3, from 2, to 0 blackens t[0]..t[1]-1).
   Common requests: classes 2, 0, 0: black below the threshold; classes 3, 1, 1: the middle
   class black; classes 3, 1, 2: levels t[0]..254 black. Every row, padding included, starts
   white. Null for a null image, another depth, classes not 2 or 3, from or to negative or not
   below classes, a rejected rectangle, a failed grey projection or no memory. */
QUILP_API DibInfo* DibBinarizeOtsu(DibInfo* dib, int classes, int from, int to, bool invert,
                                   tagRect32* rect);
/* As DibBinarizeOtsu with the counts of levels 0, 1, 254 and 255 dropped before the search,
   so pure black and pure white margins do not pull the thresholds. */
QUILP_API DibInfo* DibBinarizeOtsuR(DibInfo* dib, int classes, int from, int to, bool invert,
                                    tagRect32* rect);

/* Keyed-parameter binarization of an 8- or 24-bit source (clamping rule) into a 1-bit result
   at the optional point. Methods 0-3 read no key; the adaptive methods 4-7 and their keys are
   described under adaptive binarization below. Methods:
     0  fixed threshold p1 (low 8 bits), black below it; p2 != 0 inverts (black at or above);
     1  Otsu band as DibBinarizeOtsu with p1 classes and
        p2 = from | to << 8 | invert << 16 | ignoreExtremes << 17 (other bits must be 0);
     2  two-class Otsu threshold, black below it; p2 != 0 inverts as in method 0;
     3  as 2 with the counts of levels 0, 1, 254 and 255 ignored.
   Only the area's pixels of the target are written; a target made here has its pixels past
   the area's width zero. Returns 0 on success; -1 for a null source, another depth, a
   negative method or invalid method arguments, a bad list, a rejected rectangle or an
   unsuitable target; -2 when a colour area has no grey axis or memory runs out in the
   search (or in an adaptive method); -3 when an image cannot be allocated; -4 for methods 8
   and above. */
QUILP_API int DibBinarizeEx(DibInfo*& dest, DibInfo const* src, int method, int p1, int p2,
                            int count, char const* const* names, char const* const* values,
                            tagRect32 const* rect, tagPoint32 const* origin);

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
 * `dest` (see the keyed-parameter conventions above). Four stages, all but the first off by
 * default:
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
 *  3. Paper flattening (keys and arguments hSize, vSize; 0 and 0: off): the paper level of
 *     each pixel is the largest grey in the window of (hSize div 2) pixels on each side
 *     horizontally and (vSize div 2) vertically, cut at the area's borders, and
 *     g = round(255 g / paper level) (0 where the paper level is 0). A window larger than
 *     the widest dark stroke turns unevenly lit or yellowed paper white.
 *  4. Levels (keys and arguments lvl0, lvl1, lvl2): black point lvl0 (0..254), white point
 *     lvl1 (0 stands for 255), mid-tone lvl2 (0: linear; else the input level, strictly
 *     between the two points, that becomes about 128). With t = (g - lvl0) / (lvl1 - lvl0)
 *     clamped to 0..1: out = round(255 t), or (int)(255 t^gamma + 0.5) with
 *     gamma = ln 0.5 / ln((lvl2 - lvl0) / (lvl1 - lvl0)). Zeros leave the levels unchanged.
 * Returns 0, or -1 for a null source, a depth other than 24 or 32, an empty rectangle, a
 * negative colourCount, colours null with colourCount > 0, mulS not positive, negative hSize
 * or vSize, levels out of order, an unsuitable dest; -2 when flattening runs out of memory;
 * -3 when the result or scratch memory cannot be made; the frame's other codes.
 */
QUILP_API int DibSuppressColorsEx(DibInfo*& dest, DibInfo const* src, int colourCount,
                                  unsigned char const (*colours)[3], int hSize, int vSize,
                                  int lvl0, int lvl1, int lvl2, int count,
                                  char const* const* names, char const* const* values,
                                  tagRect32 const* rect, tagPoint32 const* origin);
/*
 * The depth decision: copies a zone (clamping rule) at the smallest depth that keeps its
 * content. `result` is set to the new image (null on failure); whatever it held is not used.
 *  - 1-bit source: the zone is copied (DibCopyZone).
 *  - 8-bit source: the grey levels of the zone's local extrema (pixels at least, or at most,
 *    their four neighbours; a flat pixel counts twice; border pixels are not counted) are
 *    split in two by Otsu's threshold t. With spread = mean square - squared mean of each
 *    class, S = spread(0..t-1) / t^2 + spread(t..255) / (256 - t)^2. S < spreadLimit: the
 *    zone is binarized (DibBinarizeEx, method 2: black below its Otsu threshold); otherwise,
 *    or when a class is empty (zones under 3 x 3 pixels), copied at 8 bits.
 *  - 24-bit source: chroma = max(b, g, r) - min(b, g, r). The mean chroma of the most
 *    colourful pixels - counted from chroma 255 down until they exceed
 *    K = (int)(pixels * colourfulShare + 0.5), the last level taken whole, or down to chroma
 *    0 - is compared with chromaLevel: above it, the zone is copied at 24 bits; otherwise it
 *    becomes equal-thirds grey (DibSuppressColorsEx with defaults) and the decision runs
 *    again on that grey. So colourfulShare 0 keeps colour for a single pixel more colourful
 *    than chromaLevel, a share of 1 or more compares the mean of all pixels, and a share
 *    that makes K negative (or is not a number) goes to grey.
 * Returns the chosen operation's result: 1 (copy made) or 0 (copy failed), or the code of
 * DibBinarizeEx / DibSuppressColorsEx (0 on success, negative on failure); -1 for a null
 * source, an empty zone or a depth other than 1, 8 and 24. The result's depth tells the choice.
 */
QUILP_API int DibCompressBits(DibInfo*& result, DibInfo const* src, unsigned char chromaLevel,
                              double colourfulShare, double spreadLimit, tagRect32 const* rect);
/* (end of colour suppression and the depth decision) */


/* ---- Erosion, dilation and grey filters ---------------------------------------- */

/*
 * DibErodeDilate grows or shrinks the set pixels of a 1-bit image evenly in all directions,
 * by distances in half pixels (city-block), instead of by a rectangle.
 * The region is rect as given (null: the whole source), W x H pixels; it may reach beyond the
 * source, whose pixels are read only where they lie inside it; pixels of the region outside
 * the source, and everything around the region, count as set. Take the grid of half pixels:
 * for a set pixel, s = the city-block distance from its centre to the nearest clear pixel
 * (to its square's nearest point: an edge neighbour is 1 away, a corner neighbour 2); for a
 * clear pixel, d = the same distance to the nearest set pixel. The centre level is min(255,
 * 127 + s) for a set pixel and max(0, 127 - d) for a clear one, and a pixel of the result is
 * set when that level is at least T = 127 + 4 amount (amount > 0) or 127 + amount
 * (amount <= 0). Hence:
 *   amount -k (dilation by k half pixels): a clear pixel becomes set when d <= k;
 *   amount k > 0 (erosion by 2k pixels): a set pixel stays set when s >= 4k;
 *   amount 0 copies the region. With the 1-bit palette (set = white) a positive amount
 *   thickens dark strokes, a negative one thins them.
 * amount must lie in -127..32. With out null a new 1-bit W x H image is stored there. With an
 * image in out, rect (null: the source's whole) must fit it under the exact-fit rule with the
 * size W x H; column c of the region is then written to bit c counted from the byte that holds
 * the rectangle's left edge (left / 8 * 8: the region is written shifted to that byte), bits
 * and rows beyond the image are not written. False, out untouched, for a null or non-1-bit
 * source, an amount outside -127..32, an empty region or one with a side beyond 65535, an
 * `out` that is not 1-bit or that the rectangle does not fit, or no memory (out null: then out
 * stays null). The library's intermediates are released. Cost: about 5 bytes of memory per
 * region pixel, whatever the source's size (a 20000 x 20000 region takes 2 GB).
 */
QUILP_API bool DibErodeDilate(DibInfo*& out, DibInfo* src, int amount, tagRect32* rect);

/*
 * DibFilterGreyEx: the grey filters of 8-bit images, one operation per code `oper`. Keys (see
 * keyed-parameter operations above) override positional arguments where listed. The source
 * area follows the clamping rule; except for 262 and 267 the result is the caller's 8-bit
 * target (written at its top-left corner; it must be at least as large as the area) or a new
 * 8-bit record of the area's size with the source's resolution. New records, except
 * those of 257, are in the source's row order.
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
 *       smaller) with a noise allowance of n = p3 levels (0: 24): with the window's minimum lo
 *       and maximum hi, out = 255 - min(255, round(max(hi - v - n, 0) * 255 / max(hi - lo - n,
 *       32))): the local paper level, and noise within n of it, becomes white and strokes are
 *       stretched to black, faint ones too. Choose a window wider than the thickest stroke.
 *       Negative arguments: -1.
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

/* The Hough transform image of an 8-bit image: one row per drift of a straight line across the
   image, one column per line. mode 2 follows nearly horizontal lines, mode 1 nearly vertical
   ones (rows and columns of the image exchanged); depth is 8 or 32. For mode 2 on a W x H
   image, with R = ceil(0.18 W) (lines up to about 10 degrees), the result is top-down,
   H + R wide and 2R high:
     - row p holds the lines that drift p - R rows from the left edge to the right one
       (positive: descending to the right), so a line of row p has the angle
       atan2(p - 0.5 * height, W);
     - column c holds the line that crosses the left edge at row c, the columns H..H+R-1
       standing for the rows -R..-1 above the top (lines that enter through the top);
     - a value is the ink along the line: each pixel weighs max(0, paper - value), paper
       being the median grey level, and the pixels of bands about R/2 wide across the image
       are summed and scaled to 0..127 (a full band), so a value is the sum over the bands of
       each band's scaled ink in the line's row at the band's centre.
   Rows near the strongest drift (at least 6 on either side of it, more while the peak stays
   broad) follow straight lines at full resolution; the others come from a fast Hough
   transform at a quarter of the resolution along and across (less for small images): dyadic
   digital lines, each value covering 4 columns, each row serving the drifts nearest its own.
   32 bits: the values as signed 32-bit integers; 8 bits: scaled so that the largest is 255.
   Null for a null image, a depth other than 8, a mode other than 1 or 2, a depth argument
   other than 8 or 32, an empty image or a failed allocation. */
QUILP_API DibInfo* DibHoughTransform(DibInfo* dib, int mode, int depth);
/* The strongest row of a transform image (8 or 32 bits). Each row is scored by measure 1: the
   sum of the squared differences between neighbouring values (how sharply the row's lines
   separate ink from paper), or measure 0: the sum of the squared values. The first row with
   the highest score is refined by a least-squares parabola through the scores of the rows
   around it that stay above halfway between its score and the median score, and at least
   `window` / 2 rows on either side (window 5: two). position is the refined row in 1/256
   rows (row p at p * 256); value is the best score divided by the width, at most INT_MAX.
   False, outputs untouched, for a null image, a depth other than 8 or 32, a measure other
   than 0 or 1, a negative window or an image without rows or columns. */
QUILP_API bool DibFindHoughPeak(DibInfo* transform, int window, int measure, int& position,
                                int& value);
/* The skew angle in radians of an 8-bit page or of its rectangle (clamping rule; the zone is
   copied): the top and bottom tenth of the area (at most 200 rows each) are faded into the
   border level, k = min(200, (int)(H * 0.1 + 0.5)) rows each:
     B = ((Q div k^2 - ((A div k + 1) div 2)) * 6) div k, clamped to 0..255, from
     m_i = (sum of row i + sum of row H-1-i + W/2) div W, A = sum i m_i, Q = sum i^2 m_i;
     row i and row H-1-i (i < k) become (B*256 - B*w + 128 + p*w) >> 8, w = (int)(i/k*256+0.5);
   then the Hough transform image (mode 2, depth 8) is taken and its peak (window 5,
   measure 1) gives angle = atan2(p - 0.5 * height of the transform, width of the area).
   Positive: lines descending to the right. `unused` is ignored. False, angle untouched, for
   a null image, a depth other than 8, a rectangle with nothing inside the image or a failed
   allocation. */
QUILP_API bool DibHoughGetAngle(double& angle, DibInfo* dib, int unused, tagRect32* rect);

/* The skew of an 8-bit page or of its rectangle as a tangent times 1024, from the upper edges
   of dark shapes on a copy reduced by DibDownscale(hFactor, vFactor, flags 0, rect): pairs of
   edge points two 20-column bands apart and at most 10 rows apart vote their slopes, and
   skew = (int)(T * vFactor / hFactor + 0.5) from the winning small-image slope T (0 when
   nothing is found; a blank page gives 0 and true). False, skew untouched, when the
   reduction fails (null image, depth other than 8, factor below 1, empty rectangle, no
   memory); false with skew 0 when the point array cannot grow. */
QUILP_API bool DibSmartGetAngle(int& skew, DibInfo* dib, int hFactor, int vFactor,
                                tagRect32* rect);

/* Area-averaging reduction of the rectangle (clamping rule; null: the whole image) of a 1-, 8-
   or 24-bit image by integer factors: each block of hFactor x vFactor pixels, the blocks at
   the right and bottom edges covering what is left, becomes one pixel of a new record of the
   source's depth, row order and standard palette, sized ceil(width / hFactor) x
   ceil(height / vFactor), with the resolutions divided by the factors (rounded). A byte (each
   of blue, green, red for 24 bits) is the rounded mean (sum + n/2) / n of the block's n
   pixels; a 1-bit pixel is set when more than half of its block is set. Factors of 1 give an
   exact copy. flags must be 0 (plain area average; other values are reserved). Stores the
   new record in result and returns true; false, result untouched, for a null source, another
   depth, a factor below 1, non-zero flags, an empty rectangle or a failed allocation. */
QUILP_API bool DibDownscale(DibInfo*& result, DibInfo* src, int hFactor, int vFactor, int flags,
                            tagRect32* rect);

/* (end of skew estimation and downscaling) */


/* ---- Rotation, deskewing, orientation and canonical form ---------------------------- */
/*
 * Angles are radians; a positive angle turns the content clockwise as seen (rows counted from
 * the visual top), so a horizontal line comes to descend to the right: the sign the skew
 * estimates report. A page of skew a is straightened by a turn of -a. Results keep the
 * source's row order and resolutions (exchanged by odd quarter turns) and get the standard
 * palette of their depth: 1-bit sources are read as set = white, 8-bit sources as grey.
 * Rectangles follow the clamping rule. Depths 1, 8, 24 and 32 are accepted; others give null.
 * Uncovered parts of a result show the paper: white for 1-bit images; for 8, 24 and 32 bits
 * the area's measured paper level, per byte the median of every fourth pixel of every fourth
 * row (on a document page, the paper).
 */

/* The rectangle turned clockwise by quarterTurns quarter turns (any integer, taken modulo 4;
   negative turns go anticlockwise), pixel for pixel. Pixel (x, y) of a W x H area lands at
   (H-1-y, x) after one turn. Null for a null source, another depth, an empty rectangle or no
   memory. */
QUILP_API DibInfo* DibRotateBy90(DibInfo* src, int quarterTurns, tagRect32* rect);

/* The rectangle turned by `angle` about its centre. flags bit 0 clear: the result has the
   area's size; set: it is just large enough for the whole turned area (ceil(W|cos| + H|sin|)
   by ceil(W|sin| + H|cos|), less 1e-6 before rounding up). Bits 1-2 choose how 8-, 24- and
   32-bit pixels are interpolated: 0 bilinear, 1 bicubic (Keys, a = -1/2), 2 nearest; every
   byte of a pixel on its own. 1-bit images stay 1-bit: they are turned by three exact shears
   (DibRotate3Skew), no pixel interpolated. An angle within 1e-9 of a multiple of a quarter
   turn with bit 0 set is a lossless quarter turn. Null for a null source, another depth, an
   angle that is not finite, flags above 7 or interpolation 3, an empty rectangle or no
   memory. */
QUILP_API DibInfo* DibRotateAccurate(DibInfo* src, double angle, int flags, tagRect32* rect);

/* An exact shear of the rectangle: every pixel moved by whole pixels, none interpolated, at
   every depth. vertical false: the row at visual y moves right by round(tangent * (y - (H-1)/2))
   pixels (halves away from zero), so a positive tangent slants vertical strokes like '\';
   vertical true: the column at x moves down by round(tangent * (x - (W-1)/2)), so a positive
   tangent makes rows descend to the right. The result is just large enough: W plus the
   spread of the shifts wide (or H plus it high). Null for a null source, another depth, an
   empty rectangle, a tangent that is not finite or whose result would pass 65535 pixels, or
   no memory. */
QUILP_API DibInfo* DibSkew(DibInfo* src, double tangent, bool vertical, tagRect32* rect);

/* The rectangle turned by `angle` with three exact shears (horizontal by -tan(a/2), vertical by
   sin(a), horizontal by -tan(a/2)) after the nearest quarter turn: every pixel moved, none
   interpolated, at every depth - the fast path for 1-bit pages. flags bit 0 as for
   DibRotateAccurate; the other bits must be 0. Positions are exact to within half a pixel of
   the true rotation at each shear. Null as for DibRotateAccurate. */
QUILP_API DibInfo* DibRotate3Skew(DibInfo* src, double angle, int flags, tagRect32* rect);

/* Measures the skew of the rectangle's content (8-bit as DibHoughGetAngle measures a whole
   page; 1-, 24- and 32-bit through a grey copy: a set bit 255, colour (29 b + 150 g + 77 r +
   128) >> 8) and returns the whole source turned by minus that skew, of the source's size,
   depth and row order (8, 24, 32 bits: bilinear; 1 bit: three exact shears). *angle, when
   not null, receives the measured skew (0 when nothing could be measured). A skew too small
   to move any pixel by half a pixel, and a page with nothing to measure, give an unturned
   copy. Null only for a null source, another depth, an empty rectangle or no memory. */
QUILP_API DibInfo* DibDeskew(DibInfo* src, double* angle, tagRect32* rect);

/* Perspective correction of a camera-captured page: the quadrilateral `corners` (eight
   numbers: x, y of its top-left, top-right, bottom-right and bottom-left corners, in pixel
   coordinates of the source, pixel centres at whole numbers, sub-pixel allowed) mapped onto
   an upright width x height image whose corner pixels' centres take the four corners. A
   width or height of 0 or less is measured from the quadrilateral: the longer of the two
   opposite sides, rounded, plus 1. flags bits 1-2 choose the interpolation as for
   DibRotateAccurate (1-bit: nearest pixel); other bits must be 0. Outside the source: paper.
   Null for a null source or corners, another depth, corners that are not finite or do not
   make a convex quadrilateral in that order (clockwise as seen), a size above 65535, bad
   flags or no memory. */
QUILP_API DibInfo* DibDistort(DibInfo* src, double const* corners, int width, int height,
                              int flags);

/* The clockwise quarter turns (0..3) after which the text of the rectangle reads upright
   (DibRotateBy90(src, k, rect) reads normally), or -1 when it cannot be told: no text lines
   (blank page, too little ink), a null source, another depth or an empty rectangle; -2 when
   memory runs out. *confidence, when not null, receives 0..100 (0 with -1). Meant for Latin
   script at 150-600 dpi (the vertical resolution is read; unknown: assumed from the size),
   skewed up to 10 degrees: the page is looked at reduced to about 150 dpi, as it is and a
   quarter turned; the frame whose skew-corrected row profiles show sharper text lines has
   its lines horizontal, and upright lines carry more ink above their x-height band
   (ascenders, capitals) than below it (descenders). */
QUILP_API int DibDetectDominantOrientation(DibInfo* src, int* confidence, tagRect32* rect);

/* Keyed-parameter canonical form: turns a record of DibIsCanonical grade 0 or 1 into a new
   canonical record (stored in dst, which must be null on entry) with the row order
   `direction` asks for (DibDirectionBottomUp, DibDirectionTopDown; any other value keeps the
   source's). 1-bit: each palette entry is read as white when its (b + g + r) is at least
   383, so an inverted palette becomes inverted bits (both entries alike: all set or all
   clear); 8-bit: a palette of greys (b = g = r) becomes grey through the palette, a palette
   with colour a 24-bit record through the palette (indices beyond the colour count read
   black); 24-bit: copied; 32-bit records are graded 3 and refused. The colour count is the
   standard one. Keys: `direction` overrides the argument; `upright` not 0 also turns the
   result upright by DibDetectDominantOrientation (nothing turned when it returns -1).
   Returns the quarter turns applied (0..3, 0 when not asked), -1 for a null source, grade 2
   or 3, a non-null dst or bad lists, -3 when memory runs out. */
QUILP_API int DibCanonize(DibInfo*& dst, DibInfo const* src, int direction, int count,
                          char const* const* names, char const* const* values);

/* (end of rotation, deskewing, orientation and canonical form) */


/* ---- Zoomed previews and upscaling ---------------------------------------------- */
/*
 * Previews shrink or enlarge a rectangle of a page (clamping rule; null: the whole image) by
 * one factor for both axes. The result is round(size * factor) pixels per axis, at least 1,
 * in the source's row order, with the resolutions scaled by the same ratio per axis (result
 * size / area size, rounded). Per axis, a result no longer than the area averages each result
 * pixel's footprint, source [X w / W, (X + 1) w / W) for w source and W result pixels, by
 * exact area: pixels cut by the footprint's edges count by their overlap, nothing is rounded
 * before the mean, which is rounded half up. A longer result interpolates bilinearly between
 * the source pixels around (X + 0.5) w / W - 0.5, edges repeated. An 8-bit source is read as
 * grey levels (its palette is not read). Null for a null source, a depth other than 1, 8, 24
 * and 32, a factor that is not positive and finite, a rectangle with nothing inside the
 * image, a result side beyond 2^31 - 1 or no memory.
 */
/* An 8-bit grey preview: colour is the equal-thirds grey (b + g + r) / 3 of each pixel,
   averaged before any rounding; a 1-bit pixel is 0 (black, index 0) or 255 (white), so a
   reduced 1-bit page becomes anti-aliased grey text. */
QUILP_API DibInfo* DibMakeZoom8(DibInfo* src, double factor, tagRect32* rect);
/* A preview of the source's depth: 8, 24 and 32 bits are averaged per byte. A 1-bit preview
   is black where the grey preview's level is at most round(255 (1 - s / 2)), s being the
   scale min(result / area size over both axes, 1): half of the share of ink a one-pixel
   stroke leaves in a footprint turns it black, so thin strokes survive reduction (a quarter
   size: levels up to 223 - 2 ink pixels of 16 - are black; enlarging: up to 128). */
QUILP_API DibInfo* DibMakeZoom(DibInfo* src, double factor, tagRect32* rect);
/* The 8-bit grey preview of the page as it will look once deskewed: the area is turned about
   its centre by -angle (angle in radians, the skew as measured: positive means lines that
   descend to the right, so they come out level) and zoomed by factor in the same pass, each
   source pixel read once. The result has the zoomed area's size (round(size * factor));
   corners that come from outside the area are white (255). Reduction (factor <= 1): each
   source pixel's grey (as DibMakeZoom8) is spread bilinearly over the four result pixels
   around its turned and scaled centre, and a result pixel is the weighted mean of what it
   gathered; enlargement: each result pixel interpolates the rounded grey levels bilinearly
   at its turned point, white outside the area blending into its edges. |angle| must be at
   most pi / 4. Null as the other previews, and for an angle that
   is not finite or too large. */
QUILP_API DibInfo* DibMakeZoomDeskewed(DibInfo* src, double factor, double angle,
                                       tagRect32* rect);

/* Enlargement for OCR and print (keyed-parameter frame, no key is read): the rectangle of src
   (clamping rule) becomes round(size * factor) pixels per axis, placed at the top-left of the
   caller's target (which must have the source's depth and room for it, else -1) or in a new
   record of the source's row order, with the resolutions multiplied by result size / area
   size per axis (rounded), so 150 dpi times 2 reads 300 dpi.
     8, 24, 32 bits: factor >= 1 (1 copies), any fraction; cubic convolution (a = -0.5) per
       byte around (X + 0.5) w / W - 0.5, edges repeated, rounded and clamped;
     1 bit: factor 2, 3 or 4 by an edge-directed rule: each pixel E becomes a block whose
       corners take the colour of the two neighbours meeting there when they agree and the
       other two do not (top-left: left == above, above != right, left != below gives the
       left colour; else E), by 3 also each edge middle when a corner rule beside it holds and
       the diagonal neighbour across differs from E (top middle: the top-left rule and E !=
       top-right, or the top-right rule and E != top-left, give the above colour); by 4 the
       rule by 2 twice; edge pixels repeated. Diagonal and curved edges come out smooth
       rather than in steps of the factor, and one-pixel strokes keep their width.
   Returns 0; -1 for a null source, another depth, a factor that is not allowed for the depth
   (not finite, below 1, or a non-listed 1-bit factor), an empty rectangle, a result side
   beyond 2^31 - 1 or an unsuitable target; -2 when scratch memory runs out; -3 when the
   result cannot be made. */
QUILP_API int DibUpscale(DibInfo*& dst, DibInfo const* src, double factor, tagRect32 const* rect);

/* (end of zoomed previews and upscaling) */


/* ---- Adaptive binarization ------------------------------------------------------ */
/*
 * Thresholds that follow the page: each pixel is compared with a threshold drawn from its
 * surroundings, so uneven light, a gutter shadow, faded ink, show-through and coloured paper
 * do not defeat them. Sources are 8-bit grey or 24-bit colour (projected to grey along the
 * area's main colour axis, as the Otsu binarizers do); the rectangle follows the clamping rule
 * (null: the whole image). Results are new 1-bit records of the clamped area with the
 * source's resolutions, stored bottom-up; black is bit 0 (palette index 0), leftmost pixel in
 * the most significant bit, row padding zero. Windows are in pixels (an even window is taken
 * one larger) and are cut at the area's borders; 0 asks for the default, scaled by the
 * record's horizontal resolution (an unknown resolution counts as 300 dpi). k is in
 * hundredths; 0 asks for the method's default.
 *
 * Methods (the codes of SDibBinarizeSetup and of DibBinarizeEx):
 *  4  local statistics over a window x window window: with m the window's mean, s its
 *     standard deviation (population) and v the level, black exactly when v < T:
 *       variant 0 Niblack:      T = m + k s                        (default k -0.20)
 *       variant 1 Sauvola:      T = m (1 + k (s / R - 1))          (default k 0.34, R 128)
 *       variant 2 Wolf-Jolion:  T = (1 - k) m + k M + k (s / S) (m - M), M the area's darkest
 *                               level, S the largest s of the area (default k 0.50)
 *     Default window dpi / 10 (31 at 300 dpi). Sums are exact integers (window column sums
 *     in 32 bits, row integrals in 64 bits), so no page width can overflow them; T is
 *     computed in double.
 *  5  NiGlob: with t the area's Otsu threshold and a, b the mean levels below and from t,
 *     v < ceil((a + t) / 2) is black and v >= ceil((t + b) / 2) white; method 4's rule (its
 *     variant, window and k) decides the levels between, so empty paper stays white.
 *  6  paper surface and contrast: the paper level B under each pixel is estimated from the
 *     mean levels of f x f blocks (f = window / 8) closed over a window and smoothed, and
 *     interpolated back; the contrast d = (B - v) * 255 / B is split by Otsu's threshold into
 *     paper and ink, and with p, q their median contrasts a pixel is black when
 *     d >= p + k (q - p) and d >= 2.5 sigma 255 / B, sigma being the paper's noise (from the
 *     pixels lighter than B). Default k 0.50, window dpi / 6 (51 at 300 dpi). An area whose
 *     ink and paper contrasts differ by less than 16 is all white.
 *  7  the recommended method: 6 with its defaults, whatever the window, k, variant and range.
 * Limits: window at most 4095 and, when given, no wider or taller than the area; variant 0..2;
 * range (R) 0 or more.
 */
struct SDibBinarizeSetup {
  int32_t method;   /* 4..7 */
  int32_t variant;  /* method 4 and 5: 0 Niblack, 1 Sauvola, 2 Wolf-Jolion */
  int32_t window;   /* pixels; 0: from the resolution */
  int32_t k;        /* hundredths; 0: the method's default */
  int32_t range;    /* Sauvola's R in grey levels; 0: 128 */
};
/* The shared entry of the adaptive binarizers. Null for a null image, a depth other than 8 and
   24, an empty rectangle, a method, variant, window or range outside the limits above, a
   colour area without a grey axis, or no memory. */
QUILP_API DibInfo* DibBinarizeCommon(DibInfo* dib, SDibBinarizeSetup const& setup,
                                     tagRect32* rect);
/* Method 4 with R 128. */
QUILP_API DibInfo* DibBinarizeNiblack(DibInfo* dib, int variant, int window, int k,
                                      tagRect32* rect);
/* Method 5 with R 128. */
QUILP_API DibInfo* DibBinarizeNiGlob(DibInfo* dib, int variant, int window, int k,
                                     tagRect32* rect);
/* Method 6; window 0 and k 0 give method 7, the best page without tuning. */
QUILP_API DibInfo* DibBinarizeStat(DibInfo* dib, int window, int k, tagRect32* rect);
/* DibBinarizeEx with methods 4-7 writes the same pixels into its target. Keys: window
   (default p1), k (default p2), variant (default 0), range (default 0); method 7 reads none. */

/* (end of adaptive binarization) */


/* ---- Morphology: despeckling, reduction, distances, skeletons, structuring elements ---- */
/*
 * 1-bit pages: ink is black (a clear bit, palette index 0), paper white (a set bit).
 * DibCleanPimples, DibSqueeze, DibDistanceTransform and the skeletons work on the ink;
 * everything beyond the processed area counts as paper. Each returns a new record of the
 * area (clamping rule; null: the whole image) with the source's row order and resolutions
 * (DibSqueeze: halved), or null for a null source, another depth, an argument out of range,
 * an area with nothing inside the image or a failed allocation.
 */

/* Despeckling of a 1-bit page, decided on the page as each step leaves it:
    1. one-pixel bumps on straight stroke edges (an ink pixel whose two side neighbours and the
       three pixels beyond it are paper and the five pixels behind it ink) become paper, and
       one-pixel notches (the same with ink and paper exchanged) become ink;
    2. white holes (4-connected paper not touching the area's border) of at most `hole`
       pixels become ink;
    3. ink specks (8-connected) at most speckSize on a side become paper:
         - up to `dust` pixels wherever they lie;
         - up to `dot` pixels unless they sit as a dot sits by its letter: ink within `reach`
           straight above or below (within one column of the speck's), or a taller letter
           within `reach` to the left that ends on the speck's bottom row;
         - larger ones when no other ink lies within `isolation` pixels of their box.
   Full stops, commas and i-dots sit beside their letters, so they stay.
   With dpi read from the record's vertical resolution (300 when it is 0): speckSize 0 means
   dpi / 50 rounded (at least 2; 4 pixels at 200 dpi, 6 at 300), isolation 0 means dpi / 15
   rounded (at least 3; 13 at 200, 20 at 300); dust = dpi^2 / 13000 (3 at 200, 6 at 300),
   dot = dpi^2 / 10000 (4, 9), hole = dpi^2 / 40000 (1, 2), reach = dpi / 50 rounded (at
   least 2), each at least 1 and at most speckSize^2. Negative sizes give null. */
QUILP_API DibInfo* DibCleanPimples(DibInfo* src, int speckSize, int isolation, tagRect32* rect);

/* Rank-order reduction by two per axis: result pixel (x, y) is ink when at least `level`
   (1..4) of the source pixels (2x .. 2x+1, 2y .. 2y+1) are ink; pixels past an odd width or
   height count as paper. The result is ceil(W / 2) x ceil(H / 2) with the resolutions halved
   (rounded); it can be reduced again the same way. */
QUILP_API DibInfo* DibSqueeze(DibInfo* src, int level, tagRect32* rect);

enum DibDistanceMetric { DibMetricEuclid = 0, DibMetricCity = 1, DibMetricChess = 2 };
/* The distance of every measured pixel to the nearest pixel of the other class, centre to
   centre; 0 on the other pixels. measure 0 measures the ink (distance to the nearest paper,
   the pixels beyond the area being paper: a border pixel is at most 1 away), measure 1 the
   paper (distance to the nearest ink). bits 32: a record of signed 32-bit integers, the
   squared distance for Euclid and the distance for city-block and chessboard; 2147483647
   where no pixel of the other class exists. bits 8: the distance (Euclid: round(sqrt), halves
   up) saturated at 255. Exact for every metric, in linear time. Null for a metric other than
   0..2, bits other than 8 and 32 or measure other than 0 and 1. */
QUILP_API DibInfo* DibDistanceTransform(DibInfo* src, int metric, int bits, int measure,
                                        tagRect32* rect);

/* Erosion, dilation and their compositions by a structuring element, on 1-bit and 8-bit
   images.
     1-bit: the stored bits, as every 1-bit morphology of this library: set (white) pixels are
       the shapes, so erosion thickens black ink; beyond the area lies paper (set pixels).
       Differences (top-hats, gradients) are set where the first image is set and the second
       clear. Words of 64 pixels at a time.
     8-bit: grey levels (erosion is the minimum); pixels beyond the area do not take part.
   With B the element's offsets from its centre (dy downward): erosion(p) = extreme over s in
   B of src(p + s), dilation(p) = extreme over s in B of src(p - s); opening = dilation of the
   erosion, closing = erosion of the dilation; white top-hat = src - opening, black top-hat =
   closing - src; gradient = dilation - erosion, internal = src - erosion, external =
   dilation - src; hit-or-miss (1-bit only) = pixels where every hit offset is set and every
   miss offset clear (an element with hits only: the erosion).
   Cost per pixel grows with the logarithm of the element's width and height, not with its
   area; a disc of radius r costs about 0.3 r rectangles, a line one per row it crosses. */
enum DibMorphOper {
  DibMorphErode = 0, DibMorphDilate = 1, DibMorphOpen = 2, DibMorphClose = 3,
  DibMorphTopHat = 4, DibMorphBotHat = 5, DibMorphHitMiss = 6,
  DibMorphGradient = 7, DibMorphGradientIn = 8, DibMorphGradientOut = 9
};
/* Elements (sizes at most 4001 pixels on either axis):
     DibShapeRect   hSize x vSize, centre at (hSize / 2, vSize / 2) from the top left;
     DibShapeCross  arms of hSize pixels each side of the centre (0: the centre alone);
     DibShapeDisc   radius hSize: dx^2 + dy^2 <= hSize^2;
     DibShapeLine   hSize pixels through the centre at `angle` radians (positive: descending
                    to the right): offsets (round(t cos a), round(t sin a)),
                    t = k - (hSize - 1) / 2 for k = 0 .. hSize - 1;
     DibShapeImage  the 1-bit record `element`: set bits are hits, clear bits misses; centre
                    at (width / 2, height / 2);
     DibShapeText   `pattern`: rows separated by '/' or newlines, all of one length; '1', 'x',
                    'X' or '#' a hit, '0', 'o' or 'O' a miss, '.' or '-' neither; centre in the
                    middle as above. For example "010/111/010" is a cross of one. */
enum DibMorphShape {
  DibShapeRect = 0, DibShapeCross = 1, DibShapeDisc = 2, DibShapeLine = 3,
  DibShapeImage = 4, DibShapeText = 5
};
struct SDibMorphSetup {
  int32_t oper;            /* DibMorphOper */
  int32_t shape;           /* DibMorphShape */
  int32_t hSize, vSize;    /* element sizes, as listed above */
  double angle;            /* line elements: radians */
  DibInfo const* element;  /* image elements */
  char const* pattern;     /* text elements */
};
/* A new record of the area (clamping rule; null: the whole image), the source's depth, row
   order and resolutions. Null for a null source or setup, a depth other than 1 and 8, an
   unknown operation or shape, an element that is empty, too large or malformed, hit-or-miss
   on an 8-bit image, an empty area or no memory. */
QUILP_API DibInfo* DibMorphCommon(DibInfo* src, SDibMorphSetup const* setup, tagRect32* rect);
/* Keyed-parameter form: keys `oper`, `type` (the shape), `hSize` and `vSize` override the
   setup's integers. The result (the source's depth) goes to `origin` of dst or into a new
   record (see the keyed-parameter conventions). 0 on success; -1 for a null source or setup,
   another depth, a bad list, an empty area, an unsuitable dst, or any argument DibMorphCommon
   refuses; -3 when memory runs out. */
QUILP_API int DibMorphEx(DibInfo*& dst, DibInfo const* src, SDibMorphSetup const* setup,
                         int count, char const* const* names, char const* const* values,
                         tagRect32 const* rect, tagPoint32 const* origin);
/* The morphological gradient of an 8-bit image over a size x size square (size odd, 1..4001;
   0 means 3): kind 0 dilation - erosion, 1 internal (src - erosion), 2 external (dilation -
   src); pixels beyond the area do not take part. A new 8-bit record of the area (clamping
   rule); null for a null source, another depth, a kind other than 0..2, an even or negative
   size, an empty area or no memory. */
QUILP_API DibInfo* DibGradientMorpho(DibInfo* src, int kind, int size, tagRect32* rect);

/* Skeletons of the ink, each a new record of the area (see the family's conventions above).
   Thinning: ink pixels are removed in rounds of four parallel sub-passes (the ink pixels whose
   north, south, east or west neighbour is paper) when they are simple (removing the pixel
   changes neither the 8-connected ink nor the 4-connected paper around it) and have more than
   one ink neighbour, until nothing changes. The skeleton is one pixel wide, lies inside the
   ink, has the same 8-connected ink components and 4-connected paper holes as the source,
   and keeps every end point it reaches.
   DibSkelet: the thinned ink (1-bit). Thick stroke ends come out shortened by about half the
     stroke width.
   DibSkeletWeak: the same, with each end point then continued straight on (away from its only
     neighbour) through the source's ink to the stroke's end, stopping before it would touch
     another skeleton pixel: strokes keep their length.
   DibSkeletize: an 8-bit record, 0 off the skeleton of DibSkeletWeak and, on it, the
     Euclidean distance of the pixel to the nearest paper (the area's surroundings counting as
     paper), rounded, at least 1, at most 255: a stroke is about 2 d - 1 pixels wide. */
QUILP_API DibInfo* DibSkelet(DibInfo* src, tagRect32* rect);
QUILP_API DibInfo* DibSkeletWeak(DibInfo* src, tagRect32* rect);
QUILP_API DibInfo* DibSkeletize(DibInfo* src, tagRect32* rect);

/* (end of morphology) */


/* ---- Colour separation and transforms ------------------------------------------ */
/*
 * Darkness is 255 minus each byte, as for the dropouts above. Paper colour: the median of
 * each byte over the brightest quarter of the area's pixels (by byte sum), the measure all of
 * these use when they need the page's paper.
 */

/* The general colour-set dropout, of which DibSupressColors is the use with no tolerances and
   grey output. Each kept and suppressed colour may carry a tolerance, an angle in radians
   (null array: 0 for all): a pixel within a colour's tolerance counts as lying along it. Per
   pixel p (darkness), with theta_i its angle to colour i and t_i = max(0, theta_i - tol_i),
   the set's nearest colour is the one of least t_i; sinKeep = sin(t_keep), sinDrop =
   sin(t_drop) (1 with no suppressed colours) and the pixel keeps the share
   weight = sinDrop / (sinKeep + sinDrop) of its darkness along the kept colour,
   A = |p| cos(t_keep). outputBits 8: out = 255 - min(255, (int)(A * weight + 0.5));
   outputBits 24: every byte keeps its hue, out_c = 255 - (int)(p_c * weight * A / |p| + 0.5).
   With every tolerance 0 and 8 bits the result is exactly DibSupressColors's (same sums).
   Exact-fit rectangle rule; 24-bit source. Null as DibSupressColors, and for outputBits other
   than 8 or 24 or a tolerance that is negative or not a number. */
QUILP_API DibInfo* DibSupressColorsCommon(DibInfo* src, int keepCount,
                                          unsigned char const (*keep)[3],
                                          double const* keepTolerance, int dropCount,
                                          unsigned char const (*drop)[3],
                                          double const* dropTolerance, int outputBits,
                                          tagRect32* rect);

/* Keyed colour transforms of the clamped rectangle of an 8-, 24- or 32-bit source, placed at
   `origin` of `dest` (keyed-parameter conventions). `oper`:
     1  levels: per byte out = round(255 * t^(100 / gamma)), t = (v - black) / (white - black)
        clamped to 0..1. Keys black (default p1), white (p2; 0 means 255), gamma (p3, in
        hundredths; 0 means 100) for every byte, and blackB/G/R, whiteB/G/R, gammaB/G/R per
        byte of colour pixels. Needs black < white and gamma > 0. Result of the source depth.
     2  white balance (24/32 bits): out_c = min(255, round(v_c * 255 / paper_c)), so the paper
        becomes neutral white; paper is measured (see above) unless keys paperB, paperG,
        paperR (all three, 1..255) give it. Result of the source depth.
     3  grey (24/32 bits): out = round((mulB b + mulG g + mulR r) / (mulB + mulG + mulR)), keys
        mulB, mulG, mulR (defaults p1, p2, p3; all three 0 means 29, 150, 77). Weights must be
        0 or more with a positive sum. 8-bit result.
     4  inversion: 255 - v in every byte (a 32-bit fourth byte is kept). Source depth.
   0 on success; -1 for a null source, another depth or oper, bad keys; -3 no memory. */
QUILP_API int DibTransformColorsEx(DibInfo*& dest, DibInfo const* src, int oper, int p1, int p2,
                                   int p3, int count, char const* const* names,
                                   char const* const* values, tagRect32 const* rect,
                                   tagPoint32 const* origin);

/* Background suppression, the colour counterpart of flattening: the paper of an 8-, 24- or
   32-bit page (its tint, texture and uneven lighting) becomes clean white while ink and
   coloured marks keep their hue. The paper of each byte is estimated as the maximum over
   blocks of `window` pixels (0: a sixth of an inch at the record's resolution, 50 pixels when
   it is unknown; at least 4) - a block more than 48 levels darker than its brightest
   neighbour is filled with ink and takes that neighbour's - and interpolated bilinearly;
   every byte is divided by its paper, out = min(255, v * 255 / paper) (rounded; paper at
   least 1), and the pixels whose smallest quotient is at least `whiteLevel` (0: 230) become
   white. Clamping rectangle rule; a new record of the area at the source's depth. Null for a
   null source, another depth, a window below 0, a whiteLevel outside 0..255 or no memory. */
QUILP_API DibInfo* DibSuppress(DibInfo* src, int window, int whiteLevel, tagRect32* rect);

/* A 1-bit mask of the 24-bit pixels within `tolerance` of a colour (blue, green, red): black
   (index 0) where the CIE Delta E 2000 difference, both colours taken as sRGB (D65) in CIE
   Lab, is at most tolerance; white elsewhere. ignoreLightness drops the lightness term, so
   the same ink under uneven lighting (or thinner, lighter strokes) still matches. Clamping
   rectangle rule; null for a null or non-24-bit source, a null colour, a negative or NaN
   tolerance, or no memory. */
QUILP_API DibInfo* DibMatchColor(DibInfo* src, unsigned char const (*colour)[3],
                                 double tolerance, bool ignoreLightness, tagRect32* rect);

/* Splits a 24-bit page into its ink layers. Every pixel's darkness is measured against the
   paper (each byte divided by the paper's, so a tinted sheet is white); pixels darker than 48
   in length vote with their darkness for their direction, and the k strongest directions (k =
   inkCount, 1..kDibMaxInks, fewer when the page has fewer directions; 0 chooses: every direction peak holding at least 1% of the vote,
   at most maxLayers) are refined as the weighted mean directions of their pixels (angle in
   darkness space: independent of how much ink covers a pixel). A pixel belongs to the layer
   of its nearest direction when its projection on it is at least half the layer's full
   darkness (the 90th percentile of its pixels' projections) and the angle is below 30
   degrees, so half-covered edge pixels count as ink. Outputs, each optional (null):
     masks          an array of maxLayers pointers: masks[0..k-1] receive new 1-bit records
                    of the area, black = that layer's ink, and the rest null;
     inks[0..k-1]   each layer's full-ink colour (blue, green, red);
     labels         a new 8-bit record: 0 paper, i + 1 for layer i.
   Layers are ordered by decreasing vote. Returns k (0 for a page without ink: no masks);
   -1, with the mask pointers (when maxLayers is valid) and *labels set null, for a null or non-24-bit source, inkCount outside
   0..kDibMaxInks, maxLayers outside 1..kDibMaxInks or below inkCount, an empty rectangle
   (clamping rule) or no memory. */
enum { kDibMaxInks = 8 };
QUILP_API int DibSeparate(DibInfo* src, int inkCount, int maxLayers, DibInfo** masks,
                          unsigned char (*inks)[3], DibInfo** labels, tagRect32* rect);

/* (end of colour separation and transforms) */


/* ---- Edge-preserving smoothing, gradients and texture ---------------------------------- */

/* Edge-preserving smoothing of an 8-, 24- or 32-bit image (median: each byte on its own,
   the fourth of 32-bit pixels too), borders repeating the edge pixels. method 0: median over a
   size x size window (odd size 3..255; 3 by a sorting network, larger by a running
   histogram whose cost per pixel grows with size, not its square). method 1: bilateral filter
   over a size x size window (odd, 3..31), spatial deviation size / 4 pixels and grey-level
   deviation `strength` (1..255); weights exp(-d^2 / 2 sd^2 - dv^2 / 2 sv^2) taken from tables
   in 1/4096, w = (ws * wr + 2048) >> 12, out = (sum w v + sum w / 2) / sum w per byte,
   colour pixels weighted by their largest difference in blue, green and red, so edges stronger than a few deviations stay as sharp as they were. Clamping
   rectangle rule; a new record of the area. Null for a null source, another depth, another
   method, a size or strength outside its range, or no memory. */
QUILP_API DibInfo* DibSmooth(DibInfo* src, int method, int size, int strength, tagRect32* rect);

/* Gradient of an 8-bit image (24-bit: of the grey (b + g + r + 1) / 3), borders repeating the
   edge pixels. kernel 0: Sobel (1 2 1 smoothing, scale 4); kernel 1: Scharr (3 10 3, scale 16).
   directions 0: the magnitude, out = min(255, (int)(sqrtf(gx^2 + gy^2) / scale + 0.5f)), so a
   full black-to-white step gives 255. directions 2..128: the direction of the gradient
   (toward the lighter side; 0 = rightward, growing clockwise as rows go down) quantised into
   that many equal sectors centred on 0, 360 / directions, ..., and 255 where the magnitude is
   below minMagnitude. Clamping rectangle rule; a new 8-bit record of the area. Null for a null
   source, another depth, kernel or directions, minMagnitude outside 0..255, or no memory. */
QUILP_API DibInfo* DibGradientMap(DibInfo* src, int kernel, int directions, int minMagnitude,
                                  tagRect32* rect);

/* A texture map of an 8-bit image (24-bit: of its grey as above): one pixel per block x block
   block of the area (the last blocks cover what is left), resolutions divided by block.
   measure 0: the standard deviation of the block's levels, rounded, at most 255 - high for
   text, photos and halftone alike, 0 on plain paper. measure 1: edge energy, the mean of
   |right - left| + |below - above| over the block's pixels (neighbours beyond the area
   repeat its edge), divided by 2 and rounded -
   high for halftone screens and text strokes, low for photographs' smooth tones and paper.
   A block of measure 0 high and measure 1 low is continuous tone. block 2..256; clamping
   rectangle rule. Null for a null source, another depth or measure, a block out of range or
   no memory. */
QUILP_API DibInfo* DibGetTexture(DibInfo* src, int block, int measure, tagRect32* rect);

/* (end of edge-preserving smoothing, gradients and texture) */


/* ---- Zone matching ------------------------------------------------------------------- */

/* Finds where the zone `tplRect` of `tpl` lies in the `window` of `image` (both 8-bit, or
   24-bit taken as their grey (b + g + r + 1) / 3; clamping rule, null: the whole image), by
   normalised cross-correlation of the zone with every placement inside the window:
     score = sum (t - mean t)(i - mean i) / sqrt(sum (t - mean t)^2 sum (i - mean i)^2).
   Window sums come from integral images; zone and window are halved (2 x 2 means) while
   both sides of the zone's half stay at least 16 pixels, every placement is scored at the
   coarsest level and its best 8 local maxima are followed to full size, each climbing at
   every level from twice its position to the best of its 3 x 3 neighbours until on a peak; the best placement at full resolution is refined
   to a fraction of a pixel by a parabola through its neighbours' scores in each direction.
   x, y: where the zone's top-left pixel lands in `image` (visual, fractional); score: -1..1
   at the integer best. False, outputs untouched, for null images, other depths, empty
   rectangles, a window smaller than the zone, a zone of fewer than 2 x 2 pixels or of one
   level only, or no memory. */
QUILP_API bool DibMatchZone(DibInfo* tpl, tagRect32* tplRect, DibInfo* image, tagRect32* window,
                            double& x, double& y, double& score);

/* (end of zone matching) */


/* ---- Debug text ------------------------------------------------------------------- */

/* A text picture of the rectangle (clamping rule) of a 1-bit (DibSprintBW) or 8-bit
   (DibSprintGrey) image, for logs: one character per pixel, or, when the area is wider than
   `columns` (0: no limit), one per block of f x f pixels with f = ceil(width / columns). One
   line per row (or block row), each ending with '\n'. 1-bit: '#' for black (index 0), '.' for
   white; a block shows '#' when more than half of it is black, '+' when some is, '.' when
   none is. Grey: the mean level (rounded) through the ramp "@%#*+=-:. " (dark to light),
   character floor(level * 10 / 256). Writes at most size - 1 characters and always a
   terminating zero (when size >= 1; buffer may be null when size is 0) and returns the
   length the whole picture needs, without the terminator. -1, buffer untouched, for a null
   image, another depth, an empty rectangle, negative columns or size, or a null buffer with
   size > 0. */
QUILP_API int DibSprintBW(DibInfo* dib, tagRect32* rect, int columns, char* buffer, int size);
QUILP_API int DibSprintGrey(DibInfo* dib, tagRect32* rect, int columns, char* buffer, int size);

/* (end of debug text) */


/* ---- Segmentation: blocks, lines and words, kinds and reading order ------------------ */
/*
 * A page (1-bit, or 8-bit grey and 24-bit colour through their grey and the recommended
 * adaptive binarization, method 7) is cut into zones. Layout is found on the page OR-reduced
 * to about 75 dpi (by 2 at 150-224 dpi, 4 at 225-449, 8 from 450), with lengths scaled by the
 * resolution read from biYPelsPerMeter (0 counts as 300 dpi; values outside 150..600 as the
 * nearest of the two):
 *   - rules: components at least 0.4 inch long and about 0.04 inch thick at most;
 *   - pictures (photos, dithered photos, halftones): the solid parts of large components
 *     (what remains of the ink opened by a square of about 0.09 inch, at least 0.4 inch each
 *     way), or components at least 0.4 inch each way whose box is at least 60% ink with no
 *     paper rows across; everything mostly inside them is theirs, and text touching them
 *     (a close caption) stays text; ruled tables: components that are grids of at least two
 *     rules each way; line art: other large components with under 15% ink;
 *   - column gutters, found from the page's white space before any line is built: channels
 *     free of text 0.06 inch each side for at least an inch down the page, with ink within
 *     half an inch on both sides on 40% of their rows (pictures and tables block them);
 *   - text: the rest, smeared along rows across gaps up to 0.12 inch into pieces; pieces of
 *     one row join across any space up to 0.6 inch (wider when a joined line of like height
 *     above or below spans both) unless a gutter or a rule parts them, or the space is at
 *     least 0.2 inch wide with two more lines along it that start or end at its edges (a
 *     table's columns, a short section of two columns); a line joins the line below when each
 *     is the other's only near neighbour and neither reaches across a gutter the other
 *     stands beside, so a title over two columns never joins either column and no block
 *     crosses a gutter;
 *   - tables without rulings: narrow text blocks (under 1.2 inch) side by side whose lines
 *     sit at the same heights, with the rules of one width stacked above and below them;
 *   - noise: text blocks under 0.05 inch each way.
 * Block boxes are the bounding boxes of their ink. Reading order is a recursive XY-cut:
 * columns left to right, top to bottom within a column, and an item that spans the columns
 * (a title, a wide figure) breaks them and is read where it stands.
 * Skew: the page is segmented as it stands, boxes enclosing the skewed content. Blocks and
 * reading order hold up to about 2 degrees on pages with gutters of a quarter inch or more;
 * lines follow their letters and hold up to about 3 degrees at 10 point. Deskew first
 * (DibDeskew) beyond that.
 */
struct SDibZone {        /* one region, in visual coordinates of the source (right and bottom inclusive) */
  tagRect32 rect;
  int32_t kind;          /* 0 unknown, 1 text, 2 picture (photo or halftone), 3 graphics or line art,
                            4 table, 5 horizontal rule, 6 vertical rule, 7 noise */
  int32_t parent;        /* index of the enclosing zone in the same array, -1 for a top-level block */
  int32_t level;         /* 0 block, 1 text line, 2 word */
  int32_t order;         /* reading order among the zones that share its parent, from 0 */
  int32_t confidence;    /* 0..100 */
};
/* The zones of the rectangle (clamping rule; null: the whole page), in source coordinates.
   Returns the number of zones found, even beyond `capacity`, and writes the first
   min(count, capacity) of them (so a caller may ask with a null array and capacity 0 first).
   -1, nothing written, for a null source, a depth other than 1, 8 and 24, a negative
   capacity, a null array with capacity > 0, a rectangle with nothing inside the page, or no
   memory. DibSegmentLev1 gives the top-level blocks only, in reading order (a block's `order`
   is its index). Confidence: rules 95, pictures 90, tables 75, text 50 + 10 per line up to
   95, noise 60, line art 50. */
QUILP_API int DibSegmentLev1(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect);
/* As DibSegmentLev1, followed by the lines of every text block (level 1, parent the block,
   top to bottom), then the words of every line (level 2, parent the line, left to right):
   blocks first, then all lines, then all words. Lines gather the block's letters (connected
   ink whose centre lies in the block); words part at gaps wider than a third of the line's
   middle letter height. A text block's box is widened to hold its lines. Line confidence 90
   (60 for fewer than three letters), words 80. */
QUILP_API int DibSegmentLev1Hier(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect);
/* The quick candidate regions: the classification and text grouping of DibSegmentLev1 without
   the search for unruled tables and with boxes left at the reduced scale's precision (whole
   cells of 2, 4 or 8 pixels, cut to the area). Same arguments, counts and failures. */
QUILP_API int DibPreSegment(DibInfo* src, SDibZone* zones, int capacity, tagRect32* rect);
/* Refines a host's zone list on the page as it is now (edited zones, a changed page): the
   `count` zones of the array are read, those of level 0 kept (others dropped) with their
   rectangles (clamped to the area; a zone with nothing inside is dropped); each gets the kind
   and confidence of the region the page's own segmentation finds most in it (a zone over ink
   it found nothing in is text, confidence 30; one over paper is unknown, 0), the blocks are
   put in reading order, and the lines and words of the text blocks follow as in
   DibSegmentLev1Hier. The result replaces the array's contents (at most `capacity` zones)
   and the count is returned as there. -1, nothing written, on the failures of DibSegmentLev1,
   a negative count, or count > capacity. */
QUILP_API int DibRePresegment(DibInfo* src, SDibZone* zones, int count, int capacity,
                              tagRect32* rect);
/* The page's white-space map at the layout scale: a new 8-bit record of the rectangle
   (clamping rule) reduced as above (ceil(W / f) x ceil(H / f) for the factor f), resolutions
   divided by f, in the source's row order. Each pixel is its Euclidean distance to the
   nearest ink of the reduced page, rounded, saturated at 255 (255 everywhere on a page
   without ink); ink is 0. Column gutters are its bright vertical ridges (a gutter g pixels
   wide rises to about g / 2), the gaps between blocks fainter ridges across. Null for a null
   source, another depth, an empty rectangle or no memory. */
QUILP_API DibInfo* DibCalcFlowMap(DibInfo* src, tagRect32* rect);
/* Watershed segmentation of an 8-bit map (clamping rule): seeds are the 8-connected groups of
   pixels at or below seedLevel (0..255), or, for seedLevel -1, the regional minima
   (8-connected plateaus without a lower neighbour); every other pixel is flooded from the
   seeds in order of level (priority flood, first come first served within a level) and takes
   the label of the first seed region to reach it. A new 32-bit record of the area, in the
   map's row order and resolutions: each pixel a signed 32-bit label 1..n, 0 where no seed can
   reach (a map with no seed is all 0). *count (when count is not null) gets n. On the flow map
   with seedLevel 2 or 3 the regions are the blocks' cells. Null for a null map, another depth,
   seedLevel outside -1..255, an empty rectangle, an area of more than 2^30 pixels or no memory;
   *count is then untouched. */
QUILP_API DibInfo* DibWaterSegment(DibInfo* map, int seedLevel, int* count, tagRect32* rect);

/* (end of segmentation) */
/* ---- Dropout grey ---------------------------------------------------------------- */

/* An 8-bit grey of the rectangle (clamping rule) of a 24- or 32-bit colour image in which
   coloured ink (stamps, coloured pen, highlighter) turns light while black and grey ink keep
   their darkness: the grey to binarize or OCR a colour scan by. Per pixel, with b0, b1, b2 its
   first three bytes (a fourth is ignored), chroma = max(b) - min(b):
     grey = min(255, (b0 + b1 + b2 + 1) / 3 + (max(0, chroma - tolerance) * strength + 8) / 16)
   with integer divisions. A pixel of chroma at most `tolerance` keeps exactly the equal-thirds
   grey (so does every pixel when strength is 0); beyond it, each chroma level lifts the grey
   by strength / 16 levels. Black text crossing a stamp is black in every channel and stays
   black. strength 0..256, tolerance 0..255; DibDropoutStrength and DibDropoutTolerance suit
   scans (noise and tinted paper stay within the tolerance; pure red, green and blue stamp
   inks become paper white). Returns a new record of the rectangle's size in the source's row
   order with its resolutions, or null for a null source, a depth other than 24 and 32, a
   rectangle with nothing inside the image, a parameter out of range, or no memory. */
enum { DibDropoutStrength = 40, DibDropoutTolerance = 32 };
QUILP_API DibInfo* DibDropoutGrey(DibInfo const* src, int strength, int tolerance,
                                  tagRect32 const* rect);

/* (end of dropout grey) */


#endif /* QUILP32_H */
