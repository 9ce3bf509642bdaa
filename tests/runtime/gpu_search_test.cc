// SPDX-License-Identifier: Apache-2.0
// A program for which the system's search finds a GPU library: by its own list of directories where programs have one.
#include <gtest/gtest.h>
#include <quorvel/guards.h>

#include "runtime/gpu_loader.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace quorvel::test {
namespace {

TEST(GpuSearch, FollowsNoHintAndAHintThatLeadsNowhere) {
#ifdef _WIN32
  ASSERT_TRUE(SetDllDirectoryA(QUORVEL_FERROX "/searched"));
#endif
  const struct {
    const char* hint;
    int devices;
  } cases[] = {{nullptr, 5}, {QUORVEL_FERROX "/absent/host.exe", 5}, {QUORVEL_FERROX "/complete/host.exe", 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(loadFerrox(c.hint), 0);
    ASSERT_NE(gpuLibrary.nrCudaDevices, nullptr);
    EXPECT_EQ(gpuLibrary.nrCudaDevices(), c.devices);
    unloadFerrox();
  }
}

}  // namespace
}  // namespace quorvel::test
