// image_file.cpp - image files by path: the format is recognised from the bytes when reading
// and from the name (or --format) when writing; every write goes to a temporary file in the
// target folder that is renamed over the target only once complete.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "quilp/image_formats.h"

namespace quilp_cli {
namespace {

constexpr uint64_t kDefaultMaxPixels = 150000000;  // an A0 sheet at 300 dpi, with room
constexpr double kAssumedDpi = 300.0;

std::string Quoted(std::string const& path) { return "'" + path + "'"; }

}  // namespace

std::atomic<bool> gSayAssumedResolution{false};

uint64_t MaxPagePixels() {
  static uint64_t const cap = [] {
    char const* text = std::getenv("QUILP_MAX_PIXELS");
    if (!text || !*text) return kDefaultMaxPixels;
    char* end = nullptr;
    unsigned long long const v = std::strtoull(text, &end, 10);
    return *end == '\0' && v > 0 ? uint64_t(v) : kDefaultMaxPixels;
  }();
  return cap;
}

int32_t PelsPerMetre(double dpi) {
  if (!(dpi > 0.0) || dpi > 1.0e6) return 0;
  return int32_t(dpi * 39.37 + 0.5);
}

Dib NewPage(uint64_t width, uint64_t height, int bits, uint64_t maxPixels, std::string& error) {
  if (width < 1 || height < 1 || width > 65535 || height > 65535) {
    error = "bad size " + std::to_string(width) + " x " + std::to_string(height);
    return nullptr;
  }
  if (width * height > maxPixels) {
    error = "declares " + std::to_string(width) + " x " + std::to_string(height) +
            " pixels, more than the cap of " + std::to_string(maxPixels) +
            " (raise it with QUILP_MAX_PIXELS)";
    return nullptr;
  }
  Dib page(DibCreate(int(width), int(height), 0, 0, bits));
  if (!page) error = "out of memory";
  return page;
}

ImageFormat SniffFormat(unsigned char const* d, std::size_t n) {
  auto starts = [&](char const* magic, std::size_t len) {
    return n >= len && std::memcmp(d, magic, len) == 0;
  };
  if (starts("BM", 2)) return ImageFormat::Bmp;
  if (starts("\x89PNG\r\n\x1a\n", 8)) return ImageFormat::Png;
  if (starts("II*\0", 4) || starts("MM\0*", 4)) return ImageFormat::Tiff;
  if (starts("\xff\xd8\xff", 3)) return ImageFormat::Jpeg;
  if (n >= 2 && d[0] == 'P' && d[1] >= '1' && d[1] <= '6') return ImageFormat::Pnm;
  return ImageFormat::Unknown;
}

ImageFormat FormatOfWord(std::string const& word) {
  std::string w = word;
  std::transform(w.begin(), w.end(), w.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  if (w == "bmp") return ImageFormat::Bmp;
  if (w == "png") return ImageFormat::Png;
  if (w == "tif" || w == "tiff") return ImageFormat::Tiff;
  if (w == "jpg" || w == "jpeg") return ImageFormat::Jpeg;
  if (w == "pnm" || w == "pbm" || w == "pgm" || w == "ppm") return ImageFormat::Pnm;
  return ImageFormat::Unknown;
}

ImageFormat FormatOfName(std::string const& path) {
  std::size_t const dot = path.rfind('.'), slash = path.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return ImageFormat::Unknown;
  return FormatOfWord(path.substr(dot + 1));
}

char const* FormatName(ImageFormat format) {
  switch (format) {
    case ImageFormat::Bmp: return "BMP";
    case ImageFormat::Png: return "PNG";
    case ImageFormat::Tiff: return "TIFF";
    case ImageFormat::Jpeg: return "JPEG";
    case ImageFormat::Pnm: return "PNM";
    default: return "unknown";
  }
}

Decoded DecodeImage(unsigned char const* data, std::size_t size, uint64_t maxPixels) {
  switch (SniffFormat(data, size)) {
    case ImageFormat::Bmp: return DecodeBmp(data, size, maxPixels);
    case ImageFormat::Png: return DecodePng(data, size, maxPixels);
    case ImageFormat::Tiff: return DecodeTiff(data, size, maxPixels);
    case ImageFormat::Jpeg: return DecodeJpeg(data, size, maxPixels);
    case ImageFormat::Pnm: return DecodePnm(data, size, maxPixels);
    default: break;
  }
  Decoded d;
  d.error = size == 0 ? "empty file" : "not a BMP, PNG, TIFF, JPEG or PNM file";
  return d;
}

namespace {

// The checks and the resolution rule every read of a file shares: `decode` gives the pages.
template <typename Decode>
std::vector<Dib> ReadChecked(std::string const& path, Decode decode) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) throw CliError("cannot open " + Quoted(path));
  if (S_ISDIR(st.st_mode)) throw CliError(Quoted(path) + " is a folder, not an image file");
  Decoded d = decode();
  if (!d.error.empty()) throw CliError(Quoted(path) + ": " + d.error);
  if (d.pages.empty()) throw CliError(Quoted(path) + ": no pages");
  if (!d.hasResolution) {
    static std::atomic<bool> said{false};
    if (gSayAssumedResolution.load() && !said.exchange(true))
      std::fprintf(stderr, "quilp: %s states no resolution; 300 dpi assumed (for any such file)\n",
                   Quoted(path).c_str());
    for (Dib& page : d.pages) page->biXPelsPerMeter = page->biYPelsPerMeter = PelsPerMetre(kAssumedDpi);
  }
  return std::move(d.pages);
}

std::vector<unsigned char> FileBytes(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw CliError("cannot open " + Quoted(path));
  std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) throw CliError("cannot read " + Quoted(path));
  return bytes;
}

