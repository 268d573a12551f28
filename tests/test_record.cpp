// The record: creators, accessors, row mapping, release, the block registry.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "quilp32.h"
#include "record/create.h"
#include "record/global_block.h"
#include "support/images.h"

using namespace testing_support;

TEST(Record, CreatorsWriteTheStandardHeaderAndPalette) {
  struct Case { int depth, width, stride, colours; };
  for (Case c : {Case{1, 33, 8, 2}, Case{8, 5, 8, 256}, Case{24, 5, 16, 0}, Case{32, 5, 20, 0}}) {
    SCOPED_TRACE(c.depth);
    DibPtr dib(DibCreate(c.width, 3, 100, 200, c.depth));
    ASSERT_TRUE(dib);
    EXPECT_EQ(dib->biSize, 40u);
    EXPECT_EQ(dib->biPlanes, 1);
    EXPECT_EQ(dib->biCompression, 0u);
    EXPECT_EQ(dib->ByteWidth(), c.stride);
    EXPECT_EQ(dib->biSizeImage, uint32_t(3 * c.stride));
    EXPECT_EQ(dib->NumColors(), c.colours);
    EXPECT_EQ(dib->PaletteSize(), 4 * c.colours);
    EXPECT_EQ(dib->BitsPerPixel(), c.depth);
    EXPECT_EQ(dib->XPelsPerMeter(), 100);
    EXPECT_EQ(dib->YPelsPerMeter(), 200);
    EXPECT_EQ(dib->BitsPtr(), reinterpret_cast<unsigned char*>(dib.get()) + 40 + 4 * c.colours);
    EXPECT_EQ(dib->biClrUsed, c.depth == 1 ? 2u : 0u);
    EXPECT_EQ(dib->biClrImportant, c.depth == 1 ? 2u : 0u);
    for (uint32_t i = 0; i < dib->biSizeImage; ++i) ASSERT_EQ(dib->BitsPtr()[i], 0);
  }
  DibPtr one(DibCreate(8, 1, 0, 0, 1)), grey(DibCreate(8, 1, 0, 0, 8));
  EXPECT_EQ(one->PalPtr()[0].rgbRed, 0);
  EXPECT_EQ(one->PalPtr()[1].rgbGreen, 255);
  for (int i = 0; i < 256; ++i) {
    tagRGBQUAD const q = grey->PalPtr()[i];
    ASSERT_TRUE(q.rgbBlue == i && q.rgbGreen == i && q.rgbRed == i && q.rgbReserved == 0);
  }
}

TEST(Record, UnsupportedDepthsAndBadSizesGiveNull) {
  EXPECT_EQ(DibCreate(4, 4, 0, 0, 4), nullptr);
  EXPECT_EQ(DibCreate(4, 4, 0, 0, 16), nullptr);
  EXPECT_EQ(DibCreate(-1, 4, 0, 0, 8), nullptr);
  EXPECT_EQ(DibCreate(70000, 70000, 0, 0, 32), nullptr);  // beyond 4 GiB
  EXPECT_EQ(DibCreate(INT32_MAX, 0, 0, 0, 8), nullptr);    // a row ByteWidth() cannot hold
  if (sizeof(void*) == 4) {  // beyond the 2 GiB a 32-bit process can address in one block
    EXPECT_EQ(DibCreate(65535, 65535, 0, 0, 8), nullptr);
  }
  // A host's header may claim any palette: the size saturates instead of overflowing.
  DibInfo header;
  header.biClrUsed = 1u << 29;
  EXPECT_EQ(header.PaletteSize(), INT32_MAX);
  header.biPlanes = header.biBitCount = 65535;  // found by fuzzing the canonical check
  EXPECT_EQ(header.BitsPerPixel(), INT32_MAX);
  DibPtr model(DibCreate(4, 4, 0, 0, 24));
  EXPECT_EQ(DibCreate(model.get(), 16), nullptr);
  EXPECT_EQ(DibCreate(nullptr, 8), nullptr);
}

