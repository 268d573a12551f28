// distance_erode.cpp - DibErodeDilate: the doubled-grid distance map, its seeding from the
// configuration table, the two raster passes, the centre image and the threshold.
//
// Seeding: the 2 x 2 neighbourhood of pixels around each corner cell (the pixels left and
// right of it in the row above and in the row below) has a 4-bit configuration code; the
// table, built once on first use (thread-safe), says for each code whether the corner cell,
// the edge cell to its right (between the two right pixels) and the edge cell below it
// (between the two lower pixels) are boundary cells. It is evaluated 64 neighbourhoods at a
// time as a sum of minterms over bit rows, and the resulting bits are spread into cells
// through byte tables built with it. A corner is a boundary cell unless its four pixels agree
// (the two diagonal codes included: the corner then touches set and clear pixels); an edge
// cell is one when its two pixels differ; centres never are.
// Cost: the map has about four cells per pixel; seeding and the forward pass run together
// row by row, the backward pass takes the centres as soon as their row is final, so the map
// is written once and read twice. The map and the centre image are released on every path.
#include "morph/distance_erode.h"

#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "binarize/threshold.h"
#include "record/create.h"
#include "record/rect.h"
#include "record/view.h"
#include "simd/dispatch.h"

namespace quilp {
namespace {

// The largest side of a region: no page is wider, and the map of such a region already takes
// about 4 bytes per region pixel (17 GB at this limit squared).
constexpr int64_t kMaxRegionSide = 65535;

// Places of the cells a neighbourhood decides, as bits of a table entry.
enum Place : uint8_t { kCorner = 1, kRightEdge = 2, kLowerEdge = 4 };

// Configuration code: bit 3 upper-left, bit 2 upper-right, bit 1 lower-left, bit 0
// lower-right pixel (1 = set).
struct DistanceTables {
  uint8_t boundary[16];       // Place bits that are boundary cells
  uint8_t even[256][16];      // 8 bits (most significant first) spread to cells 0, 2, .. 14
  uint8_t odd[256][16];       // ... to cells 1, 3, .. 15 (0xFF per set bit)
};

DistanceTables BuildTables() {
  DistanceTables t{};
  for (int code = 0; code < 16; ++code) {
    int const ur = code >> 2 & 1, ll = code >> 1 & 1, lr = code & 1;
    uint8_t b = 0;
    if (code != 0 && code != 15) b |= kCorner;
    if (ur != lr) b |= kRightEdge;
    if (ll != lr) b |= kLowerEdge;
    t.boundary[code] = b;
  }
  for (int v = 0; v < 256; ++v)
    for (int k = 0; k < 8; ++k) {
      if (!(v >> (7 - k) & 1)) continue;
      t.even[v][2 * k] = 0xFF;
      t.odd[v][2 * k + 1] = 0xFF;
    }
  return t;
}

DistanceTables const& Tables() {
  static DistanceTables const tables = BuildTables();  // built once, thread-safe
  return tables;
}

// ---- Region bits -----------------------------------------------------------------------

// The region's rows with a frame: row k is region row k - 1 (rows -1 and H all set), bit k
// of a row (most significant first) is region column k - 1 (columns -1 and W set). Pixels of
// the region outside the source image count as set too.
class FramedBits {
 public:
  bool Build(DibInfo const* src, int64_t left, int64_t top, int w, int h) {
    w_ = w;
    stride_ = (std::size_t(w) + 2 + 63) / 64 * 8 + 8;  // whole 64-bit words and one spare
    try {
      bits_.assign(stride_ * (std::size_t(h) + 2), 0xFF);
    } catch (std::bad_alloc const&) {
      return false;
    }
    int64_t const srcW = src->Width(), srcH = src->Height();
    int64_t const c0 = left > 0 ? left : 0, c1 = left + w < srcW ? left + w : srcW;  // [c0, c1)
    for (int j = 0; j < h; ++j) {
      int64_t const y = top + j;
      if (y < 0 || y >= srcH || c0 >= c1) continue;
      CopyBits(src->GetLine(int(y)), src->ByteWidth(), c0, c1, Row(j + 1), int(c0 - left + 1));
    }
    return true;
  }

  uint8_t const* Row(int k) const { return bits_.data() + stride_ * std::size_t(k); }
  std::size_t stride() const { return stride_; }

 private:
  uint8_t* Row(int k) { return bits_.data() + stride_ * std::size_t(k); }

