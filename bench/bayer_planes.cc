// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include <array>

#include "bench/harness.h"
#include "bench/peers/colour.h"

namespace quorvel::bench {
namespace {

constexpr unsigned kColumns = kWidth / 2;
constexpr int kOffset = 2048;

// Four planes of a value a cell each, of which the first two together also serve as one with both luminances.
template <typename T>
std::array<T*, 4> cellPlanes(const std::shared_ptr<Samples<T>>& memory) {
  constexpr std::size_t kCells = kSamples / 4;
  return {memory->data(), memory->data() + kCells, memory->data() + 2 * kCells, memory->data() + 3 * kCells};
}

template <typename T>
constexpr std::size_t kMoved = (sizeof(std::uint16_t) + sizeof(T)) * kSamples;

template <typename T, typename Offset>
void forward(const char* name,
             int (*routine)(const std::uint16_t*, unsigned, unsigned, unsigned, T*, T*, T*, T*, Offset)) {
  const auto frame = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto memory = buffer<T>(kSamples);
  Contest(name, kMoved<T>).quorvel([=] {
    const auto to = cellPlanes(memory);
    routine(frame->data(), kWidth, kWidth, kHeight, to[0], to[1], to[2], to[3], kOffset);
  });
}

void forward(const char* name, int (*routine)(const std::uint16_t*, unsigned, unsigned, unsigned, std::int16_t*,
                                              std::int16_t*, std::int16_t*, int)) {
  const auto frame = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto memory = buffer<std::int16_t>(kSamples);
  Contest(name, kMoved<std::int16_t>).quorvel([=] {
    const auto to = cellPlanes(memory);
    routine(frame->data(), kWidth, kWidth, kHeight, to[0], to[2], to[3], kOffset);
  });
}

template <typename T, typename Offset>
void inverse(const char* name, int (*routine)(const T*, const T*, const T*, const T*, Offset, unsigned, unsigned,
                                              std::uint16_t*, unsigned)) {
  const auto memory = randomSamples<T>(kSamples, 2047);
  const auto frame = buffer<std::uint16_t>(kSamples);
  Contest(name, kMoved<T>).quorvel([=] {
    const auto from = cellPlanes(memory);
    routine(from[0], from[1], from[2], from[3], kOffset, kColumns, kHeight, frame->data(), kWidth);
  });
}

void inverse(const char* name, int (*routine)(const std::int16_t*, const std::int16_t*, const std::int16_t*, int,
                                              unsigned, unsigned, std::uint16_t*, unsigned)) {
  const auto memory = randomSamples<std::int16_t>(kSamples, 2047);
  const auto frame = buffer<std::uint16_t>(kSamples);
  Contest(name, kMoved<std::int16_t>).quorvel([=] {
    const auto from = cellPlanes(memory);
    routine(from[0], from[2], from[3], kOffset, kColumns, kHeight, frame->data(), kWidth);
  });
}

}  // namespace

void registerBayerPlanesContests() {
  forward("cells to YCbCr 16", BayerRGBToYCbCrPlanesApprox16slow);
  forward("cells to YCbCr 18", BayerRGBToYCbCrPlanesApprox18slow);
  forward("cells to YUV", BayerRGBToYUVplanesApprox16slow);
  forward("cells to YYCbCr 16", BayerRGBToYYCbCrPlanesApprox16slow);
  forward("cells to YYCbCr 12.4", BayerRGBToYYCbCrPlanes12_4slow);
  forward("cells to YYCbCr 12.6", BayerRGBToYYCbCrPlanes12_6slow);
  forward("cells to YdYCbCr 12.4", BayerRGBToYdYCbCrPlanes12_4slow);
  forward("cells to YdYCbCr 12.6", BayerRGBToYdYCbCrPlanes12_6slow);
  forward("cells to YdYCbCr float", BayerRGBToYdYCbCrPlanesFlt);
  inverse("cells from YCbCr 16", YCbCrPlanesToBayerRGBApprox16slow);
  inverse("cells from YUV", YUVplanesToBayerRGBApprox16slow);
  inverse("cells from YYCbCr 16", YYCbCrPlanesToBayerRGBApprox16slow);
  inverse("cells from YYCbCr 12.4", YYCbCrPlanesToBayerRGBfrom12_4slow);
  inverse("cells from YdYCbCr 12.4", YdYCbCrPlanesToBayerRGBfrom12_4slow);
  inverse("cells from YdYCbCr float", YdYCbCrPlanesToBayerRGBFlt);

  const auto rgb = randomSamples<std::uint8_t>(3 * kSamples, 255);
  const auto y = randomSamples<float>(kSamples, 127, 1), cb = randomSamples<float>(kSamples, 127, 2),
             cr = randomSamples<float>(kSamples, 127, 3);
  Contest toPlanes("RGB8ToYCbCrPlanesFlt", (3 + 3 * sizeof(float)) * kSamples);
  toPlanes.quorvel(
      [=] { RGB8ToYCbCrPlanesFlt(rgb->data(), kWidth, kWidth, kHeight, y->data(), cb->data(), cr->data(), 128); });
  Contest("YCbCrPlanesToRGB8Flt", (3 + 3 * sizeof(float)) * kSamples).quorvel([=] {
    YCbCrPlanesToRGB8Flt(y->data(), cb->data(), cr->data(), rgb->data(), kWidth, kWidth, kHeight, 128);
  });
#ifdef QUORVEL_PEER_OPENCV
  toPlanes.peer("OpenCV-float", [=, colours = Samples<float>()]() mutable {
    if (colours.empty()) colours.assign(rgb->begin(), rgb->end());
    opencvYCrCb(colours.data(), kWidth, kHeight);
  });
#endif
}

}  // namespace quorvel::bench
