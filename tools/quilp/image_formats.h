// image_formats.h - the tool's image files: BMP, PNG, TIFF, JPEG and PNM, in and out.
//
// Every reader is a function of the file's bytes that returns its pages or an error string and
// never throws, so it can be fed anything (truncated files, lies about the size). Every writer
// turns records into the bytes of a file. Records read are 1-bit (standard palette: bit 1 is
// white), 8-bit grey or 24-bit colour, stored bottom-up; alpha is flattened on white and 16-bit
// samples keep their high byte. The path layer (ReadPages, WritePages in cli.h) adds the pixel
// cap, the 300 dpi assumption and the write-to-a-temporary-then-rename rule.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "quilp/cli.h"

namespace quilp_cli {

enum class ImageFormat { Unknown, Bmp, Png, Tiff, Jpeg, Pnm };

// What a reader gives back: the pages (empty on failure), whether the file stated its
// resolution, and the reason when it failed.
struct Decoded {
  std::vector<Dib> pages;
  bool hasResolution = false;
  std::string error;
};

// The most pixels one page may declare, so that a forged header cannot make the tool allocate
// gigabytes: 150 million (an A0 sheet at 300 dpi), or QUILP_MAX_PIXELS from the environment.
uint64_t MaxPagePixels();

// Recognises the format by the file's first bytes.
ImageFormat SniffFormat(unsigned char const* data, std::size_t size);
// By the file name's extension (case does not matter); Unknown when it has none we know.
ImageFormat FormatOfName(std::string const& path);
// "png" -> Png, ...; Unknown for anything else.
ImageFormat FormatOfWord(std::string const& word);
char const* FormatName(ImageFormat format);

Decoded DecodeImage(unsigned char const* data, std::size_t size, uint64_t maxPixels);
Decoded DecodeBmp(unsigned char const* data, std::size_t size, uint64_t maxPixels);
Decoded DecodePng(unsigned char const* data, std::size_t size, uint64_t maxPixels);
Decoded DecodeTiff(unsigned char const* data, std::size_t size, uint64_t maxPixels);
Decoded DecodeJpeg(unsigned char const* data, std::size_t size, uint64_t maxPixels);
Decoded DecodePnm(unsigned char const* data, std::size_t size, uint64_t maxPixels);

// How pages are written. TIFF takes every page into one file; the other formats one page.
struct EncodeOptions {
  bool tiffLzw = false;  // grey and colour TIFF pages: LZW instead of Deflate
  int jpegQuality = 90;
};

// Each returns an empty string on success, else the reason. 32-bit records are written as
// 24-bit colour; JPEG and PNM write 1-bit records as grey / bitmap as their format allows.
std::string EncodeBmp(DibInfo const* dib, std::vector<unsigned char>& out);
std::string EncodePng(DibInfo const* dib, std::vector<unsigned char>& out);
std::string EncodeTiff(std::vector<DibInfo const*> const& pages, EncodeOptions const& options,
                       std::vector<unsigned char>& out);
std::string EncodeJpeg(DibInfo const* dib, EncodeOptions const& options,
                       std::vector<unsigned char>& out);
std::string EncodePnm(DibInfo const* dib, std::vector<unsigned char>& out);

// Every page of an image file of any format (a TIFF may hold many). Throws CliError naming the
// file and the reason. A file without a stated resolution gets 300 dpi, said once on stderr
// when gSayAssumedResolution is set (batch commands set it; single-file commands stay to one
// line on failure).
extern std::atomic<bool> gSayAssumedResolution;
std::vector<Dib> ReadPages(std::string const& path);
// Writes the pages in `format` (Unknown: by the name's extension, BMP when it has none we
// know) to a temporary file beside `path`, renamed to `path` once complete.
void WritePages(std::string const& path, std::vector<DibInfo const*> const& pages,
                ImageFormat format, EncodeOptions const& options);
// Page `index` (from 0) of an image file, read as ReadPages reads it; of a TIFF only that
// page is decoded, so the pages of a long file can be read one at a time.
Dib ReadPage(std::string const& path, int index);
// Page `index` of the TIFF file at `path`, read from the file in place.
Decoded DecodeTiffPage(std::string const& path, int index, uint64_t maxPixels);
// The pages a file holds, read from a TIFF's directory chain without decoding them; 1 for other
// formats and for files that cannot be opened (the read then says why).
int CountPages(std::string const& path);
void WriteFileAtomically(std::string const& path, std::vector<unsigned char> const& bytes);

// Shared by the readers: a new bottom-up record, or null when the size is out of range or
// memory runs out (`error` then says which).
Dib NewPage(uint64_t width, uint64_t height, int bits, uint64_t maxPixels, std::string& error);
// Pixels per metre from a resolution in dots per inch (0 when not positive or absurd).
int32_t PelsPerMetre(double dpi);

}  // namespace quilp_cli
