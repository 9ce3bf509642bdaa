// SPDX-License-Identifier: Apache-2.0
// A host in miniature: unpacks a grey frame, demosaics it and keeps a buffer, all through the installed headers.
#include <cstdio>
#include <vector>

#include <quorvel/quorvel.h>

int main() {
  constexpr unsigned kWidth = 16, kHeight = 8, kSamples = kWidth * kHeight;
  const std::vector<std::uint16_t> grey(kSamples, 1234);
  std::vector<std::uint8_t> packed(kSamples / 2 * 3);
  std::vector<std::uint16_t> frame(kSamples), r(kSamples), g(kSamples), b(kSamples);
  compr16to12(grey.data(), packed.data(), kSamples);
  decomp12to16(packed.data(), frame.data(), kSamples);
  rgbFromBayer(frame.data(), kWidth, kHeight, kWidth, r.data(), g.data(), b.data(), bayerVariableGradients);
  TPtrAllocXYZ<std::uint32_t> block(4, 3, 2);
  const bool right = r == grey && g == grey && b == grey && block.getNXYZ() == 24;
  std::printf("quorvel %s on %s: %s\n", quorvelVersion(), quorvelSimdTarget(), right ? "right" : "wrong");
  return right ? 0 : 1;
}
