// Thread stress: 8 threads run a mix of exports on shared sources, each in its own order, and
// every result must equal the one-thread result computed afterwards. The threads run first,
// so in a process that runs this test alone (scripts/thread_stress.sh, under ThreadSanitizer)
// they also race to build the tables made on first use. The Hough block trio is left out: it
// is documented as not re-entrant.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/images.h"
#include "support/made_pages.h"

using namespace testing_support;

namespace {

// A result as bytes: a record's header, palette and pixels, or a number's text.
std::string Bytes(DibInfo* dib) {
  if (!dib) return "null";
  std::string s(reinterpret_cast<char const*>(dib), 40 + dib->PaletteSize() + dib->biSizeImage);
  DibFree(dib);
  return s;
}

std::vector<std::function<std::string()>> Operations(DibInfo* grey, DibInfo* colour,
                                                    DibInfo* bits) {
  return {
      [=] { return Bytes(DibRGB2Grey(colour, nullptr, nullptr)); },
      [=] { return Bytes(DibBinarizeOtsu(grey, 3, 0, 1, false, nullptr)); },
      [=] {
        unsigned char const keep[1][3] = {{0, 0, 0}}, drop[1][3] = {{40, 40, 200}};
        return Bytes(DibSupressColors(colour, 1, keep, 1, drop, nullptr));
      },
      [=] {
        DibInfo* out = nullptr;
        int const code = DibCompressBits(out, colour, 20, 0.01, 0.05, nullptr);
        return std::to_string(code) + Bytes(out);
      },
      [=] {
        std::string all;
        for (int oper : {256, 258, 265, 266, 268}) {
          DibInfo* out = nullptr;
          int const code = DibFilterGreyEx(out, grey, oper, 512, 512, 0, 0, nullptr, nullptr, nullptr);
          all += std::to_string(code) + (code >= 0 ? Bytes(out) : "");
        }
        return all;
      },
      [=] {
        DibInfo* out = nullptr;
        return std::to_string(DibErodeDilate(out, bits, -3, nullptr)) + Bytes(out);
      },
      [=] {
        DibInfo* out = nullptr;
        int const code = DibConvertDepthEx(out, grey, 1, 2, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
        return std::to_string(code) + (code >= 0 ? Bytes(out) : "");
      },
      [=] {
        DibInfo* out = nullptr;
        return std::to_string(DibDownscale(out, colour, 3, 2, 0, nullptr)) + Bytes(out);
      },
      [=] {
        double angle = 0.0;
        int skew = 0;
        bool const a = DibHoughGetAngle(angle, grey, 0, nullptr);
        bool const b = DibSmartGetAngle(skew, grey, 2, 2, nullptr);
        return std::to_string(a) + std::to_string(angle) + std::to_string(b) + std::to_string(skew);
      },
      [=] {
        SDibDifferSetup const setup = {-1, -1, 0, 3, 0, 0, 0};
        double v[3];
        DibComputeVariance(colour, nullptr, v);
        return std::to_string(DibDiffer(grey, grey, nullptr, nullptr, setup)) +
               std::to_string(v[0] + v[1] + v[2]);
      },
  };
}

}  // namespace

TEST(ThreadStress, EightThreadsAgreeWithOne) {
  DibPtr grey = ShadedTextPage(301, 203, 0.6);
  DibPtr colour = RandomDib(150, 97, 24, false, 7);
  DibInfo* bitsOut = nullptr;
  ASSERT_EQ(DibConvertDepthEx(bitsOut, grey.get(), 1, 0, 128, 0, 0, nullptr, nullptr, nullptr,
                              nullptr),
            0);
  DibPtr bits(bitsOut);
  auto const ops = Operations(grey.get(), colour.get(), bits.get());
  std::size_t const n = ops.size();
  constexpr int kThreads = 8, kRounds = 2;
  std::vector<std::vector<std::string>> got(kThreads, std::vector<std::string>(n));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round)
        for (std::size_t i = 0; i < n; ++i) {
          std::size_t const op = (i * 7 + std::size_t(t) * 3 + std::size_t(round)) % n;
          got[std::size_t(t)][op] = ops[op]();
        }
    });
  for (auto& th : threads) th.join();
  for (std::size_t op = 0; op < n; ++op) {
    std::string const want = ops[op]();
    for (int t = 0; t < kThreads; ++t)
      EXPECT_TRUE(got[std::size_t(t)][op] == want) << "operation " << op << ", thread " << t;
  }
}
