// tiff_file.cpp - TIFF files through libtiff, every page, in memory (a client stream over the
// file's bytes). Bilevel and 8-bit grey pages in strips are read row by row at their depth,
// whatever their compression (CCITT G3/G4, LZW, Deflate, PackBits, JPEG); anything else (tiles,
// colour, palettes, 16-bit samples, YCbCr) goes through libtiff's RGBA reader and comes back
// as 24-bit colour, or as grey when the page is grey. Alpha is composed over white.
// Writing: 1-bit pages as CCITT G4 (min-is-white), grey and colour as Deflate with the
// horizontal predictor, or LZW on request; several pages make one multi-page file.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

// The file as a stream: reads come from `data`; writes grow `out`.
struct MemoryStream {
  unsigned char const* data = nullptr;
  std::vector<unsigned char>* out = nullptr;
  uint64_t size = 0, at = 0;
  std::string error;
};

tmsize_t StreamRead(thandle_t h, void* buf, tmsize_t n) {
  auto* s = static_cast<MemoryStream*>(h);
  if (n < 0 || s->at >= s->size) return 0;
  uint64_t const take = std::min<uint64_t>(uint64_t(n), s->size - s->at);
  std::memcpy(buf, (s->out ? s->out->data() : s->data) + s->at, take);
  s->at += take;
  return tmsize_t(take);
}

tmsize_t StreamWrite(thandle_t h, void* buf, tmsize_t n) {
  auto* s = static_cast<MemoryStream*>(h);
  if (!s->out || n < 0) return -1;
  uint64_t const end = s->at + uint64_t(n);
  if (end > s->out->size()) s->out->resize(end);
  std::memcpy(s->out->data() + s->at, buf, std::size_t(n));
  s->at = end;
  s->size = std::max<uint64_t>(s->size, end);
  return n;
}

toff_t StreamSeek(thandle_t h, toff_t offset, int whence) {
  auto* s = static_cast<MemoryStream*>(h);
  uint64_t const base = whence == SEEK_CUR ? s->at : whence == SEEK_END ? s->size : 0;
  s->at = base + offset;
  return s->at;
}

int StreamClose(thandle_t) { return 0; }
toff_t StreamSize(thandle_t h) { return static_cast<MemoryStream*>(h)->size; }
int NoMap(thandle_t, void**, toff_t*) { return 0; }
void NoUnmap(thandle_t, void*, toff_t) {}

// libtiff's messages go to the stream's error string instead of stderr; warnings are dropped.
int KeepError(TIFF*, void* user, char const*, char const* format, va_list ap) {
  auto* s = static_cast<MemoryStream*>(user);
  if (s->error.empty()) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, ap);
    s->error = text;
  }
  return 1;
}
int DropWarning(TIFF*, void*, char const*, char const*, va_list) { return 1; }

TIFF* OpenStream(MemoryStream& s, char const* mode, uint64_t maxPixels) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, KeepError, &s);
  TIFFOpenOptionsSetWarningHandlerExtR(options, DropWarning, &s);
  // No single buffer may exceed what the largest allowed page needs in RGBA, plus slack.
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, tmsize_t(std::min<uint64_t>(maxPixels * 4 + (1u << 20),
                                                                            uint64_t(INT32_MAX))));
  TIFF* tif = TIFFClientOpenExt("memory", mode, &s, StreamRead, StreamWrite, StreamSeek,
                                StreamClose, StreamSize, NoMap, NoUnmap, options);
  TIFFOpenOptionsFree(options);
  return tif;
}

