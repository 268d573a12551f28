// cmd_zone.cpp - "quilp copy" and "quilp convert": zone copy, placement and depth change, and
// their demo step.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "quilp/cli.h"

namespace quilp_cli {
namespace {

// A clear error for a keyed-parameter call's failure code.
void CheckKeyedResult(int code, char const* what) {
  if (code >= 0) return;
  switch (code) {
    case -1:
      throw CliError(std::string(what) +
                     ": not accepted (rectangle outside the image, depth other than 1, 8, 24, 32, "
                     "or a base image of another depth or too small)");
    case -3: throw CliError(std::string(what) + ": out of memory");
    case -4: throw CliError(std::string(what) + ": this conversion is not available in this build");
    default: throw CliError(std::string(what) + " failed (code " + std::to_string(code) + ")");
  }
}

// A new image for a placed zone is origin plus zone in size. It may not exceed the source in
// either direction (a zone put back where it was on a blank page always fits; a larger canvas
// is given with --onto): a few pixels placed far out would otherwise ask for gigabytes.
void CheckPlacement(DibInfo const* src, tagRect32 const* rect, tagPoint32 const& at, int depth) {
  int64_t const w = src->Width(), h = src->Height();
  tagRect32 const r = rect ? *rect : tagRect32{0, 0, int32_t(w - 1), int32_t(h - 1)};
  int64_t const zoneW = std::min<int64_t>(r.right, w - 1) - std::max<int64_t>(r.left, 0) + 1;
  int64_t const zoneH = std::min<int64_t>(r.bottom, h - 1) - std::max<int64_t>(r.top, 0) + 1;
  if (zoneW <= 0 || zoneH <= 0) return;  // the library refuses the empty zone itself
  int64_t const outW = std::max<int64_t>(at.x, 0) + zoneW, outH = std::max<int64_t>(at.y, 0) + zoneH;
  std::string const size = std::to_string(outW) + " x " + std::to_string(outH);
  int64_t const bytes = (outW * depth + 31) / 32 * 4 * outH;
  if (bytes > int64_t{0xFFFFFFFF} - 1024)
    throw CliError("the placed image would be " + size + " pixels at " + std::to_string(depth) +
                   " bits, beyond the 4 GiB an image can hold");
  if (outW > w || outH > h)
    throw CliError("the placed image would be " + size + " pixels, larger than the " +
                   Describe(src) + " source; give a larger canvas with --onto");
}

// The base image to place into (--onto), or none.
Dib BaseImage(Args const& args) {
  return args.Has("onto") ? ReadBmp(args.Get("onto")) : Dib();
}

int RunCopy(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  tagPoint32 at;
  bool const placed = args.GetPoint("at", at);
  Dib base = BaseImage(args);  // keeps a given base image; the call never releases it
  DibInfo* dest = base.get();
  if (placed && !dest) CheckPlacement(src.get(), r, at, src->BitsPerPixel());
  if (!placed && !dest) {
    if (!DibCopyZone(dest, src.get(), r)) throw CliError("the zone is outside the image");
  } else {
    // On failure a record the call made is already released: dest is not used then.
    CheckKeyedResult(DibCopyZoneEx(dest, src.get(), 0, nullptr, nullptr, r, placed ? &at : nullptr),
                     "copy");
  }
  Dib made(base ? nullptr : dest);
  DibInfo const* result = base ? base.get() : made.get();
  WriteBmp(out, result);
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result).c_str());
  return 0;
}

int RunConvert(Args const& args) {
  Dib src = ReadBmp(args.Positional(0, "input file"));
  std::string const& out = args.Positional(1, "output file");
  if (!args.Has("depth")) throw CliError("--depth 1, 8, 24 or 32 is needed");
  int const depth = args.GetInt("depth", 0);
  tagRect32 rect;
  tagRect32* r = args.GetRect("rect", rect) ? &rect : nullptr;
  tagPoint32 at;
  tagPoint32* a = args.GetPoint("at", at) ? &at : nullptr;
  if (a && (depth == 1 || depth == 8 || depth == 24 || depth == 32))
    CheckPlacement(src.get(), r, at, depth);
  DibInfo* dest = nullptr;
  int const method = depth == 1 ? 2 : 0;  // 1-bit: black below the two-class Otsu threshold
  CheckKeyedResult(
      DibConvertDepthEx(dest, src.get(), depth, method, 0, 0, 0, nullptr, nullptr, r, a), "convert");
  Dib result(dest);
  WriteBmp(out, result.get());
  std::printf("wrote %s (%s)\n", out.c_str(), Describe(result.get()).c_str());
  return 0;
}

void DemoZone(DemoContext& demo) {
  DibInfo* page = demo.page;
  tagRect32 heading{0, 0, page->Width() / 2 - 1, page->Height() / 4 - 1};
  DibInfo* zone = nullptr;
  if (!DibCopyZone(zone, page, &heading)) return;
  Dib owned(zone);
  demo.Write("zone-copy.bmp", zone, "the top-left quarter-width band, copied as it is");
  tagPoint32 at{40, 30};
  DibInfo* placed = nullptr;
  if (DibConvertDepthEx(placed, zone, 32, 0, 0, 0, 0, nullptr, nullptr, nullptr, &at) == 0) {
    Dib p(placed);
    demo.Write("zone-32bit.bmp", placed, "the same band as 32-bit pixels, placed at (40, 30)");
  }
  Dib grey(DibRGB2Grey(zone, nullptr, nullptr));
  DibInfo* colour = nullptr;
  if (grey && DibConvertDepthEx(colour, grey.get(), 24, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr) == 0) {
    Dib c(colour);
    demo.Write("zone-grey-as-colour.bmp", colour, "its grey version widened back to 24 bits");
  }
  int const grade = DibIsCanonical(page, DibDirectionBottomUp);
  demo.Say(std::string("the page record is ") +
           (grade == 0 ? "canonical" : "not canonical (grade " + std::to_string(grade) + ")") +
           " for bottom-up storage");
}

Registrar const copy{Command{
    "copy", "copy IN.bmp OUT.bmp [--rect l,t,r,b] [--at x,y] [--onto BASE.bmp]",
    "copies a zone; --at places it (into BASE, or a new image just large enough)",
    {"rect", "at", "onto"}, {}, RunCopy}};
Registrar const convert{Command{
    "convert", "convert IN.bmp OUT.bmp --depth 1|8|24|32 [--rect l,t,r,b] [--at x,y]",
    "changes the depth of an image or zone (set bit white, grey into all three channels)",
    {"depth", "rect", "at"}, {}, RunConvert}};
Registrar const zoneDemo{DemoStep{20, "zone copy", DemoZone}};

}  // namespace
}  // namespace quilp_cli
