// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <string>

#include <gtest/gtest.h>
#include <quorvel/runtime.h>

#include "tests/support/played_processor.h"

namespace quorvel::test {
namespace {

constexpr std::uint32_t kMmx = 1u << 23, kSse = 1u << 25, kSse2 = 1u << 26;
constexpr std::uint32_t kMmxExtended = 1u << 22, k3d = 1u << 31, k3dBoth = k3d | 1u << 30;
constexpr std::uint32_t kAll = 0x80000008;  // of the extended leaves

// MMX, EMMX, SSE, SSE2, AMD's EMMX, common EMMX, 3DNow!, extended 3DNow!, AMD's extended 3D.
using Answers = std::array<int, 9>;

Answers askAll() {
  return {isMMX(), isEMMX(), isSSE(), isSSE2(), isEMMXamd(), isCommonEMMX(), is3DNow(), isE3DNow(), isE3Damd()};
}

TEST(Capabilities, EveryKindOfProcessorIsSeenAsItIs) {
  const std::string_view intel = "GenuineIntel", amd = "AuthenticAMD";
  const struct {
    const char* name;
    std::string_view vendor;
    bool hasCpuid;
    std::uint32_t leaf1, maxExtended, extended;
    Answers expected;
  } cases[] = {
      {"plain MMX", intel, true, kMmx, 0, 0, {1, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"SSE brings EMMX", intel, true, kMmx | kSse, 0, 0, {1, 1, 1, 0, 0, 1, 0, 0, 0}},
      {"SSE2", intel, true, kMmx | kSse | kSse2, 0, 0, {1, 1, 1, 1, 0, 1, 0, 0, 0}},
      {"MMX extensions, no SSE",
       amd,
       true,
       kMmx,
       kAll,
       kMmxExtended | k3dBoth,
       {1, 0, 0, 0, 1 << 22, 1, 1, 1, 1 << 30}},
      {"3DNow! alone", amd, true, kMmx, 0x80000005, k3d, {1, 0, 0, 0, 0, 0, 1, 0, 0}},
      {"3DNow! of Intel counts for the untested query",
       intel,
       true,
       kMmx,
       kAll,
       k3dBoth,
       {1, 0, 0, 0, 0, 0, 0, 0, 1 << 30}},
      {"no extended leaves beyond the first", amd, true, kMmx, 0x80000000, k3dBoth, {1, 0, 0, 0, 0, 0, 0, 0, 1 << 30}},
      {"leaf 1 is read without CPUID too", amd, false, kMmx | kSse, kAll, k3d, {1, 1, 1, 0, 0, 1, 0, 0, 0}},
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
  played.leaves[0x80000000].eax = kAll;
  played.leaves[0x80000001].edx = kMmxExtended | k3dBoth;
  EXPECT_EQ(askAll(), (Answers{1, 1, 0, 0, 0, 0, 0, 0, 0}));
  played.asked = 0;
  isSSE(), isSSE2(), isEMMXamd(), isCommonEMMX(), is3DNow(), isE3DNow(), isE3Damd();
  EXPECT_EQ(played.asked, 0);
  EXPECT_EQ(capabilityCells.commonEmmx, 0);
}

TEST(Capabilities, SignatureIsTakenApartByJoiningFields) {
  const struct {
    std::uint32_t signature;
    std::array<int, 3> parts;  // family, model, stepping
  } cases[] = {{0x000306A9, {6, 0x3A, 9}}, {0x00800F82, {0x8F, 0x08, 2}}, {0xFFFFFFFF, {0xFF, 0xFF, 0xF}}, {0, {}}};
  for (const auto& c : cases) {
    PlayedProcessor played;
    played.leaves[1].eax = c.signature;
    std::array parts = {-1, -1, -1};
    cpuID(&parts[0], &parts[1], &parts[2]);
    EXPECT_EQ(parts, c.parts) << std::hex << c.signature;
    EXPECT_EQ(static_cast<std::uint32_t>(cpuID_()), c.signature);
  }
}

TEST(Capabilities, VendorStringIsEndedAndNotLonger) {
  PlayedProcessor played;
  played.setVendor("HygonGenuine");
  std::string vendor(14, '~');
  cpuId(vendor.data());
  EXPECT_EQ(vendor, std::string("HygonGenuine\0~", 14));
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
