// jpeg_file.cpp - JPEG files through libjpeg-turbo, in memory. Grey files give 8-bit records,
// colour files 24-bit ones (decoded straight into blue, green, red); CMYK is refused. The
// JFIF density, in dots per inch or per centimetre, is the resolution. Errors leave the
// decoder by a long jump back to the function that set it, which then releases everything.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>
#include <jerror.h>

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

struct ErrorJump {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
};

void JumpOut(j_common_ptr cinfo) {
  auto* e = reinterpret_cast<ErrorJump*>(cinfo->err);
  (*cinfo->err->format_message)(cinfo, e->message);
  std::longjmp(e->jump, 1);
}

// Warnings are ignored, except that the data ended early: a truncated file is an error.
void TruncationIsAnError(j_common_ptr cinfo, int level) {
  if (level < 0 && cinfo->err->msg_code == JWRN_JPEG_EOF) cinfo->err->error_exit(cinfo);
}

// Largest working memory the decoder may take beyond the image itself.
constexpr long kDecoderMemory = 512L << 20;

}  // namespace

Decoded DecodeJpeg(unsigned char const* data, std::size_t size, uint64_t maxPixels) {
  // Everything the decoder changes lives on the heap, so a long jump leaves it well defined.
  struct Job {
    jpeg_decompress_struct cinfo;
    ErrorJump e;
    Decoded d;
  };
  auto job = std::make_unique<Job>();
  jpeg_decompress_struct& cinfo = job->cinfo;
  Decoded& d = job->d;
  cinfo.err = jpeg_std_error(&job->e.manager);
  job->e.manager.error_exit = JumpOut;
  job->e.manager.emit_message = TruncationIsAnError;
  job->e.message[0] = '\0';
  if (setjmp(job->e.jump)) {
    jpeg_destroy_decompress(&cinfo);
    d.pages.clear();
    d.error = std::string("bad JPEG: ") + job->e.message;
    return std::move(d);
  }
  jpeg_create_decompress(&cinfo);
  cinfo.mem->max_memory_to_use = kDecoderMemory;
  jpeg_mem_src(&cinfo, data, static_cast<unsigned long>(size));
  jpeg_read_header(&cinfo, TRUE);
  bool const grey = cinfo.num_components == 1;
  if (!grey && cinfo.jpeg_color_space != JCS_YCbCr && cinfo.jpeg_color_space != JCS_RGB) {
    jpeg_destroy_decompress(&cinfo);
    d.error = "CMYK and other four-channel JPEG files are not read";
    return std::move(d);
  }
  d.pages.push_back(NewPage(cinfo.image_width, cinfo.image_height, grey ? 8 : 24, maxPixels, d.error));
  if (!d.pages.back()) {
    jpeg_destroy_decompress(&cinfo);
    d.pages.clear();
    return std::move(d);
  }
  DibInfo* page = d.pages.back().get();
  cinfo.out_color_space = grey ? JCS_GRAYSCALE : JCS_EXT_BGR;
  jpeg_start_decompress(&cinfo);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = page->GetLine(int(cinfo.output_scanline));
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  if (cinfo.saw_JFIF_marker && cinfo.X_density > 0 && cinfo.Y_density > 0 &&
      (cinfo.density_unit == 1 || cinfo.density_unit == 2)) {
    double const perInch = cinfo.density_unit == 2 ? 2.54 : 1.0;
    page->biXPelsPerMeter = PelsPerMetre(cinfo.X_density * perInch);
    page->biYPelsPerMeter = PelsPerMetre(cinfo.Y_density * perInch);
    d.hasResolution = true;
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  return std::move(d);
}

std::string EncodeJpeg(DibInfo const* dib, EncodeOptions const& options, std::vector<unsigned char>& out) {
  int const bits = dib->BitsPerPixel();
  if (bits != 1 && bits != 8 && bits != 24 && bits != 32) return "JPEG takes 1, 8, 24 or 32 bits";
  struct Job {
    jpeg_compress_struct cinfo;
    ErrorJump e;
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    std::vector<unsigned char> grey;
  };
  auto job = std::make_unique<Job>();
  jpeg_compress_struct& cinfo = job->cinfo;
  cinfo.err = jpeg_std_error(&job->e.manager);
  job->e.manager.error_exit = JumpOut;
  job->e.manager.emit_message = TruncationIsAnError;
  std::vector<unsigned char>& grey = job->grey;
  grey.resize(bits == 1 ? std::size_t(dib->Width()) : 0);
  if (setjmp(job->e.jump)) {
    jpeg_destroy_compress(&cinfo);
    std::free(job->buffer);
    return std::string("the JPEG encoder failed: ") + job->e.message;
  }
  jpeg_create_compress(&cinfo);
  jpeg_mem_dest(&cinfo, &job->buffer, &job->length);
  cinfo.image_width = JDIMENSION(dib->Width());
  cinfo.image_height = JDIMENSION(dib->Height());
  cinfo.input_components = bits <= 8 ? 1 : bits / 8;
  cinfo.in_color_space = bits <= 8 ? JCS_GRAYSCALE : bits == 24 ? JCS_EXT_BGR : JCS_EXT_BGRX;
  jpeg_set_defaults(&cinfo);
  jpeg_set_quality(&cinfo, std::clamp(options.jpegQuality, 1, 100), TRUE);
  cinfo.density_unit = 1;
  cinfo.X_density = UINT16(std::clamp(int(dib->XPelsPerMeter() / 39.37 + 0.5), 1, 65535));
  cinfo.Y_density = UINT16(std::clamp(int(dib->YPelsPerMeter() / 39.37 + 0.5), 1, 65535));
  jpeg_start_compress(&cinfo, TRUE);
  while (cinfo.next_scanline < cinfo.image_height) {
    JSAMPROW row = dib->GetLine(int(cinfo.next_scanline));
    if (bits == 1) {  // bilevel rows are written as black and white grey
      for (std::size_t x = 0; x < grey.size(); ++x) grey[x] = (row[x / 8] >> (7 - x % 8)) & 1 ? 255 : 0;
      row = grey.data();
    }
    jpeg_write_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_compress(&cinfo);
  jpeg_destroy_compress(&cinfo);
  out.assign(job->buffer, job->buffer + job->length);
  std::free(job->buffer);
  return "";
}

}  // namespace quilp_cli
