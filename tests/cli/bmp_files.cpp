#include "bmp_files.h"

#include <cstdint>
#include <cstring>

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
