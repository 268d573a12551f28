// flow_control.cpp - the keyed-parameter frame: parameters, registration, release rules.
#include "params/flow_control.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include "record/create.h"
#include "record/view.h"

namespace quilp {

CDibFlowControl::~CDibFlowControl() {
  for (Owned& t : temporaries_)
    if (t.createdHere) DibRelease(t.image);
  if (status_ < 0)
    for (Owned& t : targets_)
      if (t.createdHere) {
        DibInfo* image = t.image;  // the caller's variable keeps its value, as documented
        DibRelease(image);
      }
}

int CDibFlowControl::Fail(int code) {
  if (status_ >= 0) status_ = code;
  return status_;
}

int CDibFlowControl::SetParams(int count, char const* const* names, char const* const* values) {
  if (status_ < 0) return status_;
  if (count != 0 && (!names || !values)) return Fail(kDibInvalid);
  params_.clear();
  for (int i = 0; i < count; ++i) {
    if (!names[i] || !values[i]) return Fail(kDibInvalid);
    params_.emplace(names[i], values[i]);  // a repeated key keeps its first value
  }
  return status_;
}

int CDibFlowControl::GetIntParam(int* out, char const* key, int defaultValue) {
  if (status_ != 0) return status_;
  if (!key || !out) return Fail(kDibInvalid);
  auto it = params_.find(key);
  if (it == params_.end()) {
    *out = defaultValue;
  } else {
    // atoi's reading: blanks, an optional sign, digits up to the first other character.
    // strtoll saturates where atoi is undefined; the low 32 bits are kept, as atoi does here.
    // long long is 64 bits on every host, so a 32-bit process reads the same value.
    long long const v = std::strtoll(it->second.c_str(), nullptr, 10);
    *out = static_cast<int>(static_cast<uint32_t>(static_cast<unsigned long long>(v)));
  }
  return status_;
}

DibPlane MakePlane(DibInfo const* image, Area const& area) {
  DibView const v = MakeView(image, area);
  int const bitsPerPixel = image->BitsPerPixel();
  DibPlane plane;
  plane.width = area.width;
  plane.height = area.height;
  plane.stride = v.step;
  plane.bitOffset = bitsPerPixel == 1 ? area.left % 8 : 0;
  plane.format = FormatForDepth(bitsPerPixel);
  plane.data = v.top;
  return plane;
}

int CDibFlowControl::AddSource(DibPlane* plane, DibInfo const* image, int bitsPerPixel,
                               tagRect32 const* rect) {
  if (status_ < 0) return status_;
  if (!plane || !image || FormatForDepth(bitsPerPixel) == kDibFormatNone ||
      image->BitsPerPixel() != bitsPerPixel)
    return Fail(kDibInvalid);
  Area area;
  if (!ClampRect(image, rect, area)) return Fail(kDibInvalid);
  sources_.push_back({image, area});
  *plane = MakePlane(image, area);
  return status_;
}

int CDibFlowControl::AddSources(std::vector<DibPlane>& planes, DibInfo const* image,
                                int bitsPerPixel, tagRect32 const* rect) {
  DibPlane plane;
  if (AddSource(&plane, image, bitsPerPixel, rect) < 0) return status_;
  planes.push_back(plane);
  return status_;
}

int CDibFlowControl::AddTarget(DibPlane* plane, DibInfo*& target, int bitsPerPixel,
                               tagPoint32 const* origin) {
  if (status_ < 0) return status_;
  if (sources_.empty()) return Fail(kDibNoSource);
  if (!plane || FormatForDepth(bitsPerPixel) == kDibFormatNone) return Fail(kDibInvalid);
  tagPoint32 at = {0, 0};
  if (origin && origin->x >= 0 && origin->y >= 0) at = *origin;
  Source const& first = sources_.front();
  int64_t const needW = int64_t(at.x) + first.area.width;
  int64_t const needH = int64_t(at.y) + first.area.height;
  if (target) {
    if (target->BitsPerPixel() != bitsPerPixel || target->Width() < needW ||
        target->Height() < needH)
      return Fail(kDibInvalid);
    targets_.push_back({target, false});
  } else {
    DibInfo* made = needW > INT32_MAX || needH > INT32_MAX
                        ? nullptr
                        : DibCreateDepth(int(needW), int(needH), first.image->XPelsPerMeter(),
                                         first.image->YPelsPerMeter(), bitsPerPixel);
    if (!made) return Fail(kDibNoMemory);
    target = made;
    targets_.push_back({made, true});
  }
  *plane = MakePlane(target, Area{at.x, at.y, first.area.width, first.area.height});
  return status_;
}

int CDibFlowControl::AddTargets(std::vector<DibPlane>& planes, DibInfo*& target,
                                int bitsPerPixel, tagPoint32 const* origin) {
  DibPlane plane;
  if (AddTarget(&plane, target, bitsPerPixel, origin) < 0) return status_;
  planes.push_back(plane);
  return status_;
}

DibInfo* CDibFlowControl::AddTemporary(DibInfo* image) {
  if (image) temporaries_.push_back({image, true});
  return image;
}

void* CDibFlowControl::Scratch(std::size_t bytes) {
  unsigned char* p = new (std::nothrow) unsigned char[bytes ? bytes : 1]();
  if (!p) {
    Fail(kDibNoMemory);
    return nullptr;
  }
  scratch_.emplace_back(p);
  return p;
}

int CDibFlowControl::SetResult(int value) {
  if (status_ < 0) return status_;
  status_ = value;
  return status_;
}

int CDibFlowControl::SetSuccess(bool ok) {
  if (status_ < 0) return status_;
  status_ = ok ? kDibOk : kDibKernelFailed;
  return status_;
}

}  // namespace quilp