  // Source columns [c0, c1) into dst starting at bit `at`.
  static void CopyBits(uint8_t const* s, int rowBytes, int64_t c0, int64_t c1, uint8_t* dst,
                       int at) {
    for (int64_t c = c0; c < c1;) {
      int const bit = int((at + (c - c0)) % 8);
      std::size_t const q = std::size_t((at + (c - c0)) / 8);
      int const n = int(c1 - c < 8 - bit ? c1 - c : 8 - bit);  // pixels into this byte
      // Eight source pixels from column c.
      int64_t const b = c / 8;
      int const o = int(c % 8);
      unsigned v = unsigned(s[b]) << o;
      if (o && b + 1 < rowBytes) v |= unsigned(s[b + 1]) >> (8 - o);
      unsigned const mask = (0xFFu << (8 - n) & 0xFFu) >> bit;
      dst[q] = uint8_t((dst[q] & ~mask) | ((v & 0xFF) >> bit & mask));
      c += n;
    }
  }

  int w_ = 0;
  std::size_t stride_ = 0;
  std::vector<uint8_t> bits_;
};

// A 64-bit word of a framed row, most significant bit first, starting at bit 8 * byte.
inline uint64_t Word(uint8_t const* row, std::size_t byte) {
  uint64_t v = 0;
  for (int i = 0; i < 8; ++i) v = v << 8 | row[byte + std::size_t(i)];
  return v;
}

// The cells of corner row 2j (above = framed row j, below = framed row j + 1) and of the
// edge row 2j + 1 under it (null when there is none), as seeds: 255 boundary, 0 elsewhere.
void SeedRows(uint8_t const* above, uint8_t const* below, int w, uint8_t* corners,
              uint8_t* edges, DistanceTables const& t) {
  // Minterm masks of the configuration codes that make each place a boundary cell.
  int const cells = 2 * w + 1;
  std::size_t const words = (std::size_t(w) + 1 + 63) / 64;
  for (std::size_t k = 0; k < words; ++k) {
    // Bit i of a word: corner i (columns i - 1 and i of the region).
    uint64_t const a0 = Word(above, 8 * k), b0 = Word(below, 8 * k);
    uint64_t const a1 = a0 << 1 | above[8 * k + 8] >> 7, b1 = b0 << 1 | below[8 * k + 8] >> 7;
    uint64_t corner = 0, right = 0, lower = 0;
    for (int code = 1; code < 15; ++code) {  // codes 0 and 15 are nowhere a boundary
      uint8_t const places = t.boundary[code];
      if (!places) continue;
      uint64_t const m = (code & 8 ? a0 : ~a0) & (code & 4 ? a1 : ~a1) &
                         (code & 2 ? b0 : ~b0) & (code & 1 ? b1 : ~b1);
      if (places & kCorner) corner |= m;
      if (places & kRightEdge) right |= m;
      if (places & kLowerEdge) lower |= m;
    }
    // Eight corners at a time: 16 cells of each row.
    for (int byte = 0; byte < 8; ++byte) {
      int const first = int(64 * k) + 8 * byte;  // corner index
      if (first > w) break;
      unsigned const kb = unsigned(corner >> (56 - 8 * byte)) & 0xFF;
      unsigned const rb = unsigned(right >> (56 - 8 * byte)) & 0xFF;
      unsigned const lb = unsigned(lower >> (56 - 8 * byte)) & 0xFF;
      uint8_t c16[16];
      for (int i = 0; i < 16; ++i) c16[i] = uint8_t(t.even[kb][i] | t.odd[rb][i]);
      int const at = 2 * first, n = cells - at < 16 ? cells - at : 16;
      std::memcpy(corners + at, c16, std::size_t(n));
      if (edges) std::memcpy(edges + at, t.even[lb], std::size_t(n));
    }
  }
}

// ---- Scalar kernels --------------------------------------------------------------------

inline uint8_t Closer(uint8_t c, uint8_t neighbour) {
  uint8_t const n = neighbour ? uint8_t(neighbour - 1) : 0;
  return n > c ? n : c;
}

void ForwardScalar(uint8_t* row, uint8_t const* above, int n) {
  if (above)
    for (int x = 0; x < n; ++x) row[x] = Closer(row[x], above[x]);
  for (int x = 1; x < n; ++x) row[x] = Closer(row[x], row[x - 1]);
}

void BackwardScalar(uint8_t* row, uint8_t const* below, int n) {
  if (below)
    for (int x = 0; x < n; ++x) row[x] = Closer(row[x], below[x]);
  for (int x = n - 2; x >= 0; --x) row[x] = Closer(row[x], row[x + 1]);
}

void CentresScalar(uint8_t* out, uint8_t const* row, uint8_t const* bits, int first, int w) {
  for (int i = 0; i < w; ++i) {
    int const b = first + i;
    out[i] = CentreLevel(row[2 * i + 1], (bits[b / 8] >> (7 - b % 8)) & 1);
  }
}

// ---- The threshold into an existing image ---------------------------------------------

// Writes the centres' threshold into `out` at the exact-fit area of rect, column c of the
// region at bit c counted from the byte of the area's left edge. Rows and bits beyond the
// image (an area may end one past it) are not written.
void ThresholdInto(DibInfo* out, Area const& area, DibInfo const* centres, uint8_t t) {
  int const width = out->Width(), height = out->Height();
  int const base = area.left / 8 * 8;
  for (int r = 0; r < area.height && area.top + r < height; ++r) {
    uint8_t* d = out->GetLine(area.top + r);
    uint8_t const* s = centres->GetLine(r);
    for (int c = 0; c < area.width && base + c < width; ++c) {
      uint8_t const mask = uint8_t(0x80 >> ((base + c) % 8));
      uint8_t& b = d[(base + c) / 8];
      b = uint8_t(s[c] >= t ? b | mask : b & ~mask);
    }
  }
}

// The map of the framed region (released on return) and the signed levels of its centres.
bool CentreImage(FramedBits const& framed, int w, int h, DibInfo const* src, DibInfo* centres) {
  int const cells = 2 * w + 1, rows = 2 * h + 1;
  auto const doubled = [](int res) { return int(uint32_t(res) * 2u); };  // wraps, never UB
  DibHolder map(DibCreateForOverwrite(cells, rows, doubled(src->XPelsPerMeter()),
                                      doubled(src->YPelsPerMeter()), 8));
  if (!map) return false;
  DibView const m = MakeView(map.get());
  if (m.width != cells || m.height != rows) return false;
  DistanceTables const& t = Tables();
  DistanceKernels const& k = DistanceKernelsActive();
  // Seeding and the forward pass, two map rows per framed row pair.
  for (int j = 0; j <= h; ++j) {
    uint8_t* const corners = m.Row(2 * j);
    uint8_t* const edges = j < h ? m.Row(2 * j + 1) : nullptr;
    SeedRows(framed.Row(j), framed.Row(j + 1), w, corners, edges, t);
    k.forward(corners, j > 0 ? m.Row(2 * j - 1) : nullptr, cells);
    if (edges) k.forward(edges, corners, cells);
  }
  // The backward pass; a centre row is final once its map row is.
  DibView const c = MakeView(centres);
  for (int y = rows - 1; y >= 0; --y) {
    k.backward(m.Row(y), y + 1 < rows ? m.Row(y + 1) : nullptr, cells);
    if (y % 2 == 1) k.centres(c.Row(y / 2), m.Row(y), framed.Row(y / 2 + 1), 1, w);
  }
  return true;
}

}  // namespace

DistanceKernels const& DistanceKernelsScalar() {
  static DistanceKernels const table = {ForwardScalar, BackwardScalar, CentresScalar};
  return table;
}

DistanceKernels const& DistanceKernelsActive() {
  return simd::Pick(DistanceKernelsScalar(), QUILP_VECTOR_TABLE(DistanceKernelsSse41()),
                    QUILP_VECTOR_TABLE(DistanceKernelsAvx2()));
}

bool DibDistanceErodeDilate(DibInfo*& out, DibInfo* src, int amount, tagRect32 const* rect) {
  if (!src) return false;
  int64_t const level = amount > 0 ? 127 + 4 * int64_t(amount) : 127 + int64_t(amount);
  if (level < 0 || level > 255) return false;
  if (src->BitsPerPixel() != 1) return false;
  tagRect32 const whole = {0, 0, src->Width() - 1, src->Height() - 1};
  tagRect32 const& r = rect ? *rect : whole;
  int64_t const w64 = int64_t(r.right) - r.left + 1, h64 = int64_t(r.bottom) - r.top + 1;
  if (w64 < 1 || h64 < 1 || w64 > kMaxRegionSide || h64 > kMaxRegionSide) return false;
  int const w = int(w64), h = int(h64);

  // An existing result must be 1-bit and take the region under the exact-fit rule.
  Area target;
  if (out && out->BitsPerPixel() != 1) return false;
  if (out && !ExactFitRect(out, &r, target)) return false;
  if (out && (target.width != w || target.height != h)) return false;

  FramedBits framed;
  if (!framed.Build(src, r.left, r.top, w, h)) return false;
  DibHolder centres(DibCreateForOverwrite(w, h, src->XPelsPerMeter(), src->YPelsPerMeter(), 8));
  if (!centres || !CentreImage(framed, w, h, src, centres.get())) return false;

  uint8_t const threshold = uint8_t(level);
  if (!out) {
    DibHolder result(DibCreateForOverwrite(w, h, src->XPelsPerMeter(), src->YPelsPerMeter(), 1));
    if (!result || !DibThresholdView(MakeView(result.get()), MakeView(centres.get()), threshold,
                                     false))
      return false;
    out = result.release();
    return true;
  }
  ThresholdInto(out, target, centres.get(), threshold);
  return true;
}

}  // namespace quilp
