// quilp otsu and quilp binarize: levels printed, 1-bit files written, bad options refused.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include "bmp_files.h"
#include "cli_runner.h"
#include "quilp32.h"
#include "refusal.h"

using namespace cli_test;

namespace {

struct Pages {
  std::string grey, colour;
};

// 1,000 pixels at level 40 and 1,000 at 200 (Otsu threshold 121), and a colour copy.
Pages const& Files() {
  static Pages const pages = [] {
    DibInfo* grey = DibCreate(50, 40, 3937, 3937, 8);
    DibInfo* colour = DibCreate(50, 40, 3937, 3937, 24);
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 50; ++x) {
        unsigned char const v = y < 20 ? 40 : 200;
        unsigned char* c = colour->GetLine(y) + 3 * x;
        grey->GetLine(y)[x] = c[0] = c[1] = c[2] = v;
      }
    Pages p{WriteBmpFile("two-levels.bmp", grey), WriteBmpFile("two-levels-colour.bmp", colour)};
    DibFree(grey);
    DibFree(colour);
    return p;
  }();
  return pages;
}

// An output file name private to this process.
std::string Out(std::string const& name) { return std::to_string(getpid()) + "-" + name; }

bool Says(Outcome const& r, std::string const& text) {
  return r.out.find(text) != std::string::npos;
}

}  // namespace

TEST(CliBinarize, OtsuPrintsLevelsAndBinarizeWritesOneBit) {
  Pages const& p = Files();
  Outcome two = Quilp("otsu " + p.grey);
  ASSERT_EQ(two.status, 0) << two.err;
  EXPECT_TRUE(Says(two, "threshold 121")) << two.out;
  Outcome three = Quilp("otsu " + p.grey + " --classes 3 --rect 0,0,49,39");
  ASSERT_EQ(three.status, 0) << three.err;
  EXPECT_TRUE(Says(three, "levels ")) << three.out;
  std::string const bw = Out("bw.bmp");
  for (std::string const& args :
       {p.grey + " " + bw + " --threshold 100",
        p.grey + " " + bw + " --otsu --classes 3 --band 1:2 --ignore-extremes",
        p.colour + " " + bw + " --band 0:1 --invert --rect 5,5,44,34"}) {
    SCOPED_TRACE(args);
    Outcome r = Quilp("binarize " + args);
    ASSERT_EQ(r.status, 0) << r.err;
    Outcome info = Quilp("info " + bw);
    ASSERT_EQ(info.status, 0) << info.err;
    EXPECT_TRUE(Says(info, "1 bits per pixel")) << info.out;
  }
  EXPECT_TRUE(Says(Quilp("info " + bw), "40 x 30"));
  // Depth conversion to 1 bit goes through the same binarization.
  Outcome convert = Quilp("convert " + p.colour + " " + Out("converted.bmp") + " --depth 1");
  ASSERT_EQ(convert.status, 0) << convert.err;
  EXPECT_TRUE(Says(Quilp("info " + Out("converted.bmp")), "1 bits per pixel"));
}

TEST(CliBinarize, BadOptionsGiveOneLine) {
  Pages const& p = Files();
  std::string out = " ";  // appended, not prepended: GCC 12 misreads the prepending form
  out += Out("refused.bmp");
  ExpectRefusal("otsu " + p.grey + " --classes 4", "2 or 3");
  ExpectRefusal("otsu " + p.colour + " --rect 0,0,60,10", "must lie inside");
  ExpectRefusal("binarize " + p.grey + out + " --classes 1", "2 or 3");
  ExpectRefusal("binarize " + p.grey + out + " --band 3:0", "--band");
  ExpectRefusal("binarize " + p.grey + out + " --band 1", "from:to");
  ExpectRefusal("binarize " + p.grey + out + " --threshold 9 --band 0:0", "does not combine");
  ExpectRefusal("binarize " + p.colour + out + " --threshold 9", "8-bit");
  ExpectRefusal("binarize " + p.grey + out + " --threshold x", "bad number");
  ExpectRefusal("binarize " + p.grey + out + " --rect 40,0,50,5", "must lie inside");
  ExpectRefusal("binarize " + p.grey, "missing output");
  ExpectRefusal("binarize " + p.grey + out + " --method otsu", "--method is");
  ExpectRefusal("binarize " + p.grey + out + " --method auto --k 0.5", "takes no");
  ExpectRefusal("binarize " + p.grey + out + " --method sauvola --invert", "does not combine");
  ExpectRefusal("binarize " + p.grey + out + " --window 15", "go with --method");
  ExpectRefusal("binarize " + p.grey + out + " --method niblack --window 45", "window larger");
}

TEST(CliBinarize, AdaptiveMethodsWriteOneBit) {
  Pages const& p = Files();
  std::string const bw = Out("adaptive.bmp");
  for (std::string const& args : {p.grey + " " + bw + " --method sauvola --window 15 --k 0.3",
                                  p.colour + " " + bw + " --method wolf --rect 0,0,29,29",
                                  p.grey + " " + bw + " --method auto"}) {
    SCOPED_TRACE(args);
    Outcome r = Quilp("binarize " + args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(Says(Quilp("info " + bw), "1 bits per pixel"));
  }
}


TEST(CliBinarize, DemoBinarizesItsPage) {
  std::string const folder = Out("demo-binarize");
  Outcome r = Quilp("demo " + folder);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(Says(r, "otsu threshold of the page")) << r.out;
  EXPECT_TRUE(Says(r, folder + "/binarized-otsu.bmp")) << r.out;
  EXPECT_TRUE(Says(Quilp("info " + folder + "/binarized-otsu.bmp"), "1 bits per pixel"));
  EXPECT_TRUE(Says(r, folder + "/shadow-faded-otsu-auto.bmp")) << r.out;
}
