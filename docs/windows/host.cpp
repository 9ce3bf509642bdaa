// SPDX-License-Identifier: Apache-2.0
// A host in C++, built with GCC against the installed headers: demosaics a synthetic frame and prints a checksum.
#include <cstdio>
#include <vector>

#include <quorvel/quorvel.h>

int main() {
  constexpr unsigned width = 128, height = 96, samples = width * height;
  std::vector<std::uint16_t> frame(samples), planes(3 * samples);  // red, then green, then blue
  for (unsigned y = 0; y < height; ++y) {
    for (unsigned x = 0; x < width; ++x) frame[y * width + x] = (x * 37 + y * 101 + x * y) % 4096;
  }
  std::uint16_t* r = planes.data();
  const int status = rgbFromBayer(frame.data(), width, height, width, r, r + samples, r + 2 * samples, bayerGradient);
  if (status != 0) {
    std::fprintf(stderr, "rgbFromBayer: %d\n", status);
    return 1;
  }
  const auto* words = reinterpret_cast<const std::uint32_t*>(r);
  std::printf("quorvel %s, %s: checksum %08x\n", quorvelVersion(), quorvelSimdTarget(),
              static_cast<unsigned>(TstSum32(words, 3 * samples * sizeof *r)));
}
