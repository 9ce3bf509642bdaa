// SPDX-License-Identifier: Apache-2.0
// What the fuzz targets of the program's readers share: each makes valid files of its own to begin with.
#ifndef QUORVEL_FUZZ_HOST_SEEDS_H_
#define QUORVEL_FUZZ_HOST_SEEDS_H_

#include <cstdint>
#include <cstdlib>
#include <vector>

using Seed = std::vector<std::uint8_t>;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quorvel::fuzz {

std::vector<Seed> makeSeeds();

}  // namespace quorvel::fuzz

#endif  // QUORVEL_FUZZ_HOST_SEEDS_H_
