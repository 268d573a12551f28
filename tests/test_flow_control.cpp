// The keyed-parameter frame: parameter reading, registration, codes and release rules.
#include <gtest/gtest.h>

#include "params/flow_control.h"
#include "quilp32.h"
#include "record/global_block.h"
#include "support/images.h"

using namespace testing_support;
using quilp::CDibFlowControl;
using quilp::DibPlane;

TEST(FlowControl, ParameterListsAndTheirReading) {
  {
    CDibFlowControl f;
    char const* values[] = {"1", "2"};
    EXPECT_EQ(f.SetParams(2, nullptr, values), -1);
    int v = 7;
    EXPECT_EQ(f.GetIntParam(&v, "a", 3), -1);  // a negative status is final
    EXPECT_EQ(v, 7);
  }
  CDibFlowControl f;
  char const* names[] = {"hSize", "hSize", "vSize", "mulB", "mulG", "mulR", "HSize", "big"};
  char const* values[] = {"3", "9", "12px", "x", " -5", "+8", "99", "4294967297"};
  ASSERT_EQ(f.SetParams(8, names, values), 0);
  struct Case { char const* key; int want; };
  for (Case c : {Case{"hSize", 3}, Case{"vSize", 12}, Case{"mulB", 0}, Case{"mulG", -5},
                 Case{"mulR", 8}, Case{"type", 42}, Case{"hsize", 42}, Case{"big", 1}}) {
    int v = -100;
    EXPECT_EQ(f.GetIntParam(&v, c.key, 42), 0);
    EXPECT_EQ(v, c.want) << c.key;
  }
  EXPECT_EQ(f.SetParams(-3, names, values), 0);  // loads nothing
  int v = 0;
  f.GetIntParam(&v, "hSize", 5);
  EXPECT_EQ(v, 5);
  EXPECT_EQ(f.GetIntParam(&v, nullptr, 5), -1);
  EXPECT_EQ(f.GetStatus(), -1);
}

TEST(FlowControl, StatusKeepsTheFirstError) {
  CDibFlowControl f;
  EXPECT_EQ(f.SetResult(17), 17);
  EXPECT_EQ(f.SetSuccess(false), -2);
  EXPECT_EQ(f.SetResult(3), -2);
  EXPECT_EQ(f.SetSuccess(true), -2);
  EXPECT_EQ(f.GetStatus(), -2);
}

TEST(FlowControl, SourcesAndTargetsDescribeTheirAreas) {
  {
    CDibFlowControl f;
    DibPlane d;
    DibInfo* target = nullptr;
    EXPECT_EQ(f.AddTarget(&d, target, 8, nullptr), -5);  // no source yet
    EXPECT_EQ(target, nullptr);
  }
  DibPtr src = RandomDib(20, 10, 1, true, 2);
  CDibFlowControl f;
  DibPlane s, d;
  tagRect32 rect{-3, 2, 13, 40};
  ASSERT_EQ(f.AddSource(&s, src.get(), 1, &rect), 0);
  EXPECT_EQ(s.width, 14);
  EXPECT_EQ(s.height, 8);
  EXPECT_EQ(s.format, quilp::kDibFormat1);
  EXPECT_EQ(s.data, src->GetLine(2));
  DibInfo* target = nullptr;
  tagPoint32 at{11, 3};
  ASSERT_EQ(f.AddTarget(&d, target, 1, &at), 0);
  ASSERT_NE(target, nullptr);
  EXPECT_EQ(target->Width(), 25);
  EXPECT_EQ(target->Height(), 11);
  EXPECT_EQ(d.bitOffset, 3);
  EXPECT_EQ(d.data, target->GetLine(3) + 1);
  EXPECT_EQ(d.stride, target->GetLine(4) - target->GetLine(3));
  EXPECT_EQ(f.SetSuccess(true), 0);
  // Success: the target made here is the caller's now.
  EXPECT_TRUE(DibFree(target));
}

TEST(FlowControl, SourceAndTargetOfAnotherDepthOrPlace) {
  DibPtr src = RandomDib(6, 4, 24, false, 3);
  {
    CDibFlowControl f;
    DibPlane s, d;
    f.AddSource(&s, src.get(), 24, nullptr);
    DibPtr grey = RandomDib(6, 4, 8, false, 4);
    DibInfo* target = grey.get();
    EXPECT_EQ(f.AddTarget(&d, target, 24, nullptr), -1);  // depth differs: untouched
    EXPECT_EQ(target, grey.get());
  }
  {
    CDibFlowControl f;
    DibPlane s;
    EXPECT_EQ(f.AddSource(&s, src.get(), 8, nullptr), -1);   // not the image's depth
  }
  {
    CDibFlowControl f;
    DibPlane s;
    tagRect32 outside{10, 0, 20, 3};
    EXPECT_EQ(f.AddSource(&s, src.get(), 24, &outside), -1);
  }
}

TEST(FlowControl, ReleasesWhatItMadeAndOnlyThat) {
  DibPtr src = RandomDib(6, 4, 8, false, 6);
  DibPtr callers = RandomDib(6, 4, 8, false, 7);
  std::size_t const live = quilp::block::LiveCount();
  {
    CDibFlowControl f;
    DibPlane s, d;
    f.AddSource(&s, src.get(), 8, nullptr);
    DibInfo* made = nullptr;
    f.AddTarget(&d, made, 8, nullptr);
    f.AddTemporary(DibCreate(3, 3, 0, 0, 8));
    f.SetSuccess(false);  // failure: the made target goes too
  }
  {
    CDibFlowControl f;
    DibPlane s, d;
    f.AddSource(&s, src.get(), 8, nullptr);
    DibInfo* given = callers.get();
    f.AddTarget(&d, given, 8, nullptr);
    f.AddTemporary(DibCreate(3, 3, 0, 0, 8));
    ASSERT_NE(f.Scratch(1000), nullptr);
    f.SetSuccess(false);  // the caller's target stays
  }
  EXPECT_EQ(quilp::block::LiveCount(), live);
  EXPECT_EQ(callers->Width(), 6);
}
