// SPDX-License-Identifier: Apache-2.0
#include "host/io/cube_file.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <string_view>

#include <fmt/format.h>

#include "host/numbers.h"

namespace quorvel::host {
namespace {

constexpr unsigned kMostCube = 256, kMostLine = 65536;

std::vector<std::string_view> words(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string_view> found;
  for (;;) {
    const auto from = line.find_first_not_of(kBlanks);
    if (from == std::string_view::npos) return found;
    const auto to = std::min(line.find_first_of(kBlanks, from), line.size());
    found.push_back(line.substr(from, to - from));
    line.remove_prefix(to);
  }
}

class Parser {
 public:
  explicit Parser(const fs::path& file) : file_(file) {}

  CubeFile parse(std::string_view text) {
    while (!text.empty()) {
      const auto end = std::min(text.find('\n'), text.size());
      ++number_;
      line(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (cube_.line.size == 0 && cube_.cube.size == 0) fail("tells no LUT_1D_SIZE and no LUT_3D_SIZE");
    const std::size_t lines = cube_.line.size, cells = std::size_t{cube_.cube.size} * cube_.cube.size * cube_.cube.size;
    if (rows_.size() != lines + cells) {
      fail(fmt::format("has {} rows of numbers, its sizes want {}", rows_.size(), lines + cells));
    }
    const auto middle = rows_.begin() + static_cast<std::ptrdiff_t>(lines);
    cube_.line.entries.assign(rows_.begin(), middle);
    cube_.cube.entries.assign(middle, rows_.end());
    return std::move(cube_);
  }

 private:
  [[noreturn]] void fail(const std::string& wrong) const { throw DataError(file_, wrong); }
  [[noreturn]] void failHere(const std::string& wrong) const { fail(fmt::format("line {}: {}", number_, wrong)); }

  double number(std::string_view word) const {
    constexpr double kMost = 1e6;
    const auto value = parseNumber<double>(word, -kMost, kMost);
    if (!value) failHere(fmt::format("'{}' is no number that can be meant", word));
    return *value;
  }

  Rgb three(const std::vector<std::string_view>& w, std::size_t from) const {
    if (w.size() != from + 3) failHere("three numbers are wanted");
    return {number(w[from]), number(w[from + 1]), number(w[from + 2])};
  }

  unsigned size(const std::vector<std::string_view>& w, unsigned most) const {
    const auto value = w.size() == 2 ? parseNumber(w[1], 2u, most) : std::nullopt;
    if (!value) failHere(fmt::format("a size from 2 to {} is wanted", most));
    return *value;
  }

  void range(CubeFile::Table& table, const std::vector<std::string_view>& w) const {
    if (w.size() != 3) failHere("two numbers are wanted");
    table.least.fill(number(w[1]));
    table.greatest.fill(number(w[2]));
    requireRange(table);
  }

  void requireRange(const CubeFile::Table& table) const {
    for (std::size_t c = 0; c < 3; ++c) {
      if (!(table.least[c] < table.greatest[c])) failHere("the range is empty");
    }
  }

  void line(std::string_view text) {
    const auto w = words(text);
    if (w.empty() || w[0].front() == '#') return;
    if (w[0] == "TITLE") {
      const auto from = text.find('"'), to = text.rfind('"');
      if (from != std::string_view::npos && to > from) cube_.title = text.substr(from + 1, to - from - 1);
    } else if (w[0] == "LUT_1D_SIZE") {
      cube_.line.size = size(w, kMostLine);
    } else if (w[0] == "LUT_3D_SIZE") {
      cube_.cube.size = size(w, kMostCube);
    } else if (w[0] == "LUT_1D_INPUT_RANGE") {
      range(cube_.line, w);
    } else if (w[0] == "LUT_3D_INPUT_RANGE") {
      range(cube_.cube, w);
    } else if (w[0] == "DOMAIN_MIN") {
      cube_.line.least = cube_.cube.least = three(w, 1);
    } else if (w[0] == "DOMAIN_MAX") {
      cube_.line.greatest = cube_.cube.greatest = three(w, 1);
      requireRange(cube_.cube);
    } else if (std::string_view("+-.0123456789").find(w[0].front()) == std::string_view::npos) {
      failHere(fmt::format("'{}' is not known in a .cube file", w[0]));
    } else {
      rows_.push_back(three(w, 0));
    }
  }

  const fs::path& file_;
  unsigned number_ = 0;
  CubeFile cube_;
  std::vector<Rgb> rows_;
};

// A place among n entries: the one below and the share of the next.
struct Place {
  std::size_t low;
  double share;
};
Place placeOf(double v, double least, double greatest, unsigned n) {
  const double at = std::clamp((v - least) / (greatest - least), 0.0, 1.0) * (n - 1);
  const auto low = std::min(static_cast<std::size_t>(at), std::size_t{n} - 2);
  return {low, at - static_cast<double>(low)};
}

Rgb throughLine(const CubeFile::Table& t, Rgb c) {
  for (std::size_t i = 0; i < 3; ++i) {
    const auto [low, share] = placeOf(c[i], t.least[i], t.greatest[i], t.size);
    c[i] = t.entries[low][i] + (t.entries[low + 1][i] - t.entries[low][i]) * share;
  }
  return c;
}

// From the lowest corner of the cell to the highest, first along the axis with the greatest share.
Rgb throughCube(const CubeFile::Table& t, const Rgb& c) {
  std::array<Place, 3> place;
  for (std::size_t i = 0; i < 3; ++i) place[i] = placeOf(c[i], t.least[i], t.greatest[i], t.size);
  const std::array<std::size_t, 3> stride = {1, t.size, std::size_t{t.size} * t.size};
  std::array<std::size_t, 3> order = {0, 1, 2};
  std::sort(order.begin(), order.end(), [&](auto a, auto b) { return place[a].share > place[b].share; });
  std::size_t at = place[0].low + place[1].low * stride[1] + place[2].low * stride[2];
  Rgb out = t.entries[at];
  for (const std::size_t axis : order) {
    const Rgb& before = t.entries[at];
    at += stride[axis];
    for (std::size_t i = 0; i < 3; ++i) out[i] += (t.entries[at][i] - before[i]) * place[axis].share;
  }
  return out;
}

}  // namespace

Rgb CubeFile::operator()(Rgb colour) const {
  if (line.size != 0) colour = throughLine(line, colour);
  return cube.size != 0 ? throughCube(cube, colour) : colour;
}

CubeFile readCube(const fs::path& file) {
  const auto bytes = readFile(file);
  return Parser(file).parse({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

}  // namespace quorvel::host
