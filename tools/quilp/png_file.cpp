// png_file.cpp - PNG files through libpng. Reading uses libpng's simplified interface, which
// expands palettes, keeps the high byte of 16-bit samples and composes alpha over a white
// background; 1-bit grey files come back as 1-bit records. The resolution is the pHYs chunk's
// (unit metre), read by a walk over the chunks. Writing uses the full interface (1-bit rows
// and pHYs need it), zlib level 3: near the smallest files at a fraction of the time.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

uint32_t Be32(unsigned char const* p) { return uint32_t(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3]; }

// What the chunks say that the simplified interface does not: bit depth, colour type, pHYs.
struct PngFacts {
  int bitDepth = 0, colourType = 0;
  uint32_t xPerMetre = 0, yPerMetre = 0;
};

PngFacts ReadFacts(unsigned char const* d, std::size_t n) {
  PngFacts facts;
  std::size_t at = 8;
  while (at + 12 <= n) {
    uint32_t const length = Be32(d + at);
    if (length > n - at - 12) break;
    unsigned char const* type = d + at + 4;
    unsigned char const* body = d + at + 8;
    if (std::memcmp(type, "IHDR", 4) == 0 && length >= 13) {
      facts.bitDepth = body[8];
      facts.colourType = body[9];
    } else if (std::memcmp(type, "pHYs", 4) == 0 && length >= 9 && body[8] == 1) {
      facts.xPerMetre = Be32(body);
      facts.yPerMetre = Be32(body + 4);
    } else if (std::memcmp(type, "IDAT", 4) == 0) {
      break;  // pHYs must come before the image data
    }
    at += 12 + std::size_t(length);
  }
  return facts;
}

void AppendBytes(png_structp png, png_bytep data, png_size_t length) {
  auto* out = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
  out->insert(out->end(), data, data + length);
}

void FlushNothing(png_structp) {}

}  // namespace

Decoded DecodePng(unsigned char const* data, std::size_t size, uint64_t maxPixels) {
  Decoded d;
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, data, size)) {
    d.error = std::string("bad PNG: ") + image.message;
    return d;
  }
  PngFacts const facts = ReadFacts(data, size);
  bool const colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
  bool const bilevel = !colour && facts.bitDepth == 1 && facts.colourType == 0;
  Dib page = NewPage(image.width, image.height, colour ? 24 : bilevel ? 1 : 8, maxPixels, d.error);
  if (!page) {
    png_image_free(&image);
    return d;
  }
  image.format = colour ? PNG_FORMAT_BGR : PNG_FORMAT_GRAY;
  png_color const white = {255, 255, 255};
  int const samples = colour ? 3 : 1;
  std::vector<unsigned char> pixels(std::size_t(image.width) * image.height * samples);
  if (!png_image_finish_read(&image, &white, pixels.data(), 0, nullptr)) {
    d.error = std::string("bad PNG: ") + image.message;
    png_image_free(&image);
    return d;
  }
  std::size_t const rowBytes = std::size_t(image.width) * samples;
  for (uint32_t y = 0; y < image.height; ++y) {
    unsigned char const* src = pixels.data() + rowBytes * y;
    unsigned char* dst = page->GetLine(int(y));
    if (!bilevel) {
      std::memcpy(dst, src, rowBytes);
      continue;
    }
    for (uint32_t x = 0; x < image.width; ++x)
      if (src[x] >= 128) dst[x / 8] |= uint8_t(0x80 >> (x % 8));
  }
  if (facts.xPerMetre > 0 && facts.yPerMetre > 0 && facts.xPerMetre <= INT32_MAX &&
      facts.yPerMetre <= INT32_MAX) {
    page->biXPelsPerMeter = int32_t(facts.xPerMetre);
    page->biYPelsPerMeter = int32_t(facts.yPerMetre);
    d.hasResolution = true;
  }
  d.pages.push_back(std::move(page));
  return d;
}

std::string EncodePng(DibInfo const* dib, std::vector<unsigned char>& out) {
  int const bits = dib->BitsPerPixel();
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32) return "PNG takes 1, 8, 24 or 32 bits";
  out.clear();
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info) {
    png_destroy_write_struct(&png, nullptr);
    return "out of memory";
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return "the PNG encoder failed";
  }
  png_set_write_fn(png, &out, AppendBytes, FlushNothing);
  int const colourType = bits >= 24 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(png, info, uint32_t(dib->Width()), uint32_t(dib->Height()), bits == 1 ? 1 : 8,
               colourType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (dib->XPelsPerMeter() > 0 && dib->YPelsPerMeter() > 0)
    png_set_pHYs(png, info, uint32_t(dib->XPelsPerMeter()), uint32_t(dib->YPelsPerMeter()),
                 PNG_RESOLUTION_METER);
  png_set_compression_level(png, 3);
  if (bits == 1) png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  if (bits >= 24) png_set_bgr(png);
  if (bits == 32) png_set_filler(png, 0, PNG_FILLER_AFTER);
  for (int y = 0; y < dib->Height(); ++y) png_write_row(png, dib->GetLine(y));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return "";
}

}  // namespace quilp_cli
