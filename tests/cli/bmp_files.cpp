#include "bmp_files.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

#include "cli_runner.h"

namespace cli_test {

std::string WriteBmpFile(std::string const& name, DibInfo const* dib) {
  uint32_t const palette = uint32_t(dib->PaletteSize()), pixels = dib->biSizeImage;
  std::string bytes(14 + 40 + palette + pixels, '\0');
  unsigned char* f = reinterpret_cast<unsigned char*>(&bytes[0]);
  f[0] = 'B';
  f[1] = 'M';
  uint32_t const size = uint32_t(bytes.size()), offset = 14 + 40 + palette;
  std::memcpy(f + 2, &size, 4);
  std::memcpy(f + 10, &offset, 4);
  std::memcpy(f + 14, static_cast<tagBITMAPINFOHEADER const*>(dib), 40);
  std::memcpy(f + 54, dib->PalPtr(), palette);
  std::memcpy(f + 54 + palette, dib->BitsPtr(), pixels);
  WriteFile(name, bytes);
  return name;
}

std::string WritePageFile(std::string const& name, quilp_pages::PageSpec const& layout,
                          std::string const& bitsName) {
  DibInfo* page = quilp_pages::MakePage(layout);
  WriteBmpFile(name, page);
  if (!bitsName.empty()) {
    DibInfo* bits = DibBinarizeSimple(page, 150, false, nullptr);
    WriteBmpFile(bitsName, bits);
    DibFree(bits);
  }
  DibFree(page);
  return name;
}

}  // namespace cli_test

namespace cli_test {

DibInfo* ReadBmpFile(std::string const& name) {
  std::ifstream in(WorkPath(name), std::ios::binary);
  std::string const f((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (f.size() < 54 || f[0] != 'B' || f[1] != 'M') return nullptr;
  tagBITMAPINFOHEADER h;
  uint32_t offset = 0;
  std::memcpy(&offset, &f[10], 4);
  std::memcpy(&h, &f[14], 40);
  DibInfo* dib = DibCreate(h.biWidth, h.biHeight, h.biXPelsPerMeter, h.biYPelsPerMeter, h.biBitCount);
  std::size_t const pixels = std::size_t(dib ? dib->ByteWidth() : 0) * std::size_t(dib ? dib->Height() : 0);
  if (!dib || offset + pixels > f.size()) {
    DibFree(dib);
    return nullptr;
  }
  std::memcpy(dib->BitsPtr(), &f[offset], pixels);
  return dib;
}

}  // namespace cli_test
