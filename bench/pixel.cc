// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "bench/harness.h"

namespace quorvel::bench {

static void registerPacking() {
  const auto words = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto packed = randomSamples<std::uint8_t>(kSamples / 2 * 3, 255);
  constexpr std::size_t kMoved = kSamples * 2 + kSamples / 2 * 3;
  Contest("compr16to12", kMoved).quorvel([=, out = buffer<std::uint8_t>(packed->size())] {
    compr16to12(words->data(), out->data(), kSamples);
  });
  const auto unpacked = buffer<std::uint16_t>(kSamples);
  Contest("decomp12to16", kMoved).quorvel([=] { decomp12to16(packed->data(), unpacked->data(), kSamples); });
  Contest("decomp12to16s", kMoved).quorvel([=] { decomp12to16s(packed->data(), unpacked->data(), kSamples); });
}

void registerPixelContests() { registerPacking(); }

}  // namespace quorvel::bench
