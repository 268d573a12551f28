// "quilp clean" as a user meets it: a folder and a multi-page TIFF in, named pages out; bad files
// counted and the batch going on; skip, overwrite and the input never overwritten; the report;
// borders removed and the depth chosen; Ctrl-C leaving only whole files.
#include <gtest/gtest.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>

#include "bmp_files.h"
#include "cli_runner.h"
#include "pages/page_maker.h"
#include "quilp32.h"

using namespace cli_test;

namespace {

DibPtr Page(int bits, double skew, uint32_t seed, int width = 500, int height = 360, int dpi = 150) {
  return DibPtr(quilp_pages::MakePage({.width = width, .height = height, .dpi = dpi,
                                       .bitCount = bits, .skewDegrees = skew, .photo = false,
                                       .seed = seed}));
}

// A TIFF of uncompressed 8-bit grey pages, written here byte by byte (so the tool reads a file
// it did not write): header, then per page its rows and a 12-entry directory. Page `damaged`
// (from 0) gets pixel data beyond the end of the file.
void WriteGreyTiff(std::string const& name, std::vector<DibInfo const*> const& pages, int damaged = -1) {
  std::string f = std::string("II*\0", 4) + std::string(4, '\0');
  auto put = [&f](std::size_t at, uint32_t v, int n) { for (int i = 0; i < n; ++i) f[at + i] = char(v >> (8 * i)); };
  std::size_t link = 4;  // where the previous directory's "next" offset goes
  for (DibInfo const* p : pages) {
    uint32_t const w = uint32_t(p->Width()), h = uint32_t(p->Height()), pixels = uint32_t(f.size());
    for (uint32_t y = 0; y < h; ++y) f.append(reinterpret_cast<char const*>(p->GetLine(int(y))), w);
    uint32_t const rational = uint32_t(f.size());
    f.append(std::string("\x96\0\0\0\x01\0\0\0", 8));  // 150 / 1
    if (f.size() % 2) f += '\0';
    uint32_t const dir = uint32_t(f.size());
    put(link, dir, 4);
    uint16_t const tags[][2] = {{256, 4}, {257, 4}, {258, 3}, {259, 3}, {262, 3}, {273, 4},
                                {277, 3}, {278, 4}, {279, 4}, {282, 5}, {283, 5}, {296, 3}};
    bool const lost = damaged-- == 0;
    uint32_t const values[] = {w, h, 8, 1, 1, lost ? 0x7FFFFF00u : pixels, 1, h, w * h, rational, rational, 2};
    f.append(2 + 12 * 12 + 4, '\0');
    put(dir, 12, 2);
    for (int i = 0; i < 12; ++i) {
      std::size_t const e = dir + 2 + 12 * std::size_t(i);
      put(e, tags[i][0], 2);
      put(e + 2, tags[i][1], 2);
      put(e + 4, 1, 4);
      put(e + 8, values[i], 4);
    }
    link = dir + 2 + 12 * 12;
  }
  WriteFile(name, f);
}

std::set<std::string> Listing(std::string const& folder) {
  std::set<std::string> names;
  if (DIR* d = opendir(WorkPath(folder).c_str())) {
    while (dirent const* e = readdir(d))
      if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, "..")) names.insert(e->d_name);
    closedir(d);
  }
  return names;
}

}  // namespace

