// SPDX-License-Identifier: Apache-2.0
// Gives every seed of a target to it, whole, cut short and damaged in each of its first bytes; with a directory as
// argument writes them there, to start a fuzzer with.
#include <cstdio>
#include <fstream>
#include <string>

#include "fuzz/host_seeds.h"

int main(int argc, char** argv) {
  constexpr std::size_t kDamaged = 200;
  std::size_t count = 0;
  for (const Seed& seed : quorvel::fuzz::makeSeeds()) {
    if (argc > 1) {
      std::ofstream(std::string(argv[1]) + "/seed-" + std::to_string(count++), std::ios::binary)
          .write(reinterpret_cast<const char*>(seed.data()), static_cast<std::streamsize>(seed.size()));
      continue;
    }
    LLVMFuzzerTestOneInput(seed.data(), seed.size());
    for (std::size_t i = 0; i < seed.size() && i < kDamaged; ++i) {
      Seed bad(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(seed.size() * i / kDamaged));
      LLVMFuzzerTestOneInput(bad.data(), bad.size());
      for (const std::uint8_t flip : {0x01, 0x80, 0xFF}) {
        bad = seed;
        bad[i] = static_cast<std::uint8_t>(bad[i] ^ flip);
        LLVMFuzzerTestOneInput(bad.data(), bad.size());
        ++count;
      }
    }
  }
  std::printf("%zu inputs\n", count);
  return 0;
}
