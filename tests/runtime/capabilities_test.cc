// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <quorvel/runtime.h>

#include "tests/support/played_processor.h"

namespace quorvel::test {
namespace {

constexpr std::uint32_t kMmx = 1u << 23, kSse = 1u << 25, kSse2 = 1u << 26;
constexpr std::uint32_t kMmxExtended = 1u << 22, k3d = 1u << 31, k3dExtended = 1u << 30;

struct Answers {
  int mmx, emmx, sse, sse2, emmxAmd, commonEmmx, now3d, extended3d, extended3dAmd;
  bool operator==(const Answers&) const = default;
};

Answers askAll() {
  return {isMMX(), isEMMX(), isSSE(), isSSE2(), isEMMXamd(), isCommonEMMX(), is3DNow(), isE3DNow(), isE3Damd()};
}

std::ostream& operator<<(std::ostream& out, const Answers& a) {
  return out << a.mmx << a.emmx << a.sse << a.sse2 << ' ' << a.emmxAmd << ' ' << a.commonEmmx << a.now3d << a.extended3d
             << ' ' << a.extended3dAmd;
}

TEST(Capabilities, EveryKindOfProcessorIsSeenAsItIs) {
  const struct {
    const char* name;
    std::string_view vendor;
    bool hasCpuid;
    std::uint32_t leaf1, maxExtended, extended;
    Answers expected;
  } cases[] = {
      {"plain MMX", "GenuineIntel", true, kMmx, 0, 0, {1, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"SSE brings EMMX", "GenuineIntel", true, kMmx | kSse, 0, 0, {1, 1, 1, 0, 0, 1, 0, 0, 0}},
      {"SSE2", "GenuineIntel", true, kMmx | kSse | kSse2, 0, 0, {1, 1, 1, 1, 0, 1, 0, 0, 0}},
      {"MMX extensions without SSE",
       "AuthenticAMD",
       true,
       kMmx,
       0x80000008,
       kMmxExtended | k3d | k3dExtended,
       {1, 0, 0, 0, 0x400000, 1, 1, 1, 0x40000000}},
      {"3DNow! alone", "AuthenticAMD", true, kMmx, 0x80000005, k3d, {1, 0, 0, 0, 0, 0, 1, 0, 0}},
      {"3DNow! bits on an Intel processor count only for the untested query",
       "GenuineIntel",
       true,
       kMmx,
       0x80000008,
       k3d | k3dExtended,
       {1, 0, 0, 0, 0, 0, 0, 0, 0x40000000}},
      {"no extended leaves beyond the first",
       "AuthenticAMD",
       true,
       kMmx,
       0x80000000,
       k3d | k3dExtended,
       {1, 0, 0, 0, 0, 0, 0, 0, 0x40000000}},
      {"queries of leaf 1 do not ask for CPUID first",
       "AuthenticAMD",
       false,
       kMmx | kSse,
       0x80000008,
       k3d,
       {1, 1, 1, 0, 0, 1, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    PlayedProcessor played;
    played.hasCpuid = c.hasCpuid;
    played.setVendor(c.vendor);
    played.leaves[1].edx = c.leaf1;
    played.leaves[0x80000000].eax = c.maxExtended;
    played.leaves[0x80000001].edx = c.extended;
    EXPECT_EQ(askAll(), c.expected) << c.name;
    EXPECT_EQ(isIntel(), c.hasCpuid && c.vendor == "GenuineIntel") << c.name;
    EXPECT_EQ(isCPUID(), c.hasCpuid) << c.name;
    EXPECT_EQ(capabilityCells.now3dMirror, capabilityCells.now3d) << c.name;
  }
}

TEST(Capabilities, CachedQueriesAskOnceAndPlainOnesEveryTime) {
  PlayedProcessor played;
  played.setVendor("AuthenticAMD");
  EXPECT_EQ(capabilityCells.commonEmmx, -1) << "nobody has asked yet";
  askAll();
  isIntel();
  played.leaves[1].edx = kMmx | kSse | kSse2;
  played.leaves[0x80000000].eax = 0x80000008;
  played.leaves[0x80000001].edx = kMmxExtended | k3d | k3dExtended;
  EXPECT_EQ(askAll(), (Answers{1, 1, 0, 0, 0, 0, 0, 0, 0}));
  played.asked = 0;
  isSSE(), isSSE2(), isEMMXamd(), isCommonEMMX(), is3DNow(), isE3DNow(), isE3Damd();
  EXPECT_EQ(played.asked, 0);
  EXPECT_EQ(capabilityCells.commonEmmx, 0);
}

TEST(Capabilities, SignatureIsTakenApartByJoiningFields) {
  const struct {
    std::uint32_t signature;
    int family, model, stepping;
  } cases[] = {{0x000306A9, 6, 0x3A, 9}, {0x00800F82, 0x8F, 0x08, 2}, {0xFFFFFFFF, 0xFF, 0xFF, 0xF}, {0, 0, 0, 0}};
  for (const auto& c : cases) {
    PlayedProcessor played;
    played.leaves[1].eax = c.signature;
    int family = -1, model = -1, stepping = -1;
    cpuID(&family, &model, &stepping);
    EXPECT_EQ(family, c.family) << std::hex << c.signature;
    EXPECT_EQ(model, c.model) << std::hex << c.signature;
    EXPECT_EQ(stepping, c.stepping) << std::hex << c.signature;
    EXPECT_EQ(static_cast<std::uint32_t>(cpuID_()), c.signature);
  }
}

TEST(Capabilities, VendorStringIsEndedAndNotLonger) {
  PlayedProcessor played;
  played.setVendor("HygonGenuine");
  char vendor[14] = "~~~~~~~~~~~~~";
  vendor[13] = '~';
  cpuId(vendor);
  EXPECT_STREQ(vendor, "HygonGenuine");
  EXPECT_EQ(vendor[13], '~');
}

TEST(Capabilities, TheMachineItselfAnswersConsistently) {
#if defined(__x86_64__)
  EXPECT_EQ(isCPUID(), 1);
  EXPECT_EQ(isSSE2(), 1);
#endif
  EXPECT_EQ(isMMX(), 1);
  EXPECT_EQ(isEMMX(), isSSE());
  EXPECT_EQ(isExtMMX(), 1);
  EXPECT_EQ(isCommonEMMX(), 1);
}

}  // namespace
}  // namespace quorvel::test
