// downscale.cpp - area-averaging reduction by integer factors.
//
// Rows are reduced a block row at a time: the block's source rows are summed column by column
// (one 64-bit sum per byte, so no factor can overflow it), then each run of hFactor columns
// becomes one pixel, the rounded mean (sum + n/2) / n over the n pixels it covers; blocks at
// the right and bottom edges cover what is left. 1-bit areas count set bits and keep a bit
// when more than half of its block is set. Cost: one read of the area, one division per
// result byte.
#include "scale/downscale.h"
#include "scale/halve.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace quilp {
namespace {

// Bit x of a 1-bit row seen from the area's first column (left is the area's bit offset).
inline int BitAt(uint8_t const* row, int left, int x) {
  int const b = left + x;
  return (row[b >> 3] >> (7 - (b & 7))) & 1;
}

void Reduce1(DibView const& dst, DibView const& src, int hf, int vf) {
  int const left = src.left & 7;  // the view points at the byte holding the first column
  std::vector<uint64_t> counts(std::size_t(src.width));
  for (int oy = 0; oy < dst.height; ++oy) {
    int const y0 = oy * vf, y1 = int(std::min<int64_t>(int64_t(y0) + vf, src.height));
    std::fill(counts.begin(), counts.end(), 0);
    for (int y = y0; y < y1; ++y) {
      uint8_t const* row = src.Row(y);
      for (int x = 0; x < src.width; ++x) counts[std::size_t(x)] += uint64_t(BitAt(row, left, x));
    }
    uint8_t* out = dst.Row(oy);
    std::memset(out, 0, std::size_t((dst.width + 7) / 8));
    for (int ox = 0; ox < dst.width; ++ox) {
      int const x0 = ox * hf, x1 = int(std::min<int64_t>(int64_t(x0) + hf, src.width));
      uint64_t set = 0;
      for (int x = x0; x < x1; ++x) set += counts[std::size_t(x)];
      uint64_t const n = uint64_t(x1 - x0) * uint64_t(y1 - y0);
      if (2 * set > n) out[ox >> 3] = static_cast<uint8_t>(out[ox >> 3] | (0x80 >> (ox & 7)));
    }
  }
}

// (sum + n/2) / n for the blocks of one result row that hold n pixels: a shift when n is a
// power of two, a table when every sum fits 16 bits, a division otherwise.
class RoundedMean {
 public:
  explicit RoundedMean(uint64_t n) : n_(n) {
    if ((n & (n - 1)) == 0) {
      while ((uint64_t(1) << shift_) < n) ++shift_;
    } else if (n <= 65535 / 255) {
      shift_ = -1;
      table_.resize(std::size_t(n * 255 + 1));
      for (std::size_t v = 0; v < table_.size(); ++v) table_[v] = static_cast<uint8_t>((v + n / 2) / n);
    } else {
      shift_ = -2;
    }
  }
  uint8_t operator()(uint64_t sum) const {
    if (shift_ >= 0) return static_cast<uint8_t>((sum + n_ / 2) >> shift_);
    if (shift_ == -1) return table_[std::size_t(sum)];
    return static_cast<uint8_t>((sum + n_ / 2) / n_);
  }

 private:
  uint64_t n_;
  int shift_ = 0;  // >= 0: a power of two; -1: the table; -2: divide
  std::vector<uint8_t> table_;
};

// Bytes: `channels` bytes per pixel, each averaged on its own. Column sums are kept in Acc,
// 32 bits whenever the block's rows cannot overflow it.
template <class Acc>
void ReduceBytes(DibView const& dst, DibView const& src, int channels, int hf, int vf) {
  std::size_t const bytes = std::size_t(src.width) * std::size_t(channels);
  std::size_t const ch = std::size_t(channels);
  std::vector<Acc> sums(bytes);
  int const fullColumns = src.width / hf;  // result columns whose block is hf wide
  for (int oy = 0; oy < dst.height; ++oy) {
    int const y0 = oy * vf, y1 = int(std::min<int64_t>(int64_t(y0) + vf, src.height));
    std::fill(sums.begin(), sums.end(), Acc(0));
    for (int y = y0; y < y1; ++y) {
      uint8_t const* row = src.Row(y);
      for (std::size_t i = 0; i < bytes; ++i) sums[i] = Acc(sums[i] + row[i]);
    }
    uint8_t* out = dst.Row(oy);
    RoundedMean const full(uint64_t(hf) * uint64_t(y1 - y0));
    for (int ox = 0; ox < fullColumns; ++ox) {
      Acc const* column = &sums[std::size_t(ox) * std::size_t(hf) * ch];
      for (std::size_t c = 0; c < ch; ++c) {
        uint64_t s = 0;
        for (int x = 0; x < hf; ++x) s += column[std::size_t(x) * ch + c];
        out[std::size_t(ox) * ch + c] = full(s);
      }
    }
    if (fullColumns < dst.width) {  // the last block is narrower
      int const x0 = fullColumns * hf, width = src.width - x0;
      uint64_t const n = uint64_t(width) * uint64_t(y1 - y0);
      for (std::size_t c = 0; c < ch; ++c) {
        uint64_t s = 0;
        for (int x = 0; x < width; ++x) s += sums[(std::size_t(x0) + std::size_t(x)) * ch + c];
        out[std::size_t(fullColumns) * ch + c] = static_cast<uint8_t>((s + n / 2) / n);
      }
    }
  }
}

void CopyBytes(DibView const& dst, DibView const& src, int channels) {
  std::size_t const bytes = std::size_t(src.width) * std::size_t(channels);
  for (int y = 0; y < src.height; ++y) std::memcpy(dst.Row(y), src.Row(y), bytes);
}

}  // namespace

void DibDownscaleArea(DibView const& dst, DibView const& src, int bitCount, int hFactor,
                      int vFactor) {
  int const channels = bitCount / 8;
  if (bitCount == 1) Reduce1(dst, src, hFactor, vFactor);
  else if (hFactor == 1 && vFactor == 1) CopyBytes(dst, src, channels);
  else if (channels == 1 && hFactor == 2 && vFactor == 2) DibHalve8(dst, src);
  else if (vFactor <= 16843009) ReduceBytes<uint32_t>(dst, src, channels, hFactor, vFactor);  // 255 * vf < 2^32
  else ReduceBytes<uint64_t>(dst, src, channels, hFactor, vFactor);
}

}  // namespace quilp
