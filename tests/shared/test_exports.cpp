// The shared library seen as a host sees it: the exports link and work, internals do not leak.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "quilp32.h"

TEST(SharedLibrary, ExportsWorkThroughTheDynamicLibrary) {
  DibInfo* dib = DibCreate(10, -4, 3937, 3937, 24);
  ASSERT_NE(dib, nullptr);
  unsigned char const colour[3] = {1, 1, 1};
  DibInfo* grey = DibRGB2Grey(dib, &colour, nullptr);
  ASSERT_NE(grey, nullptr);
  EXPECT_EQ(grey->Width(), 10);
  EXPECT_TRUE(DibFree(grey));
  EXPECT_TRUE(DibFree(dib));
  EXPECT_FALSE(DibFree(dib));
}

TEST(SharedLibrary, InternalSymbolsAreHidden) {
  void* self = dlopen(nullptr, RTLD_NOW);
  ASSERT_NE(self, nullptr);
  // An exported operation is visible; an internal creator is not.
  EXPECT_NE(dlsym(RTLD_DEFAULT, "_Z7DibFreeRP7DibInfo"), nullptr);
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "_ZN5quilp10DibCreate8Eiiii"), nullptr);
  dlclose(self);
}

TEST(SharedLibrary, ColourFilterMatchAndTextExportsLink) {
  DibInfo* page = DibCreate(24, 16, 0, 0, 8);
  ASSERT_NE(page, nullptr);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 24; ++x) page->GetLine(y)[x] = static_cast<unsigned char>((x * 37 + y * 11) % 251);
  char text[512];
  EXPECT_EQ(DibSprintGrey(page, nullptr, 0, text, sizeof text), 16 * 25);
  tagRect32 zone = {4, 3, 11, 10};
  double x = 0, y = 0, score = 0;
  EXPECT_TRUE(DibMatchZone(page, &zone, page, nullptr, x, y, score));
  DibInfo* smooth = DibSmooth(page, 0, 3, 0, nullptr);
  EXPECT_NE(smooth, nullptr);
  EXPECT_TRUE(DibFree(smooth));
  EXPECT_EQ(DibSeparate(page, 0, 4, nullptr, nullptr, nullptr, nullptr), -1);  // grey: refused
  EXPECT_TRUE(DibFree(page));
}
