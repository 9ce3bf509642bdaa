// SPDX-License-Identifier: Apache-2.0
// Colour tables on two frames: of random colours, whose cells lie all over the table, and of a photograph, whose
// neighbouring pixels share them.
#include <quorvel/colour.h>

#include <algorithm>
#include <cmath>

#include "bench/harness.h"
#include "bench/peers/colour.h"
#include "bench/peers/colour_tables.h"

#ifdef QUORVEL_BENCH_PHOTOGRAPH
#include "tests/support/photographs.h"
#endif

namespace quorvel::bench {
namespace {

constexpr unsigned kLevels = 64;
constexpr std::size_t kPixelSamples = 3 * std::size_t{kSamples};

// A smooth correction: more contrast and a turn of the hues.
std::array<double, 3> move(std::array<double, 3> c) {
  for (double& v : c) v = v - 0.1 * std::sin(2 * 3.14159265358979 * v);
  const double grey = 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
  const std::array<double, 3> turned = {c[0], c[1], c[2]};
  for (std::size_t i = 0; i < 3; ++i) {
    c[i] = std::clamp(grey + 1.15 * (turned[i] - grey) + 0.05 * (turned[(i + 1) % 3] - grey), 0.0, 1.0);
  }
  return c;
}

template <typename Table>
std::shared_ptr<Table> filled() {
  TMatrix<float> matrix(3, kLevels * kLevels * kLevels);
  for (unsigned i = 0; i < matrix.rows(); ++i) {
    const auto at = [](unsigned level) { return 4.0 * level / 255; };
    const auto colour = move({at(i % kLevels), at(i / kLevels % kLevels), at(i / kLevels / kLevels)});
    for (std::size_t c = 0; c < 3; ++c) matrix.row(i)[c] = static_cast<float>(255 * colour[c]);
  }
  auto table = std::make_shared<Table>();
  table->convertFrom(matrix);
  return table;
}

using Frame = std::shared_ptr<Samples<std::uint8_t>>;

// Null where there is none.
Frame photograph() {
#ifdef QUORVEL_BENCH_PHOTOGRAPH
  const auto photo = test::loadPhotograph("jxl/flower/flower.png");
  if (!photo) return nullptr;
  const auto frame = buffer<std::uint8_t>(kPixelSamples);
  for (std::size_t i = 0; i < kPixelSamples; ++i) {
    const std::size_t x = i / 3 % kWidth % photo->width, y = i / 3 / kWidth % photo->height;
    (*frame)[i] = static_cast<std::uint8_t>(photo->rgb[3 * (y * photo->width + x) + i % 3] >> 4);
  }
  return frame;
#else
  return nullptr;
#endif
}

// Tables of 8 bits, all peers beside each.
void registerBytes(const Frame& frame, const std::string& content) {
  const auto out = buffer<std::uint8_t>(kPixelSamples);
  const auto values = filled<ColorConvTable>();
  const auto gains = filled<ColorConvTableKxB>();
  Contest valueContest("colorConv24_24 " + content, 2 * kPixelSamples);
  Contest gainContest("colorConv24_24MMX " + content, 2 * kPixelSamples);
  valueContest.quorvel([=] { colorConv24_24(frame->data(), out->data(), values->get(), kSamples); });
  gainContest.quorvel([=] { colorConv24_24MMX(frame->data(), out->data(), gains->get(), kSamples); });
  for (Contest* contest : {&valueContest, &gainContest}) {
    [[maybe_unused]] const auto peer = [&](const char* name, const ConvertPixels& convert) {
      contest->peer(name, [=] { convert(frame->data(), out->data(), kWidth, kHeight); });
    };
#ifdef QUORVEL_PEER_LCMS
    peer("lcms", lcmsDeviceLink(kLevels, move));
#endif
#ifdef QUORVEL_PEER_OCIO
    peer("ocio", ocioLut3D(kLevels, move));
#endif
  }
}

void registerWords(const Frame& frame, const std::string& content) {
  const auto words = buffer<std::uint16_t>(kPixelSamples);
  std::transform(frame->begin(), frame->end(), words->begin(), [](unsigned v) { return v << 4 | v >> 4; });
  const auto out = buffer<std::uint16_t>(kPixelSamples);
  const auto values = filled<ColorConvTable64>();
  const auto gains = filled<ColorConvTableKxB>();
  Contest("colorConv48_48 " + content, 4 * kPixelSamples).quorvel([=] {
    colorConv48_48(words->data(), out->data(), values->get(), kSamples);
  });
  Contest("colorConv48_48MMX " + content, 4 * kPixelSamples).quorvel([=] {
    colorConv48_48MMX(words->data(), out->data(), gains->get(), kSamples);
  });
}

void registerMatrices() {
  constexpr std::array<double, 9> kMatrix = {1.7, -0.5, -0.2, -0.3, 1.6, -0.3, 0.1, -0.7, 1.6};
  CMMXMatr33 coefficients;
  matrMulCoef(kMatrix.data(), &coefficients);
  const auto pixels = randomSamples<std::uint16_t>(kPixelSamples, 4095);
  const auto out = buffer<std::uint16_t>(kPixelSamples);
  Contest planes("matrMul48_48_Plane_MMX", 4 * kPixelSamples), woven("matrMul48_48MMX", 4 * kPixelSamples);
  planes.quorvel([=] {
    const std::uint16_t* in = pixels->data();
    std::uint16_t* to = out->data();
    matrMul48_48_Plane_MMX(&coefficients, in, in + kSamples, in + 2 * kSamples, to, to + kSamples, to + 2 * kSamples,
                           kSamples);
  });
  woven.quorvel([=] { matrMul48_48MMX(kMatrix.data(), pixels->data(), out->data(), kSamples); });
  Contest bytes("matrMul24_24MMX", 2 * kPixelSamples);
  const auto small = randomSamples<std::uint8_t>(kPixelSamples, 255);
  bytes.quorvel([=, to = buffer<std::uint8_t>(kPixelSamples)] {
    matrMul24_24MMX(kMatrix.data(), small->data(), to->data(), kSamples);
  });
#ifdef QUORVEL_PEER_OPENCV
  for (Contest* contest : {&planes, &woven}) {
    contest->peer("opencv", [=] { opencvTransform(pixels->data(), out->data(), kWidth, kHeight, kMatrix.data()); });
  }
  bytes.peer("opencv", [=, to = buffer<std::uint8_t>(kPixelSamples)] {
    opencvTransform(small->data(), to->data(), kWidth, kHeight, kMatrix.data());
  });
#endif
}

}  // namespace

void registerColourContests() {
  const Frame random = randomSamples<std::uint8_t>(kPixelSamples, 255);
  registerBytes(random, "random");
  registerWords(random, "random");
  if (const Frame photo = photograph()) {
    registerBytes(photo, "photo");
    registerWords(photo, "photo");
  }
  registerMatrices();
}

}  // namespace quorvel::bench