TEST(Record, ModelBasedCreationKeepsGeometryNotPixels) {
  DibPtr model = RandomDib(7, 5, 24, true, 1);
  model->biXPelsPerMeter = 11811;
  DibPtr same(DibCreate(model.get(), 0));
  ASSERT_TRUE(same);
  EXPECT_EQ(same->biBitCount, 24);
  EXPECT_EQ(same->biWidth, 7);
  EXPECT_EQ(same->biHeight, -5);
  EXPECT_EQ(same->XPelsPerMeter(), 11811);
  for (uint32_t i = 0; i < same->biSizeImage; ++i) ASSERT_EQ(same->BitsPtr()[i], 0);
  DibPtr one(DibCreate(model.get(), 1));
  ASSERT_TRUE(one);
  EXPECT_EQ(one->biBitCount, 1);
  EXPECT_EQ(one->biHeight, -5);
}

TEST(Record, RowMappingFollowsTheSignOfTheHeight) {
  DibPtr up(DibCreate(9, 4, 0, 0, 8)), down(DibCreate(9, -4, 0, 0, 8));
  EXPECT_EQ(up->Height(), 4);
  EXPECT_EQ(down->Height(), 4);
  EXPECT_EQ(down->GetLine(0), down->BitsPtr());
  EXPECT_EQ(down->GetLine(3), down->BitsPtr() + 3 * 12);
  EXPECT_EQ(up->GetLine(3), up->BitsPtr());
  EXPECT_EQ(up->GetLine(0), up->BitsPtr() + 3 * 12);
  for (DibInfo* d : {up.get(), down.get()}) {
    EXPECT_EQ(d->GetLine(4), nullptr);
    EXPECT_EQ(d->GetLine(-1), nullptr);
  }
  DibPtr empty(DibCreate(5, 0, 0, 0, 8));
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->Height(), 0);
  EXPECT_EQ(empty->GetLine(0), nullptr);
}

TEST(Record, FreeRefusesWhatIsNotALiveRecord) {
  DibInfo* none = nullptr;
  EXPECT_FALSE(DibFree(none));
  DibInfo* dib = DibCreate(3, 3, 0, 0, 8);
  DibInfo* alias = dib;
  EXPECT_TRUE(DibFree(dib));
  EXPECT_EQ(dib, nullptr);
  EXPECT_FALSE(DibFree(dib));
  EXPECT_FALSE(DibFree(alias));  // released already: untouched, still false
  EXPECT_EQ(alias != nullptr, true);
  DibInfo local{};
  DibInfo* stack = &local;
  EXPECT_FALSE(DibFree(stack));
  EXPECT_EQ(stack, &local);
  DibInfo* live = DibCreate(3, 3, 0, 0, 8);
  DibInfo* inside = reinterpret_cast<DibInfo*>(live->BitsPtr());
  EXPECT_FALSE(DibFree(inside));
  EXPECT_TRUE(DibFree(live));
}

TEST(Record, BlocksCarryZeroedSlackAroundThePixels) {
  // Slack of at least one row plus one pixel on both sides, so one-beyond reads stay inside;
  // recycled blocks come back with zeroed pixels too.
  for (int pass = 0; pass < 2; ++pass) {  // the second pass gets recycled blocks
    for (int h : {-3, 3}) {
      DibPtr dib(DibCreate(1500, h * 300, 0, 0, 24));
      ASSERT_TRUE(dib);
      int const stride = dib->ByteWidth();
      unsigned char const* before = reinterpret_cast<unsigned char const*>(dib.get());
      unsigned char const* after = dib->BitsPtr() + dib->biSizeImage;
      for (int i = 1; i <= stride + 4; ++i) ASSERT_EQ(before[-i], 0) << i;
      for (int i = 0; i < stride + 4; ++i) ASSERT_EQ(after[i], 0) << i;
      for (uint32_t k = 0; k < dib->biSizeImage; k += 4093) ASSERT_EQ(dib->BitsPtr()[k], 0) << k;
      std::memset(dib->BitsPtr(), 0xAB, dib->biSizeImage);  // dirty it for the next pass
    }
  }
}