TEST(CliClean, BatchNamesPagesSkipsOverwritesAndCountsFailures) {
  mkdir(WorkPath("cb-in").c_str(), 0777);
  WriteBmpFile("cb-in/a.bmp", Page(24, 2.0, 1).get());
  WriteBmpFile("cb-in/b.bmp", Page(8, -1.0, 2).get());
  DibPtr p1 = Page(8, 0.0, 3), p2 = Page(8, 0.0, 4);
  WriteGreyTiff("cb-in/c.tif", {p1.get(), p2.get()});
  WriteFile("cb-in/d.png", "not a picture at all, whatever its name says");
  WriteFile("cb-in/notes.txt", "not an image file name: left alone");

  Outcome first = Quilp("clean cb-in -o cb-out --jobs 2 --report cb.json");
  EXPECT_EQ(first.status, 1) << first.err;
  EXPECT_EQ(Count(first.err, "d.png"), 1) << first.err;
  EXPECT_NE(first.err.find("cleaned 4 pages, skipped 0, failed 1"), std::string::npos) << first.err;
  EXPECT_EQ(Listing("cb-out"), (std::set<std::string>{"a.png", "b.png", "c-p001.png", "c-p002.png"}));
  std::string const json = ReadFile("cb.json");
  EXPECT_EQ(Count(json, "\"status\": \"cleaned\""), 4) << json;
  EXPECT_EQ(Count(json, "\"status\": \"failed\""), 1) << json;
  EXPECT_NE(json.find("\"bits\": 1"), std::string::npos) << json;

  Outcome again = Quilp("clean cb-in -o cb-out");
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("cleaned 0 pages, skipped 4, failed 1"), std::string::npos) << again.err;
  Outcome forced = Quilp("clean cb-in/a.bmp cb-in/c.tif -o cb-out --overwrite --grey");
  EXPECT_EQ(forced.status, 0) << forced.err;
  EXPECT_EQ(Count(forced.out, " bits, "), 3) << forced.out;  // three grey pages

  std::string const before = ReadFile("cb-in/a.bmp");
  Outcome self = Quilp("clean cb-in/a.bmp -o cb-in/a.bmp --overwrite --format bmp");
  EXPECT_EQ(self.status, 1);
  EXPECT_NE(self.err.find("never overwritten"), std::string::npos) << self.err;
  EXPECT_EQ(ReadFile("cb-in/a.bmp"), before);

  // A multi-page input becomes one multi-page output, which reads back as two pages.
  ASSERT_EQ(Quilp("clean cb-in/c.tif -o cb-multi.tif --multipage").status, 0);
  ASSERT_EQ(Quilp("clean cb-multi.tif -o cb-back").status, 0);
  EXPECT_EQ(Listing("cb-back"), (std::set<std::string>{"cb-multi-p001.png", "cb-multi-p002.png"}));
  for (char const* folder : {"cb-out", "cb-back"})
    for (std::string const& name : Listing(folder)) EXPECT_NE(name[0], '.') << "left behind: " << name;
}

// The pages of one multi-page file go to the workers one by one: each lands under its own
// number (the widths tell them apart) and a damaged page fails alone.
TEST(CliClean, MultiPageFileIsCleanedPageByPage) {
  std::vector<DibPtr> pages;
  std::vector<DibInfo const*> list;
  for (int i = 0; i < 6; ++i) {
    pages.push_back(Page(8, 0.5, 20 + uint32_t(i), 300 + 16 * i, 240));
    list.push_back(pages.back().get());
  }
  WriteGreyTiff("cm-in.tif", list, 2);
  Outcome r = Quilp("clean cm-in.tif -o cm-out --jobs 2 --no-orient --grey");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("cleaned 5 pages, skipped 0, failed 1"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("page 3"), std::string::npos) << r.err;
  std::set<std::string> const written = Listing("cm-out");
  EXPECT_EQ(written.size(), 5u);
  EXPECT_EQ(written.count("cm-in-p003.png"), 0u);
  for (int i : {0, 1, 3, 4, 5}) {
    char name[32];
    std::snprintf(name, sizeof name, "cm-out/cm-in-p%03d.png", i + 1);
    Outcome info = Quilp(std::string("info ") + name);
    EXPECT_NE(info.out.find(std::to_string(300 + 16 * i) + " x 240"), std::string::npos) << info.out;
  }
}

