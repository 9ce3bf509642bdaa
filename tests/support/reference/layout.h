// SPDX-License-Identifier: Apache-2.0
// Plain model of channel layouts: pixels are woven out of channels, and a channel is every so-manieth sample.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_LAYOUT_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_LAYOUT_H_

#include <cstdint>
#include <vector>

namespace quorvel::reference {

template <typename T>
std::vector<T> weave(const std::vector<std::vector<T>>& channels) {
  std::vector<T> pixels;
  for (std::size_t i = 0; i < channels[0].size(); ++i) {
    for (const auto& channel : channels) pixels.push_back(channel[i]);
  }
  return pixels;
}

template <typename T>
std::vector<T> channel(const std::vector<T>& pixels, std::size_t channels, std::size_t wanted) {
  std::vector<T> out;
  for (std::size_t i = wanted; i < pixels.size(); i += channels) out.push_back(pixels[i]);
  return out;
}

// Red above green above blue, `greenBits` of green and five of the others.
inline std::uint16_t hiColor(unsigned r, unsigned g, unsigned b, int greenBits) {
  const unsigned green = g * (1u << greenBits) / 256;
  return static_cast<std::uint16_t>(((r / 8 << greenBits) + green) * 32 + b / 8);
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_LAYOUT_H_