struct TiffCloser {
  void operator()(TIFF* t) const { TIFFClose(t); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffCloser>;

std::string Why(MemoryStream const& s, char const* fallback) {
  return std::string(fallback) + (s.error.empty() ? "" : ": " + s.error);
}

// One page (the current directory); null with `error` set on failure.
Dib ReadDirectory(TIFF* tif, MemoryStream& s, uint64_t maxPixels, bool& hasResolution, std::string& error) {
  uint32_t width = 0, height = 0;
  uint16_t bps = 1, spp = 1, photometric = PHOTOMETRIC_MINISWHITE, planar = PLANARCONFIG_CONTIG;
  if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height)) {
    error = "a page without a size";
    return nullptr;
  }
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bps);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &spp);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
  bool const hasPhotometric = TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric) != 0;
  if (!hasPhotometric) photometric = bps == 1 ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
  bool const grey = photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK;
  bool const rowWise = grey && spp == 1 && (bps == 1 || bps == 8) && !TIFFIsTiled(tif);
  int const depth = grey && spp <= 2 ? (bps == 1 && spp == 1 ? 1 : 8) : 24;
  Dib page = NewPage(width, height, depth, maxPixels, error);
  if (!page) return nullptr;

  float xres = 0, yres = 0;
  uint16_t unit = RESUNIT_INCH;
  TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &xres) && TIFFGetField(tif, TIFFTAG_YRESOLUTION, &yres) &&
      unit != RESUNIT_NONE) {
    double const perInch = unit == RESUNIT_CENTIMETER ? 2.54 : 1.0;
    page->biXPelsPerMeter = PelsPerMetre(xres * perInch);
    page->biYPelsPerMeter = PelsPerMetre(yres * perInch);
    hasResolution = page->biXPelsPerMeter > 0 && page->biYPelsPerMeter > 0;
  }

  bool const invert = photometric == PHOTOMETRIC_MINISWHITE;  // records: high values are light
  if (rowWise) {
    tmsize_t const lineBytes = TIFFScanlineSize(tif);
    std::size_t const need = bps == 1 ? (width + 7) / 8 : width;
    if (lineBytes < tmsize_t(need)) {
      error = "bad row size";
      return nullptr;
    }
    std::vector<unsigned char> line(static_cast<std::size_t>(lineBytes));
    for (uint32_t y = 0; y < height; ++y) {
      if (TIFFReadScanline(tif, line.data(), y, 0) < 0) {
        error = Why(s, "damaged pixel data");
        return nullptr;
      }
      unsigned char* dst = page->GetLine(int(y));
      for (std::size_t k = 0; k < need; ++k) dst[k] = invert ? uint8_t(~line[k]) : line[k];
      if (bps == 1 && width % 8) dst[need - 1] &= uint8_t(0xFF00 >> (width % 8));
    }
    return page;
  }
  std::vector<uint32_t> raster(std::size_t(width) * height);
  if (!TIFFReadRGBAImageOriented(tif, width, height, raster.data(), ORIENTATION_TOPLEFT, 1)) {
    error = Why(s, "pixel data that cannot be read");
    return nullptr;
  }
  for (uint32_t y = 0; y < height; ++y) {
    uint32_t const* src = raster.data() + std::size_t(width) * y;
    unsigned char* dst = page->GetLine(int(y));
    for (uint32_t x = 0; x < width; ++x) {
      uint32_t const p = src[x], a = TIFFGetA(p);
      auto over = [a](uint32_t c) { return uint8_t((c * a + 255 * (255 - a) + 127) / 255); };
      uint8_t const r = over(TIFFGetR(p)), g = over(TIFFGetG(p)), b = over(TIFFGetB(p));
      if (depth == 24) {
        dst[3 * x] = b;
        dst[3 * x + 1] = g;
        dst[3 * x + 2] = r;
      } else if (depth == 8) {
        dst[x] = g;
      } else if (g >= 128) {
        dst[x / 8] |= uint8_t(0x80 >> (x % 8));
      }
    }
  }
  return page;
}

}  // namespace

Decoded DecodeTiff(unsigned char const* data, std::size_t size, uint64_t maxPixels) {
  Decoded d;
  MemoryStream s;
  s.data = data;
  s.size = size;
  TiffPtr tif(OpenStream(s, "rm", maxPixels));
  if (!tif) {
    d.error = Why(s, "bad TIFF");
    return d;
  }
  bool allHaveResolution = true;
  do {
    bool hasResolution = false;
    Dib page = ReadDirectory(tif.get(), s, maxPixels, hasResolution, d.error);
    if (!page) {
      d.error = "page " + std::to_string(d.pages.size() + 1) + ": " + d.error;
      d.pages.clear();
      return d;
    }
    allHaveResolution = allHaveResolution && hasResolution;
    d.pages.push_back(std::move(page));
  } while (TIFFReadDirectory(tif.get()));
  d.hasResolution = allHaveResolution;
  return d;
}

