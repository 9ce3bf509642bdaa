// SPDX-License-Identifier: Apache-2.0
// Rate and distortion of compressed frames on photographs, as the tables of docs/compression.md.
//
//   quorvel-rate [PHOTOGRAPH.png ...]     without arguments: those of the package libjxl-testdata
//
// With loss: the frame is what a sensor would keep of the 8-bit photograph, one colour a site, in the upper 8 bits
// of 12. It stands beside JPEG on the four Bayer phases, each a grey picture of half the size: JPEG then codes just the
// samples that the frame has, loses nothing by its 8 bits, and is measured on the same samples. A demosaiced picture
// would have three times as many, two thirds of them made up. JPEG has codes made for each picture.
//
// Without loss: low bits that are always 0 would be a gift, so that the photograph is turned into counts of a sensor,
// with the noise of its light and its electronics.
#include <array>
#include <cmath>
#include <cstdio>
#include <random>

#include <png.h>

#include "host/io/formats.h"
#include "host/io/jpeg.h"
#include "host/io/qvb.h"
#include "host/scene/scene.h"

namespace quorvel::host {
namespace {

struct Point {
  double bits = 0, psnr = 0;  // bits a sample
};

double psnrOf(double squares, std::size_t samples) {
  return 10 * std::log10(4095.0 * 4095.0 * static_cast<double>(samples) / squares);
}

double squaresBetween(const std::vector<std::uint16_t>& a, const std::vector<std::uint16_t>& b) {
  double squares = 0;
  for (std::size_t i = 0; i < a.size(); ++i) squares += std::pow(a[i] - b[i], 2);
  return squares;
}

RawFrame mosaicOf(const Picture& photograph) {
  RawFrame frame;
  frame.width = photograph.width;
  frame.height = photograph.height;
  const auto& rgb = std::get<0>(photograph.samples);
  for (unsigned y = 0; y < frame.height; ++y) {
    for (unsigned x = 0; x < frame.width; ++x) {
      const unsigned colour = (x + y) % 2 == 0 ? 1 : y % 2 == 0 ? 0 : 2;
      frame.samples.push_back(
          static_cast<std::uint16_t>(rgb[(std::size_t{y} * frame.width + x) * photograph.channels + colour] << 4));
    }
  }
  return frame;
}

// A sensor that holds 20000 electrons and reads with an error of two counts.
RawFrame exposed(RawFrame frame) {
  std::mt19937 engine(1);
  std::normal_distribution<double> normal;
  constexpr double kElectrons = 20000.0 / kFullScale, kRead = 2;
  for (std::uint16_t& sample : frame.samples) {
    const double light = kFullScale * std::pow(sample / 4080.0, 2.2);
    const double counts = light + std::sqrt(light / kElectrons + kRead * kRead) * normal(engine);
    sample = static_cast<std::uint16_t>(std::lround(std::clamp(counts, 0.0, double{kFullScale})));
  }
  return frame;
}

Point ownPoint(const RawFrame& frame, int quality) {
  const auto file = compressed(frame, quality);
  const double squares = squaresBetween(frame.samples, expanded(file, "own").mosaic.frame.samples);
  const auto samples = static_cast<double>(frame.samples.size());
  return {8.0 * static_cast<double>(file.size()) / samples, psnrOf(squares, frame.samples.size())};
}

Point jpegPoint(const RawFrame& frame, int quality) {
  double squares = 0;
  std::size_t bytes = 0;
  for (unsigned phase = 0; phase < 4; ++phase) {
    Picture grey{frame.width / 2, frame.height / 2, 255, std::vector<std::uint8_t>(), 1};
    auto& samples = std::get<0>(grey.samples);
    for (unsigned y = phase / 2; y < frame.height / 2 * 2; y += 2) {
      for (unsigned x = phase % 2; x < frame.width / 2 * 2; x += 2) {
        samples.push_back(static_cast<std::uint8_t>(frame.samples[std::size_t{y} * frame.width + x] >> 4));
      }
    }
    const auto file = encodeJpeg(grey, {quality, true});
    bytes += file.size();
    const auto back = std::get<0>(pictureOf(readJpegCoefficients(file, "jpeg")).samples);
    for (std::size_t i = 0; i < back.size(); ++i) squares += std::pow(16 * (back[i] - samples[i]), 2);
  }
  const std::size_t samples = std::size_t{frame.width / 2} * (frame.height / 2) * 4;
  return {8.0 * static_cast<double>(bytes) / static_cast<double>(samples), psnrOf(squares, samples)};
}

// The rate of JPEG at a PSNR, between its qualities in proportion; nothing beyond their range.
double jpegRateAt(const std::vector<Point>& curve, double psnr) {
  for (std::size_t i = 1; i < curve.size(); ++i) {
    if (curve[i - 1].psnr > psnr || curve[i].psnr < psnr) continue;
    const double t = (psnr - curve[i - 1].psnr) / (curve[i].psnr - curve[i - 1].psnr);
    return curve[i - 1].bits + t * (curve[i].bits - curve[i - 1].bits);
  }
  return std::nan("");
}

std::size_t png16Bytes(const RawFrame& frame) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = frame.width;
  image.height = frame.height;
  image.format = PNG_FORMAT_LINEAR_Y;
  png_alloc_size_t bytes = 0;
  png_image_write_get_memory_size(image, bytes, 0, frame.samples.data(), 0, nullptr);
  return bytes;
}

void lossless(const std::string& name, const RawFrame& frame) {
  const auto samples = static_cast<double>(frame.samples.size());
  const auto file = compressedLossless({frame, Phase::GRBG});
  if (expanded(file, "own").mosaic.frame.samples != frame.samples) std::abort();
  std::printf("| %s | %u x %u | %.3f | %.3f | 12.000 |\n", name.c_str(), frame.width, frame.height,
              8.0 * static_cast<double>(file.size()) / samples, 8.0 * static_cast<double>(png16Bytes(frame)) / samples);
}

int tables(std::vector<std::string> files) {
  if (files.empty()) {
    const std::string where = "/usr/share/libjxl-testdata/";
    for (const char* file : {"jxl/flower/flower.png", "external/wesaturate/500px/cvo9xd_keong_macan_srgb8.png",
                             "external/wesaturate/500px/tmshre_riaphotographs_srgb8.png",
                             "external/wesaturate/500px/u76c0g_bliznaca_srgb8.png"}) {
      files.push_back(where + file);
    }
  }
  std::printf("| photograph | quality | PSNR, dB | .qvb, bits a sample | JPEG at that PSNR | JPEG / .qvb |\n");
  std::printf("|---|---|---|---|---|---|\n");
  std::vector<std::pair<std::string, RawFrame>> frames;
  for (const std::string& file : files) {
    const std::string name = fs::path(file).stem().string();
    frames.emplace_back(name, mosaicOf(readPicture(file)));
    const RawFrame& frame = frames.back().second;
    std::vector<Point> curve;
    for (int quality = 5; quality <= 100; quality += quality < 80 ? 5 : 1) curve.push_back(jpegPoint(frame, quality));
    for (const int quality : {60, 50, 40, 30, 20}) {
      const Point own = ownPoint(frame, quality);
      const double jpeg = jpegRateAt(curve, own.psnr);
      std::printf("| %s | %d | %.2f | %.3f | %.3f | %.2f |\n", name.c_str(), quality, own.psnr, own.bits, jpeg,
                  jpeg / own.bits);
    }
  }
  std::printf("\n| frame | size | .qvb, bits a sample | PNG of 16 bits | packed |\n|---|---|---|---|---|\n");
  for (const auto& [name, frame] : frames) lossless(name + ", exposed", exposed(frame));
  lossless("built-in scene", renderScene({}).frame);
  return 0;
}

}  // namespace
}  // namespace quorvel::host

int main(int argc, char** argv) {
  try {
    return quorvel::host::tables({argv + 1, argv + argc});
  } catch (const std::exception& e) {
    std::fprintf(stderr, "quorvel-rate: %s\n", e.what());
    return 1;
  }
}
