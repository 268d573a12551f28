// flow_control.h - CDibFlowControl, the frame every keyed-parameter (Ex) export runs in.
//
// The frame carries the call's status, the keyed parameters, the registered images and the
// scratch memory, and releases on destruction what it must:
//  - status starts at 0; the first negative code is final, every later step returns it;
//  - SetParams loads name/value lists (the first value of a repeated key wins);
//  - GetIntParam reads a key as atoi reads it, or the caller's default;
//  - AddSource registers an input under the clamping rectangle rule and describes it;
//  - AddTarget registers (or makes) the result, large enough for the placement point plus the
//    first source's area, and describes the area at that point;
//  - on destruction temporaries made here are released, results made here only on failure
//    (the caller's variable keeps the released address: after a negative return it must not
//    be used), scratch memory is freed. Images the caller passed in are never released.
// Codes: -1 invalid argument, -2 kernel failure, -3 allocation failure, -5 target before source.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "params/plane.h"
#include "quilp32.h"
#include "record/rect.h"

namespace quilp {

enum DibStatus : int {
  kDibOk = 0,
  kDibInvalid = -1,
  kDibKernelFailed = -2,
  kDibNoMemory = -3,
  kDibNotProvided = -4,
  kDibNoSource = -5,
};

// The plane of `area` of `image`, at the image's own depth (kDibFormatNone for a depth no
// plane can describe).
DibPlane MakePlane(DibInfo const* image, Area const& area);

class CDibFlowControl {
 public:
  CDibFlowControl() = default;
  virtual ~CDibFlowControl();
  CDibFlowControl(CDibFlowControl const&) = delete;
  CDibFlowControl& operator=(CDibFlowControl const&) = delete;

  int SetParams(int count, char const* const* names, char const* const* values);
  int GetIntParam(int* out, char const* key, int defaultValue);

  // Registers a source of depth bitsPerPixel (the image must have that depth) and fills the
  // plane of its clamped rectangle.
  int AddSource(DibPlane* plane, DibInfo const* image, int bitsPerPixel, tagRect32 const* rect);
  // As AddSource, appending the plane to `planes` (kernels with several sources).
  int AddSources(std::vector<DibPlane>& planes, DibInfo const* image, int bitsPerPixel,
                 tagRect32 const* rect);
  // Registers the caller's target (or makes it when null) of depth bitsPerPixel.
  int AddTarget(DibPlane* plane, DibInfo*& target, int bitsPerPixel, tagPoint32 const* origin);
  // As AddTarget, appending the plane to `planes` (kernels with several results).
  int AddTargets(std::vector<DibPlane>& planes, DibInfo*& target, int bitsPerPixel,
                 tagPoint32 const* origin);

  // Keeps an image the kernel made for the length of the call; released on destruction.
  DibInfo* AddTemporary(DibInfo* image);
  // Zeroed scratch memory that lives as long as the frame; null (and status -3) on failure.
  void* Scratch(std::size_t bytes);

  int GetStatus() const { return status_; }
  int SetResult(int value);
  int SetSuccess(bool ok);
  int Fail(int code);  // records a negative code unless one is already there

  // The first registered source's image and area (for kernels that need its geometry).
  DibInfo const* FirstSource() const { return sources_.empty() ? nullptr : sources_[0].image; }

 private:
  struct Source {
    DibInfo const* image;
    Area area;
  };
  struct Owned {
    DibInfo* image;
    bool createdHere;
  };

  int status_ = kDibOk;
  std::map<std::string, std::string> params_;
  std::vector<Source> sources_;
  std::vector<Owned> targets_;
  std::vector<Owned> temporaries_;
  std::vector<std::unique_ptr<unsigned char[]>> scratch_;
};

}  // namespace quilp
