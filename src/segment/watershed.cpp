// watershed.cpp - priority-flood watershed (see watershed.h).
#include "segment/watershed.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <new>

namespace quilp {

namespace {

constexpr int kDx[8] = {-1, 0, 1, -1, 1, -1, 0, 1};
constexpr int kDy[8] = {-1, -1, -1, 0, 0, 1, 1, 1};

// Labels the seeds: groups of pixels at or below `level`, or the regional minima.
int LabelSeeds(std::vector<uint8_t> const& v, int width, int height, int level,
               std::vector<int32_t>& labels) {
  int count = 0;
  std::vector<int> stack, plateau;
  for (int start = 0, n = width * height; start < n; ++start) {
    if (labels[std::size_t(start)] != 0) continue;
    uint8_t const value = v[std::size_t(start)];
    if (level >= 0 && value > level) continue;
    // The group of `start`: below the level, or its plateau of equal values.
    plateau.clear();
    stack.assign(1, start);
    labels[std::size_t(start)] = -1;
    bool minimum = true;
    while (!stack.empty()) {
      int const p = stack.back();
      stack.pop_back();
      plateau.push_back(p);
      int const x = p % width, y = p / width;
      for (int k = 0; k < 8; ++k) {
        int const nx = x + kDx[k], ny = y + kDy[k];
        if (nx < 0 || ny < 0 || nx >= width || ny >= height) continue;
        int const q = ny * width + nx;
        uint8_t const nv = v[std::size_t(q)];
        if (level < 0 && nv < value) minimum = false;
        bool const member = level >= 0 ? nv <= level : nv == value;
        if (member && labels[std::size_t(q)] == 0) {
          labels[std::size_t(q)] = -1;
          stack.push_back(q);
        }
      }
    }
    int32_t const mark = minimum ? ++count : -2;  // -2: a plateau that is no minimum
    for (int p : plateau) labels[std::size_t(p)] = mark;
  }
  for (int32_t& l : labels)
    if (l < 0) l = 0;
  return count;
}

}  // namespace

int Watershed(uint8_t const* top, std::ptrdiff_t step, int width, int height, int seedLevel,
              std::vector<int32_t>& labels) {
  if (int64_t(width) * height > INT32_MAX / 2) return -1;  // pixel indices are ints
  try {
    std::size_t const n = std::size_t(width) * std::size_t(height);
    std::vector<uint8_t> v(n);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) v[std::size_t(y) * std::size_t(width) + std::size_t(x)] = top[step * y + x];
    labels.assign(n, 0);
    int const count = LabelSeeds(v, width, height, seedLevel, labels);
    std::array<std::vector<int>, 256> queue;
    std::array<std::size_t, 256> head{};
    auto push = [&](int p, int level) { queue[std::size_t(level)].push_back(p); };
    for (std::size_t p = 0; p < n; ++p)
      if (labels[p] > 0) push(int(p), v[p]);
    for (int level = 0; level < 256; ++level) {
      std::vector<int>& q = queue[std::size_t(level)];
      while (head[std::size_t(level)] < q.size()) {
        int const p = q[head[std::size_t(level)]++];
        int const x = p % width, y = p / width;
        for (int k = 0; k < 8; ++k) {
          int const nx = x + kDx[k], ny = y + kDy[k];
          if (nx < 0 || ny < 0 || nx >= width || ny >= height) continue;
          int const r = ny * width + nx;
          if (labels[std::size_t(r)] != 0) continue;
          labels[std::size_t(r)] = labels[std::size_t(p)];
          push(r, std::max<int>(level, v[std::size_t(r)]));
        }
      }
      std::vector<int>().swap(q);
    }
    return count;
  } catch (std::bad_alloc const&) {
    return -1;
  }
}

}  // namespace quilp