bool IsTiffFile(std::string const& path) {
  unsigned char head[4] = {};
  std::ifstream in(path, std::ios::binary);
  return in.read(reinterpret_cast<char*>(head), sizeof head) && SniffFormat(head, sizeof head) == ImageFormat::Tiff;
}

}  // namespace

std::vector<Dib> ReadPages(std::string const& path) {
  return ReadChecked(path, [&] {
    std::vector<unsigned char> const bytes = FileBytes(path);
    return DecodeImage(bytes.data(), bytes.size(), MaxPagePixels());
  });
}

Dib ReadPage(std::string const& path, int index) {
  if (!IsTiffFile(path)) {
    if (index != 0) throw CliError(Quoted(path) + ": page " + std::to_string(index + 1) + ": not found");
    return std::move(ReadPages(path).front());
  }
  return std::move(ReadChecked(path, [&] { return DecodeTiffPage(path, index, MaxPagePixels()); }).front());
}

Dib ReadBmp(std::string const& path) { return std::move(ReadPages(path).front()); }

void WriteFileAtomically(std::string const& path, std::vector<unsigned char> const& bytes) {
  std::size_t const slash = path.rfind('/');
  std::string const folder = slash == std::string::npos ? "." : path.substr(0, slash);
  std::string const base = slash == std::string::npos ? path : path.substr(slash + 1);
  std::string temp = folder + "/." + base + ".XXXXXX";
  int const fd = mkstemp(&temp[0]);
  if (fd < 0) throw CliError("cannot write " + Quoted(path) + ": " + std::strerror(errno));
  mode_t const mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  std::size_t done = 0;
  while (done < bytes.size()) {
    ssize_t const n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += std::size_t(n);
  }
  bool const ok = done == bytes.size() && close(fd) == 0;
  if (!ok || std::rename(temp.c_str(), path.c_str()) != 0) {
    int const why = errno;
    unlink(temp.c_str());
    throw CliError("cannot write " + Quoted(path) + ": " + std::strerror(why ? why : EIO));
  }
}

void WritePages(std::string const& path, std::vector<DibInfo const*> const& pages,
                ImageFormat format, EncodeOptions const& options) {
  if (format == ImageFormat::Unknown) format = FormatOfName(path);
  if (format == ImageFormat::Unknown) format = ImageFormat::Bmp;
  if (pages.size() != 1 && format != ImageFormat::Tiff)
    throw CliError("only TIFF holds several pages: cannot write " + Quoted(path));
  std::vector<unsigned char> bytes;
  std::string error;
  switch (format) {
    case ImageFormat::Png: error = EncodePng(pages[0], bytes); break;
    case ImageFormat::Tiff: error = EncodeTiff(pages, options, bytes); break;
    case ImageFormat::Jpeg: error = EncodeJpeg(pages[0], options, bytes); break;
    case ImageFormat::Pnm: error = EncodePnm(pages[0], bytes); break;
    default: error = EncodeBmp(pages[0], bytes); break;
  }
  if (!error.empty()) throw CliError("cannot write " + Quoted(path) + ": " + error);
  WriteFileAtomically(path, bytes);
}

void WriteBmp(std::string const& path, DibInfo const* dib) {
  WritePages(path, {dib}, ImageFormat::Unknown, EncodeOptions{});
}

}  // namespace quilp_cli
