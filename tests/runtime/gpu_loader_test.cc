// SPDX-License-Identifier: Apache-2.0
#include "runtime/gpu_loader.h"

#include <utility>

#include <gtest/gtest.h>
#include <quorvel/guards.h>

namespace quorvel::test {
namespace {

using Answer = std::pair<int, std::string>;
const Answer kBound = {0, "\n{Cuda OK!}"}, kNotFound = {2, "\nCan't load Ferrox.dll"}, kIncomplete = {3, ""};

// A program's own path beside the library of that name.
Answer load(const char* library) {
  const std::string hint = std::string(QUORVEL_FERROX) + "/" + (library == nullptr ? "" : library) + "/host.exe";
  testing::internal::CaptureStdout();
  const int code = loadFerrox(library == nullptr ? nullptr : hint.c_str());
  return {code, testing::internal::GetCapturedStdout()};
}

void QUORVEL_GPU_CALL callersRelease(std::uint32_t) {}
void QUORVEL_GPU_CALL lateRelease(std::uint32_t) {}

class GpuLoader : public testing::Test {
 protected:
  ~GpuLoader() override {
    EXPECT_EQ(unloadFerrox(), 0);
    EXPECT_EQ(gpuLibrary.module, nullptr);
    gpuLibrary = {};
  }
  static bool isUnbound() {
    return gpuLibrary.nrCudaDevices == nullptr && gpuLibrary.cudaCall == nullptr &&
           gpuLibrary.releaseCollector == nullptr;
  }
};

TEST_F(GpuLoader, BindsACompleteLibraryAsOftenAsAsked) {
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(load("complete"), kBound);
    const Module module = gpuLibrary.module;
    EXPECT_EQ(load("uncollected"), kBound) << "a loaded library is kept, whatever the hint";
    EXPECT_EQ(gpuLibrary.module, module);
    EXPECT_EQ(gpuLibrary.nrCudaDevices(), 2);
    EXPECT_EQ(gpuLibrary.cudaCall(4, 3), 43) << "the first call of a library that was loaded anew";
    EXPECT_EQ(gpuLibrary.cudaCall(5, 6), 156);
    EXPECT_EQ(reinterpret_cast<EntryPoint>(gpuLibrary.releaseCollector), findEntryPoint(module, "_deleteCollector@4"));
    EXPECT_EQ(unloadFerrox(), 0);
    EXPECT_TRUE(isUnbound());
  }
}

TEST_F(GpuLoader, KeepsAnIncompleteLibraryUnbound) {
  for (const char* library : {"uncollected", "bare"}) {
    for (const char* hint : {library, "complete"}) {
      EXPECT_EQ(load(hint), kIncomplete) << library;
      EXPECT_NE(gpuLibrary.module, nullptr);
      EXPECT_TRUE(isUnbound());
    }
    unloadFerrox();
  }
}

TEST_F(GpuLoader, SaysThatThereIsNoneEachTime) {
  for (const char* library : {"absent", "absent", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(load(library), kNotFound);
    EXPECT_EQ(gpuLibrary.module, nullptr);
  }
  EXPECT_EQ(load("complete"), kBound);
}

TEST_F(GpuLoader, TheFirstReleaseOfCollectorsStaysUntilUnloading) {
  registerCollectorRelease(callersRelease);
  registerCollectorRelease(lateRelease);
  unloadFerrox();
  EXPECT_EQ(gpuLibrary.releaseCollector, callersRelease) << "nothing was loaded";
  EXPECT_EQ(load("complete"), kBound);
  EXPECT_EQ(gpuLibrary.releaseCollector, callersRelease);
  unloadFerrox();
  EXPECT_EQ(gpuLibrary.releaseCollector, nullptr);
  registerCollectorRelease(lateRelease);
  EXPECT_EQ(gpuLibrary.releaseCollector, lateRelease);
}

TEST(GpuPath, TakesTheDriveAndTheDirectoryOfTheHint) {
  const struct {
    const char *hint, *onWindows, *elsewhere;
  } cases[] = {
      {"", "Ferrox.dll", "Ferrox.dll"},
      {"/opt/gpu/", "/opt/gpu/Ferrox.dll", "/opt/gpu/Ferrox.dll"},
      {"C:\\camera\\host.exe", "C:\\camera\\Ferrox.dll", "Ferrox.dll"},
      {"C:\\camera/bin/host.exe", "C:\\camera/bin/Ferrox.dll", "C:\\camera/bin/Ferrox.dll"},
      {"..\\a/b\\host", "..\\a/b\\Ferrox.dll", "..\\a/Ferrox.dll"},
      {"D:host.exe", "D:Ferrox.dll", "Ferrox.dll"},
  };
  for (const auto& c : cases) {
    EXPECT_STREQ(hintedLibrary(c.hint, kWindowsPaths).get(), c.onWindows);
    EXPECT_STREQ(hintedLibrary(c.hint, kPosixPaths).get(), c.elsewhere);
  }
}

}  // namespace
}  // namespace quorvel::test
