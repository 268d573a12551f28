// The two rectangle rules, seen through the grey conversions that use them.
#include <gtest/gtest.h>

#include "quilp32.h"
#include "record/rect.h"
#include "support/images.h"

using namespace testing_support;
using quilp::Area;

TEST(RectRules, ClampCutsToTheImageAndFailsOnlyWhenEmpty) {
  DibPtr dib = RandomDib(10, 6, 8, false, 1);
  Area a;
  ASSERT_TRUE(quilp::ClampRect(dib.get(), nullptr, a));
  EXPECT_EQ(a.width, 10);
  EXPECT_EQ(a.height, 6);
  tagRect32 big{-5, -5, 100, 100};
  ASSERT_TRUE(quilp::ClampRect(dib.get(), &big, a));
  EXPECT_TRUE(a.left == 0 && a.top == 0 && a.width == 10 && a.height == 6);
  tagRect32 inner{2, 1, 4, 1};
  ASSERT_TRUE(quilp::ClampRect(dib.get(), &inner, a));
  EXPECT_TRUE(a.left == 2 && a.top == 1 && a.width == 3 && a.height == 1);
  for (tagRect32 bad : {tagRect32{-9, 0, -1, 5}, tagRect32{10, 0, 12, 5}, tagRect32{4, 0, 3, 5},
                        tagRect32{INT32_MIN, INT32_MIN, INT32_MIN, INT32_MAX}}) {
    EXPECT_FALSE(quilp::ClampRect(dib.get(), &bad, a));
  }
}

TEST(RectRules, ExactFitKeepsTheRequestedSizeOrFails) {
  DibPtr dib = RandomDib(10, 6, 24, false, 2);
  Area a;
  ASSERT_TRUE(quilp::ExactFitRect(dib.get(), nullptr, a));
  EXPECT_TRUE(a.width == 10 && a.height == 6);
  tagRect32 edge{0, 0, 10, 5};  // right == Width passes: one column beyond
  ASSERT_TRUE(quilp::ExactFitRect(dib.get(), &edge, a));
  EXPECT_EQ(a.width, 11);
  tagRect32 bottom{0, 0, 9, 6};
  ASSERT_TRUE(quilp::ExactFitRect(dib.get(), &bottom, a));
  EXPECT_EQ(a.height, 7);
  for (tagRect32 bad : {tagRect32{0, 0, 11, 5}, tagRect32{-1, 0, 3, 3}, tagRect32{5, 0, 3, 3},
                        tagRect32{INT32_MIN, 0, INT32_MAX, 3}}) {
    EXPECT_FALSE(quilp::ExactFitRect(dib.get(), &bad, a));
  }
}

TEST(RectRules, ExportsApplyTheirRule) {
  DibPtr dib = RandomDib(10, 6, 24, true, 3);
  unsigned char const c[3] = {10, 200, 30};
  tagRect32 big{-2, -2, 20, 20};
  DibInfo* grey = DibRGB2Grey(dib.get(), &c, &big);
  ASSERT_NE(grey, nullptr);
  EXPECT_EQ(grey->Width(), 10);
  EXPECT_EQ(grey->Height(), 6);
  DibFree(grey);
  EXPECT_EQ(DibRGB2GreyX(dib.get(), &c, 0, &big), nullptr);
  EXPECT_EQ(DibRGB2GreyN(dib.get(), &c, &big), nullptr);
  tagRect32 left{-9, 0, -1, 5};
  EXPECT_EQ(DibRGB2Grey(dib.get(), &c, &left), nullptr);
  // Exact fit reaching one column and one row beyond: processed as given, reads stay in slack.
  for (bool topDown : {false, true}) {
    DibPtr page = RandomDib(10, 6, 24, topDown, 4);
    tagRect32 edge{0, 0, 10, 6};
    DibInfo* beyond = DibRGB2GreyX(page.get(), &c, 0, &edge);
    ASSERT_NE(beyond, nullptr);
    EXPECT_EQ(beyond->Width(), 11);
    EXPECT_EQ(beyond->Height(), 7);
    DibFree(beyond);
  }
}