// At 300 dpi the marks are found on a half-size copy: an odd-sized page checks that they are
// cleared to the last column and row.
TEST(CliClean, BorderAndHoleGoTextStaysAndDepthFollowsTheChoice) {
  DibPtr page = Page(24, 0.0, 5, 1001, 701, 300);
  for (int y = 0; y < page->Height(); ++y) std::memset(page->GetLine(y), 20, 3 * 24);  // dark left strip
  auto inHole = [](int x, int y) { return (x - 60) * (x - 60) + (y - 350) * (y - 350) <= 30 * 30; };
  for (int y = 0; y < page->Height(); ++y)
    for (int x = 0; x < 100; ++x)
      if (inHole(x, y)) std::memset(page->GetLine(y) + 3 * x, 25, 3);
  WriteBmpFile("cd-page.bmp", page.get());
  struct Case { char const* flags; int bits; };
  Case const cases[] = {{"", 1}, {"--grey", 8}, {"--keep-colour", 24}, {"--auto-depth", 24}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.flags);
    Outcome r = Quilp(std::string("clean cd-page.bmp -o cd-out.bmp --overwrite --no-deskew --no-orient ") + c.flags);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("border removed, 1 hole removed"), std::string::npos) << r.out;
    DibPtr out(ReadBmpFile("cd-out.bmp"));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->BitsPerPixel(), c.bits);
    ASSERT_EQ(out->Width(), page->Width());
    long dark = 0, strip = 0;
    for (int y = 0; y < out->Height(); ++y)
      for (int x = 0; x < out->Width(); ++x) {
        bool const ink = c.bits == 1 ? !((out->GetLine(y)[x / 8] >> (7 - x % 8)) & 1)
                                     : out->GetLine(y)[x * c.bits / 8] < 128;
        dark += ink;
        strip += ink && (x < 24 || inHole(x, y));
      }
    EXPECT_EQ(strip, 0);
    EXPECT_GT(dark, 1000);  // the text is still there
  }
}

TEST(CliClean, InterruptedRunLeavesOnlyWholeFiles) {
  mkdir(WorkPath("ci-in").c_str(), 0777);
  DibPtr page = Page(24, 1.0, 6, 1200, 900);
  for (int i = 0; i < 40; ++i) WriteBmpFile("ci-in/p" + std::to_string(100 + i) + ".bmp", page.get());
  // Ctrl-C as soon as the first page is out.
  pid_t const child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (chdir(WorkPath("").c_str()) != 0) _exit(99);
    int const err = open("ci-stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644), out = open("/dev/null", O_WRONLY);
    dup2(err, 2);
    dup2(out, 1);
    execl(QUILP_TOOL, QUILP_TOOL, "clean", "ci-in", "-o", "ci-out", "--jobs", "1", static_cast<char*>(nullptr));
    _exit(98);
  }
  struct stat st;
  for (int i = 0; i < 6000 && stat(WorkPath("ci-out/p100.png").c_str(), &st) != 0; ++i) usleep(5000);
  kill(child, SIGINT);
  int raw = 0;
  waitpid(child, &raw, 0);
  ASSERT_TRUE(WIFEXITED(raw));
  EXPECT_EQ(WEXITSTATUS(raw), 130);
  EXPECT_NE(ReadFile("ci-stderr.txt").find("interrupted"), std::string::npos);
  std::set<std::string> const written = Listing("ci-out");
  EXPECT_LT(written.size(), 40u);
  for (std::string const& name : written) {
    EXPECT_NE(name[0], '.') << "left behind: " << name;
    EXPECT_EQ(Quilp("info ci-out/" + name).status, 0) << name;
  }
}

// The page maker's red ring stamp: dropped by default (the 1-bit page then carries no more ink
// than the same page without it; the text the opaque ring covers is lost), read as ink with
// --no-dropout.
TEST(CliClean, StampIsDroppedUnlessAskedToKeepIt) {
  quilp_pages::PageSpec layout;
  layout.width = 700, layout.height = 500, layout.dpi = 150, layout.photo = false, layout.seed = 6;
  for (bool stamp : {false, true}) {
    layout.stamp = stamp;
    WriteBmpFile(stamp ? "cs-stamp.bmp" : "cs-plain.bmp", DibPtr(quilp_pages::MakePage(layout)).get());
  }
  auto ink = [&](char const* in, char const* flags) {
    Outcome r = Quilp(std::string("clean ") + in + " -o cs-out.bmp --overwrite --no-deskew --no-orient " + flags);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("colour dropped") != std::string::npos, !*flags) << r.out;
    DibPtr out(ReadBmpFile("cs-out.bmp"));
    long n = 0;
    for (int y = 0; out && y < out->Height(); ++y)
      for (int x = 0; x < out->Width(); ++x) n += !((out->GetLine(y)[x / 8] >> (7 - x % 8)) & 1);
    return n;
  };
  long const text = ink("cs-plain.bmp", "");
  ASSERT_GT(text, 5000);
  long const dropped = ink("cs-stamp.bmp", "");
  EXPECT_LE(dropped, text);
  EXPECT_GT(dropped, text - text / 10);
  EXPECT_GT(ink("cs-stamp.bmp", "--no-dropout"), text + text / 10);
}
