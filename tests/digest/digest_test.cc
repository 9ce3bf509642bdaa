// SPDX-License-Identifier: Apache-2.0
// One number over the results of every exported routine on fixed inputs. It is the same on every vector target, and the
// tests of all systems hold it against the one constant below, so that equal bits everywhere is a thing that is tested.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/digest/digest.h"
#include "tests/support/targets.h"

namespace quorvel::test {
namespace {

// A change here means that results have changed, or that a routine has come: say which in the message of the commit.
constexpr std::uint64_t kDigestOfAllRoutines = 0x267473810848038e;

// What describes this machine, this process or this build, and so has no result that is the same everywhere.
const std::set<std::string> kOfTheMachine = {"quorvelVersion",
                                             "quorvelSimdTarget",
                                             "isCPUID",
                                             "isIntel",
                                             "isMMX",
                                             "isEMMX",
                                             "isSSE",
                                             "isSSE2",
                                             "isEMMXamd",
                                             "isCommonEMMX",
                                             "is3DNow",
                                             "isE3DNow",
                                             "isE3Damd",
                                             "isExtMMX",
                                             "cpuID_",
                                             "cpuID",
                                             "cpuId",
                                             "timeMS",
                                             "timeMks",
                                             "timeCounter",
                                             "delayMsek",
                                             "frequencyMHzByIncEAX",
                                             "checkPhysicalMemory",
                                             "ignoreError",
                                             "DebugTrapF",
                                             "loadFerrox",
                                             "unloadFerrox",
                                             "prepareBayerSurface"};

Routines allRoutines() {
  Routines routines;
  for (const auto add : {
           addRuntime,
           addPixel,
           addBayer,
           addGeometry,
           addCodec,
           addHuffman,
           addNumerics,
           addColour,
       }) {
    add(routines);
  }
  return routines;
}

TEST(Digest, TakesInEveryExportedRoutine) {
  const Routines routines = allRoutines();
  int declared = 0;
  for (const auto& header : std::filesystem::directory_iterator(QUORVEL_SOURCE_DIR "/include/quorvel")) {
    std::ifstream file(header.path());
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    const std::regex declaration("\nQUORVEL_API [^(;]*?([A-Za-z_0-9]+)\\(");
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at, ++declared) {
      const std::string name = (*at)[1];
      EXPECT_NE(routines.contains(name), kOfTheMachine.contains(name)) << name << " in " << header.path();
    }
  }
  EXPECT_EQ(static_cast<std::size_t>(declared), routines.size() + kOfTheMachine.size());
}

TEST(Digest, IsTheSameOnEverySystemTargetAndStack) {
  const Routines routines = allRoutines();
  onEveryTarget([&] {
    for (const unsigned shift : kStackShifts) {
      stackShift = shift;
      Digest all;
      std::string report;
      for (const auto& [name, call] : routines) {
        Digest own;
        call(own);
        const std::uint64_t value = own.value();
        all.add(&value, 1);
        char line[100];
        std::snprintf(line, sizeof line, "%-28s %016llx\n", name.c_str(), static_cast<unsigned long long>(value));
        report += line;
      }
      std::printf("digest of all routines: %016llx\n", static_cast<unsigned long long>(all.value()));
      EXPECT_EQ(all.value(), kDigestOfAllRoutines) << "stack shifted by " << shift << "\n" << report;
    }
    stackShift = 0;
  });
}

}  // namespace
}  // namespace quorvel::test
