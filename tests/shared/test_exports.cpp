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
