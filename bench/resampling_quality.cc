// SPDX-License-Identifier: Apache-2.0
// How well the resampling methods keep a picture: it is turned by 15 degrees twelve times, and back twelve times, and
// held against itself where it never left the frame. Prints the table of docs/resampling.md for the photographs that
// are named, and, with -o FILE.png, draws crops of the first: the original, and below it and beside each other what the
// methods left of it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "bench/peers/warp.h"
#include "host/io/formats.h"
#include "host/road/warp.h"

namespace {

using namespace quorvel::host;
using Bytes = std::vector<std::uint8_t>;

constexpr unsigned kSide = 496, kTurns = 12, kCrop = 128, kRim = 12;
constexpr double kDegrees = 15;

// The middle of a photograph, as large as the experiment wants it.
Picture middleOf(const Picture& photo) {
  Picture square{kSide, kSide, 255, Bytes(), photo.channels};
  auto& samples = std::get<Bytes>(square.samples);
  const auto& from = std::get<Bytes>(photo.samples);
  const std::size_t x = (photo.width - kSide) / 2, y = (photo.height - kSide) / 2;
  for (std::size_t row = 0; row < kSide; ++row) {
    const auto start = from.begin() + static_cast<std::ptrdiff_t>(((y + row) * photo.width + x) * photo.channels);
    samples.insert(samples.end(), start, start + kSide * photo.channels);
  }
  return square;
}

// Of a turn about the middle, counted from corners of pixels (0) or from their centres (0.5).
std::array<double, 9> turn(double degrees, double centreOfFirst) {
  const double angle = degrees * std::numbers::pi / 180, c = std::cos(angle), s = std::sin(angle);
  const double middle = kSide / 2.0 - centreOfFirst;
  return {c, -s, middle - c * middle + s * middle, s, c, middle - s * middle - c * middle, 0, 0, 1};
}

// Inside the circle that every turn keeps.
double psnr(const Picture& a, const Picture& b) {
  const auto &left = std::get<Bytes>(a.samples), &right = std::get<Bytes>(b.samples);
  double squares = 0, count = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const double x = static_cast<double>(i / a.channels % kSide) + 0.5 - kSide / 2.0;
    const double y = static_cast<double>(i / a.channels / kSide) + 0.5 - kSide / 2.0;
    if (std::hypot(x, y) > kSide / 2.0 - kRim) continue;
    squares += std::pow(static_cast<double>(left[i]) - right[i], 2);
    ++count;
  }
  return 10 * std::log10(255 * 255 * count / squares);
}

template <typename Step>
Picture thereAndBack(Picture picture, Step step) {
  for (const double direction : {kDegrees, -kDegrees}) {
    for (unsigned i = 0; i < kTurns; ++i) picture = step(picture, direction);
  }
  return picture;
}

struct Contestant {
  std::string name;
  std::function<Picture(const Picture&, double)> step;
};

std::vector<Contestant> contestants() {
  std::vector<Contestant> all;
  for (const WarpMethod& m : kWarpMethods) {
    if (m.method == 1 || m.method == 2) continue;  // fits of one-sided neighbourhoods, which move the picture
    all.push_back({fmt::format("{} {}", m.method, m.name), [m](const Picture& p, double degrees) {
                     const WarpSettings settings = {{kSide, kSide}, m.method, {}};
                     return warp(p, projectiveMapping(turn(degrees, 0), settings.size), settings).picture;
                   }});
  }
#ifdef QUORVEL_PEER_OPENCV
  for (const bool cubic : {false, true}) {
    all.push_back({cubic ? "OpenCV cubic" : "OpenCV bilinear", [cubic](const Picture& p, double degrees) {
                     const auto m = turn(degrees, 0.5);
                     Picture made = p;
                     made.samples = quorvel::bench::opencvWarpPicture(std::get<Bytes>(p.samples), kSide, kSide,
                                                                      p.channels, m.data(), cubic);
                     return made;
                   }});
  }
#endif
  return all;
}

// Puts the middle of `from` into a field of the sheet.
void paste(Picture& sheet, std::size_t field, const Picture& from) {
  auto& to = std::get<Bytes>(sheet.samples);
  const auto& samples = std::get<Bytes>(from.samples);
  constexpr std::size_t kFirst = (kSide - kCrop) / 2;
  for (std::size_t y = 0; y < kCrop; ++y) {
    const std::size_t row = field / 4 * (kCrop + 4) + y, column = field % 4 * (kCrop + 4);
    std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(((kFirst + y) * kSide + kFirst) * 3), kCrop * 3,
                to.begin() + static_cast<std::ptrdiff_t>((row * sheet.width + column) * 3));
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> photographs(argv + 1, argv + argc);
  std::string drawing;
  if (photographs.size() > 2 && photographs[0] == "-o") {
    drawing = photographs[1];
    photographs.erase(photographs.begin(), photographs.begin() + 2);
  }
  if (photographs.empty()) {
    fmt::print(stderr, "usage: quorvel-resampling-quality [-o CROPS.png] PHOTOGRAPH...\n");
    return 2;
  }
  try {
    const std::vector<Contestant> all = contestants();
    Picture sheet{4 * kCrop + 12, 2 * kCrop + 4, 255, Bytes((4 * kCrop + 12) * (2 * kCrop + 4) * 3, 255)};
    std::vector<std::string> rows;
    for (const Contestant& c : all) rows.push_back(fmt::format("| {} |", c.name));
    for (const std::string& name : photographs) {
      const Picture photo = readPicture(name);
      if (photo.width < kSide || photo.height < kSide || photo.is16() || photo.channels != 3) {
        throw DataError(name, fmt::format("is no 8-bit colour picture of {0} x {0} or more", kSide));
      }
      const Picture original = middleOf(photo);
      const bool drawn = !drawing.empty() && name == photographs[0];
      if (drawn) paste(sheet, 0, original);
      for (std::size_t i = 0; i < all.size(); ++i) {
        const Picture left = thereAndBack(original, all[i].step);
        rows[i] += fmt::format(" {:.2f} |", psnr(original, left));
        if (drawn && i + 1 < 8) paste(sheet, i + 1, left);
      }
    }
    for (const std::string& row : rows) fmt::print("{}\n", row);
    if (!drawing.empty()) {
      OutputFile out(drawing, true);
      writePicture(out, sheet, PictureFormat::Png);
      out.commit();
    }
  } catch (const std::exception& e) {
    fmt::print(stderr, "{}\n", e.what());
    return 1;
  }
  return 0;
}