// A record that leaves its pixels to the caller, made from a dirty recycled block larger than
// it needs: the slack on both sides and the row padding are still zero.
TEST(Record, UnclearedRecordsFromLargerRecycledBlocksKeepZeroSlackAndPadding) {
  for (int height : {-1000, 1000}) {
    DibInfo* big = DibCreate(2001, 1200, 0, 0, 24);
    ASSERT_TRUE(big);
    std::memset(big->BitsPtr(), 0xC3, big->biSizeImage + 64);  // pixels and the slack after
    DibFree(big);
    DibPtr dib(quilp::DibCreateForOverwrite(2001, height, 0, 0, 24));  // fits the spare
    ASSERT_TRUE(dib);
    int const stride = dib->ByteWidth(), used = 3 * 2001;
    unsigned char const* bits = dib->BitsPtr();
    unsigned char const* before = reinterpret_cast<unsigned char const*>(dib.get());
    for (int i = 1; i <= stride + 4; ++i) ASSERT_EQ(before[-i], 0) << i;
    for (int i = 0; i < stride + 4; ++i) ASSERT_EQ(bits[dib->biSizeImage + i], 0) << i;
    for (int y = 0; y < 1000; ++y)
      for (int x = used; x < stride; ++x) ASSERT_EQ(bits[y * stride + x], 0) << y << "," << x;
  }
}

TEST(Record, ConcurrentCreationAndReleaseKeepTheRegistryConsistent) {
  std::size_t const before = quilp::block::LiveCount();
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &failures] {
      std::vector<DibInfo*> mine;
      for (int i = 0; i < 400; ++i) {
        mine.push_back(DibCreate(16 + i % 50, (i % 2 ? 1 : -1) * (1 + t), 0, 0, 8));
        if (i % 3 == 0) {
          DibInfo* alias = mine.front();
          if (!DibFree(mine.front())) ++failures;
          if (DibFree(alias)) ++failures;  // a second release must be refused
          mine.erase(mine.begin());
        }
      }
      for (DibInfo*& d : mine)
        if (!DibFree(d)) ++failures;
    });
  for (auto& th : threads) th.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(quilp::block::LiveCount(), before);
}

TEST(BlockLayer, FlagsLocksAndStaleHandles) {
  using namespace quilp::block;
  Handle h = Alloc(kMoveable | kZeroInit, 100);
  ASSERT_NE(h, 0u);
  EXPECT_EQ(Flags(h), 0u);
  void* p = Lock(h);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(Lock(h), p);
  EXPECT_EQ(Flags(h), 2u);
  EXPECT_EQ(FromAddress(p), h);
  EXPECT_EQ(FromAddress(static_cast<char*>(p) + 1), 0u);
  EXPECT_TRUE(Unlock(h));
  EXPECT_TRUE(Unlock(h));
  EXPECT_FALSE(Unlock(h));
  EXPECT_TRUE(Free(h));
  EXPECT_EQ(Flags(h), kInvalidHandle);
  EXPECT_FALSE(Free(h));
  EXPECT_EQ(Lock(h), nullptr);
  Handle const again = Alloc(kZeroInit, 100);
  EXPECT_NE(again, h);  // handles are never reused
  EXPECT_TRUE(Free(again));
  // Sizes whose rounding or slack would wrap the word are refused on either word size.
  EXPECT_EQ(Alloc(0, SIZE_MAX - 8), 0u);
  EXPECT_EQ(Alloc(0, 16, SIZE_MAX - 8), 0u);
  EXPECT_EQ(Alloc(0, SIZE_MAX / 2, SIZE_MAX / 4), 0u);
}
