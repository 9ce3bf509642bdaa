// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "bench/harness.h"

#if defined(QUORVEL_PEER_LIBYUV)
#include <libyuv/planar_functions.h>
#endif

namespace quorvel::bench {

// The loop that a compiler makes of the rule itself.
template <typename Out>
[[gnu::noinline]] static void plainLookUp(const std::uint16_t* __restrict src, Out* __restrict dst,
                                          const Out* __restrict table, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) dst[i] = table[src[i]];
}

static void registerDepth() {
  const auto bytes = buffer<std::uint8_t>(kSamples);
  constexpr std::size_t kMoved = std::size_t{kSamples} * 3;

  const auto narrow = [&](const char* name, unsigned bits, auto routine) {
    const auto words = randomSamples<std::uint16_t>(kSamples, (1u << bits) - 1);
    Contest contest(name, kMoved);
    contest.quorvel([=] { routine(words->data(), bytes->data()); });
#if defined(QUORVEL_PEER_LIBYUV)
    contest.peer("libyuv", [=] {
      libyuv::Convert16To8Plane(words->data(), kWidth, bytes->data(), kWidth, 1 << (24 - bits), kWidth, kHeight);
    });
#endif
  };
  using Words = const std::uint16_t*;
  using Bytes = std::uint8_t*;
  narrow("conv12to8MMX", 12, [](Words src, Bytes dst) { conv12to8MMX(src, dst, kSamples); });
  narrow("conv14to8MMX", 14, [](Words src, Bytes dst) { conv14to8MMX(src, dst, kSamples); });
  narrow("convNto8MMX", 12, [](Words src, Bytes dst) { convNto8MMX(src, dst, kSamples, 4); });
  narrow("convTileNto8MMX", 12,
         [](Words src, Bytes dst) { convTileNto8MMX(64, 4.0, src, kWidth, kHeight, kWidth, dst); });

  const auto source = randomSamples<std::uint8_t>(kSamples, 255);
  const auto words = buffer<std::uint16_t>(kSamples);
  Contest wide("conv8to12MMX", kMoved);
  wide.quorvel([=] { conv8to12MMX(source->data(), words->data(), kSamples); });
#if defined(QUORVEL_PEER_LIBYUV)
  wide.peer("libyuv",
            [=] { libyuv::Convert8To16Plane(source->data(), kWidth, words->data(), kWidth, 4096, kWidth, kHeight); });
#endif
}

static void registerGamma() {
  const auto words = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto* samples = reinterpret_cast<const std::int16_t*>(words->data());
  const auto table8 = randomSamples<std::uint8_t>(4096, 255);
  const auto table16 = randomSamples<std::uint16_t>(4096, 65535);
  const auto bytes = buffer<std::uint8_t>(kSamples);
  const auto out = buffer<std::uint16_t>(kSamples);
  // The captured `words` keeps `samples` alive.
  Contest("gamma16_8", std::size_t{kSamples} * 3)
      .quorvel([=, keep = words] { gamma16_8(samples, bytes->data(), table8->data(), kSamples); })
      .peer("plain loop", [=] { plainLookUp(words->data(), bytes->data(), table8->data(), kSamples); });
  Contest("gamma16_16", std::size_t{kSamples} * 4)
      .quorvel([=, keep = words] { gamma16_16(samples, out->data(), table16->data(), kSamples); })
      .peer("plain loop", [=] { plainLookUp(words->data(), out->data(), table16->data(), kSamples); });
}

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

void registerPixelContests() {
  registerDepth();
  registerGamma();
  registerPacking();
}

}  // namespace quorvel::bench