std::string EncodeTiff(std::vector<DibInfo const*> const& pages, EncodeOptions const& options,
                       std::vector<unsigned char>& out) {
  out.clear();
  MemoryStream s;
  s.out = &out;
  TiffPtr tif(OpenStream(s, "w", UINT32_MAX));
  if (!tif) return Why(s, "the TIFF encoder failed");
  for (std::size_t index = 0; index < pages.size(); ++index) {
    DibInfo const* dib = pages[index];
    int const bits = dib->BitsPerPixel();
    if (bits != 1 && bits != 8 && bits != 24 && bits != 32) return "TIFF takes 1, 8, 24 or 32 bits";
    TIFF* t = tif.get();
    uint32_t const width = uint32_t(dib->Width());
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, uint32_t(dib->Height()));
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, uint16_t(bits == 1 ? 1 : 8));
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, uint16_t(bits >= 24 ? 3 : 1));
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (bits == 1) {
      TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
      TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    } else {
      TIFFSetField(t, TIFFTAG_PHOTOMETRIC, bits == 8 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
      TIFFSetField(t, TIFFTAG_COMPRESSION, options.tiffLzw ? COMPRESSION_LZW : COMPRESSION_ADOBE_DEFLATE);
      TIFFSetField(t, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    if (dib->XPelsPerMeter() > 0 && dib->YPelsPerMeter() > 0) {
      TIFFSetField(t, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
      TIFFSetField(t, TIFFTAG_XRESOLUTION, float(dib->XPelsPerMeter() / 39.37));
      TIFFSetField(t, TIFFTAG_YRESOLUTION, float(dib->YPelsPerMeter() / 39.37));
    }
    if (pages.size() > 1) {
      TIFFSetField(t, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
      TIFFSetField(t, TIFFTAG_PAGENUMBER, uint16_t(index), uint16_t(pages.size()));
    }
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, bits == 1 ? uint32_t(dib->Height()) : TIFFDefaultStripSize(t, 0));
    std::vector<unsigned char> line(std::size_t(width) * 3 + 4);
    for (int y = 0; y < dib->Height(); ++y) {
      unsigned char const* src = dib->GetLine(y);
      if (bits == 1) {
        for (std::size_t k = 0; k < (width + 7) / 8; ++k) line[k] = uint8_t(~src[k]);
      } else if (bits == 8) {
        std::memcpy(line.data(), src, width);
      } else {
        int const step = bits / 8;
        for (uint32_t x = 0; x < width; ++x) {
          line[3 * x] = src[step * x + 2];
          line[3 * x + 1] = src[step * x + 1];
          line[3 * x + 2] = src[step * x];
        }
      }
      if (TIFFWriteScanline(t, line.data(), uint32_t(y), 0) < 0) return Why(s, "the TIFF encoder failed");
    }
    if (!TIFFWriteDirectory(t)) return Why(s, "the TIFF encoder failed");
  }
  tif.reset();
  return "";
}

}  // namespace quilp_cli

namespace quilp_cli {

namespace {

// The TIFF file at `path`, opened in place (libtiff reads only the parts it needs); its
// messages go to s.error. Null when it cannot be opened.
TIFF* OpenFile(std::string const& path, MemoryStream& s, uint64_t maxPixels) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, KeepError, &s);
  TIFFOpenOptionsSetWarningHandlerExtR(options, DropWarning, &s);
  if (maxPixels)
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, tmsize_t(std::min<uint64_t>(maxPixels * 4 + (1u << 20),
                                                                              uint64_t(INT32_MAX))));
  TIFF* tif = TIFFOpenExt(path.c_str(), "r", options);
  TIFFOpenOptionsFree(options);
  return tif;
}

}  // namespace

int CountPages(std::string const& path) {
  if (FormatOfName(path) != ImageFormat::Tiff) return 1;
  MemoryStream s;  // only its error string is used: libtiff's messages stay quiet
  TiffPtr tif(OpenFile(path, s, 0));
  if (!tif) return 1;
  tdir_t const n = TIFFNumberOfDirectories(tif.get());
  return n > 0 ? int(n) : 1;
}

Decoded DecodeTiffPage(std::string const& path, int index, uint64_t maxPixels) {
  Decoded d;
  MemoryStream s;
  TiffPtr tif(OpenFile(path, s, maxPixels));
  if (!tif) {
    d.error = Why(s, "bad TIFF");
    return d;
  }
  if (index < 0 || !TIFFSetDirectory(tif.get(), tdir_t(index))) {
    d.error = "page " + std::to_string(index + 1) + ": " + Why(s, "not found");
    return d;
  }
  Dib page = ReadDirectory(tif.get(), s, maxPixels, d.hasResolution, d.error);
  if (!page) d.error = "page " + std::to_string(index + 1) + ": " + d.error;
  else d.pages.push_back(std::move(page));
  return d;
}

}  // namespace quilp_cli
