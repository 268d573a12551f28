// The canonical record check: each grade, and the order in which faults are graded.
#include <gtest/gtest.h>

#include <utility>

#include "quilp32.h"
#include "support/images.h"

using namespace testing_support;

namespace {

DibDirection const kNone = static_cast<DibDirection>(0);

}  // namespace

TEST(Canonical, RecordsMadeHereAreCanonicalInTheirOwnRowOrder) {
  EXPECT_EQ(DibIsCanonical(nullptr, kNone), -1);
  for (int depth : {1, 8, 24}) {
    DibPtr up(DibCreate(33, 5, 3937, 0, depth));
    DibPtr down(DibCreate(33, -5, 3937, 0, depth));
    EXPECT_EQ(DibIsCanonical(up.get(), DibDirectionBottomUp), 0) << depth;
    EXPECT_EQ(DibIsCanonical(up.get(), kNone), 0) << depth;
    EXPECT_EQ(DibIsCanonical(up.get(), DibDirectionTopDown), 1) << depth;
    EXPECT_EQ(DibIsCanonical(down.get(), DibDirectionBottomUp), 1) << depth;
    EXPECT_EQ(DibIsCanonical(down.get(), DibDirectionTopDown), 0) << depth;
    EXPECT_EQ(DibIsCanonical(down.get(), kNone), 0) << depth;
  }
  DibPtr deep(DibCreate(4, 4, 0, 0, 32));
  EXPECT_EQ(DibIsCanonical(deep.get(), kNone), 3);
}

TEST(Canonical, PalettesAndColourCounts) {
  DibPtr grey(DibCreate(8, 2, 0, 0, 8));
  grey->PalPtr()[77].rgbGreen = 78;
  EXPECT_EQ(DibIsCanonical(grey.get(), kNone), 1);
  grey->PalPtr()[77].rgbGreen = 77;
  grey->PalPtr()[77].rgbReserved = 9;  // not looked at
  EXPECT_EQ(DibIsCanonical(grey.get(), kNone), 0);
  grey->biClrUsed = 255;
  EXPECT_EQ(DibIsCanonical(grey.get(), kNone), 1);
  grey->biClrUsed = 256;
  EXPECT_EQ(DibIsCanonical(grey.get(), kNone), 0);

  DibPtr bw(DibCreate(8, 2, 0, 0, 1));
  std::swap(bw->PalPtr()[0], bw->PalPtr()[1]);  // white, black
  EXPECT_EQ(DibIsCanonical(bw.get(), kNone), 1);
  std::swap(bw->PalPtr()[0], bw->PalPtr()[1]);
  bw->biClrUsed = 0;
  EXPECT_EQ(DibIsCanonical(bw.get(), kNone), 0);
  bw->biClrUsed = 1;
  EXPECT_EQ(DibIsCanonical(bw.get(), kNone), 1);

  DibPtr colour(DibCreate(8, 2, 0, 0, 24));
  colour->biClrUsed = 16;
  EXPECT_EQ(DibIsCanonical(colour.get(), kNone), 1);
}

// One fault at a time on a canonical 24-bit record, then two faults to show which wins.
TEST(Canonical, HeaderFaultsAndTheirOrder) {
  DibPtr dib(DibCreate(10, -6, 100, 100, 24));
  tagBITMAPINFOHEADER const good = *dib;
  auto grade = [&](auto change) {
    static_cast<tagBITMAPINFOHEADER&>(*dib) = good;
    change(static_cast<tagBITMAPINFOHEADER&>(*dib));
    return DibIsCanonical(dib.get(), kNone);
  };
  using H = tagBITMAPINFOHEADER;
  EXPECT_EQ(grade([](H& h) { h.biSize = 124; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biPlanes = 2; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biXPelsPerMeter = -1; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biYPelsPerMeter = -1; }), 2);
  for (uint32_t c : {1u, 2u, 3u, 4u, 5u}) EXPECT_EQ(grade([c](H& h) { h.biCompression = c; }), 3) << c;
  EXPECT_EQ(grade([](H& h) { h.biCompression = 6; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biWidth = 0; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biWidth = -10; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biHeight = 0; h.biSizeImage = 0; }), 2);  // not by the size check
  EXPECT_EQ(grade([](H& h) { h.biWidth = 65536; h.biSizeImage = 0; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biWidth = 65535; h.biHeight = -65535; h.biSizeImage = 0; }), 0);
  EXPECT_EQ(grade([](H& h) { h.biHeight = -65536; h.biSizeImage = 0; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biHeight = INT32_MIN; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biSizeImage += 1; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biSizeImage = 0; }), 0);
  EXPECT_EQ(grade([](H& h) { h.biBitCount = 16; h.biSizeImage = 0; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biBitCount = 4; h.biSizeImage = 0; h.biClrUsed = 0; }), 3);
  // Earlier checks decide: header size before planes, planes before compression,
  // compression before size, size before the byte count, the byte count before row order.
  EXPECT_EQ(grade([](H& h) { h.biSize = 12; h.biPlanes = 0; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biPlanes = 0; h.biCompression = 3; }), 2);
  EXPECT_EQ(grade([](H& h) { h.biCompression = 1; h.biWidth = 0; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biWidth = 70000; h.biSizeImage = 5; }), 3);
  EXPECT_EQ(grade([](H& h) { h.biSizeImage = 5; h.biBitCount = 32; }), 2);
  static_cast<tagBITMAPINFOHEADER&>(*dib) = good;
  dib->biSizeImage = 7;
  EXPECT_EQ(DibIsCanonical(dib.get(), DibDirectionBottomUp), 2);
}
