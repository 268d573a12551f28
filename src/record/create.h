// create.h - the internal creators every operation allocates its results with.
//
// Each makes one zeroed, locked block of 40 header bytes, the standard palette (1-bit: black,
// white; 8-bit: a 256-level grey ramp) and abs(height) rows, and stores the height as given,
// so its sign chooses the row order. The *Like forms take the model's width, signed height
// and resolutions. All return null on a negative width, an oversized image or a failed
// allocation.
#pragma once

#include "quilp32.h"

namespace quilp {

DibInfo* DibCreate1(int width, int height, int xPelsPerMeter, int yPelsPerMeter);
DibInfo* DibCreate8(int width, int height, int xPelsPerMeter, int yPelsPerMeter);
DibInfo* DibCreate24(int width, int height, int xPelsPerMeter, int yPelsPerMeter);
DibInfo* DibCreate32(int width, int height, int xPelsPerMeter, int yPelsPerMeter);
DibInfo* DibCreate8Like(DibInfo const* model);
DibInfo* DibCreate24Like(DibInfo const* model);
DibInfo* DibCreate32Like(DibInfo const* model);

// The creator for a depth of 1, 8, 24 or 32; null for any other depth.
DibInfo* DibCreateDepth(int width, int height, int xPelsPerMeter, int yPelsPerMeter,
                        int bitCount);

// As DibCreateDepth, for results whose every pixel the caller is about to write: the pixel
// bytes are left as the block layer hands them out (recycled blocks are not cleared again),
// only the row padding is zeroed. Saves a pass over large results.
DibInfo* DibCreateForOverwrite(int width, int height, int xPelsPerMeter, int yPelsPerMeter,
                               int bitCount);

// `height` rows stored in the row order of `model`: negative (top-down) when the model is
// top-down. Results made in their source's order are read and written in one direction.
inline int HeightInOrderOf(DibInfo const* model, int height) {
  return model->biHeight < 0 ? -height : height;
}

// Releases a record this library made (the internal form of the DibFree export).
bool DibRelease(DibInfo*& dib);

// Owns a record for the length of a scope: temporaries and results on their failure paths.
class DibHolder {
 public:
  explicit DibHolder(DibInfo* dib = nullptr) : dib_(dib) {}
  ~DibHolder() { DibRelease(dib_); }
  DibHolder(DibHolder const&) = delete;
  DibHolder& operator=(DibHolder const&) = delete;
  DibInfo* get() const { return dib_; }
  DibInfo* release() { DibInfo* d = dib_; dib_ = nullptr; return d; }
  explicit operator bool() const { return dib_ != nullptr; }

 private:
  DibInfo* dib_;
};

}  // namespace quilp
