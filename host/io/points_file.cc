// SPDX-License-Identifier: Apache-2.0
#include "host/io/points_file.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "host/numbers.h"

namespace quorvel::host {
namespace {

constexpr double kMost = 1e6;               // places and weights beyond are mistakes
constexpr std::size_t kMostLines = 100000;  // more would not make a fit better, but slow
constexpr std::size_t kLongestName = 100;
constexpr int kMostShown = 40;  // characters

std::string_view trimmed(std::string_view text) {
  const auto from = text.find_first_not_of(" \t");
  return from == std::string_view::npos ? std::string_view()
                                        : text.substr(from, text.find_last_not_of(" \t") + 1 - from);
}

// The length of the character of UTF-8 that the text begins with; 0 where that is none, or one that controls.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
  const unsigned first = byte(0);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first < 0xF5                  ? 4
                                                             : 0;
  if (first < 0xC2) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  return first == 0xC2 && byte(1) < 0xA0 ? 0 : length;
}

// A line of the file and its fields.
class Row {
 public:
  Row(const fs::path& file, std::size_t line, std::string_view text) : file_(file), line_(line) {
    for (;;) {
      const auto comma = text.find(',');
      fields_.push_back(unquoted(trimmed(text.substr(0, comma))));
      if (comma == std::string_view::npos) break;
      text.remove_prefix(comma + 1);
    }
  }

  std::size_t line() const { return line_; }
  std::size_t size() const { return fields_.size(); }
  std::string_view operator[](std::size_t i) const { return fields_[i]; }

  [[noreturn]] void refuse(const std::string& wrong) const {
    throw DataError(file_, fmt::format("line {}: {}", line_, wrong));
  }

  void requireFields(std::size_t least, std::size_t most, std::string_view wanted) const {
    if (size() >= least && size() <= most) return;
    const bool semicolons = size() == 1 && fields_[0].find(';') != std::string_view::npos;
    refuse(fmt::format("has {} field{}, wanted are {}{}", size(), size() == 1 ? "" : "s", wanted,
                       semicolons ? " with commas, not semicolons, between them" : ""));
  }

  double number(std::size_t i, double low = -kMost) const {
    const auto value = parseNumber<double>(fields_[i], low, kMost);
    if (!value) refuse(fmt::format("'{}' is not a number from {} to {}", shown(fields_[i]), low, kMost));
    return *value;
  }
  Place place(std::size_t i) const {
    const double x = number(i), y = number(i + 1);
    return {x, y};
  }

 private:
  // Spreadsheets put quotes around a field as a whole.
  std::string_view unquoted(std::string_view field) const {
    const auto quotes = std::count(field.begin(), field.end(), '"');
    if (quotes == 0) return field;
    if (quotes != 2 || field.front() != '"' || field.back() != '"') refuse("has a quote that makes no sense");
    return trimmed(field.substr(1, field.size() - 2));
  }

  const fs::path& file_;
  std::size_t line_;
  std::vector<std::string_view> fields_;
};

// Hands every line on that is neither blank nor a remark. The first may be one of the headers: a header with other
// names could mean other columns, and is refused where its words are wanted as numbers.
template <typename Take>
void forEachRow(const fs::path& file, const std::vector<std::vector<std::string_view>>& headers, Take&& take) {
  const auto bytes = readFile(file);
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) throw DataError(file, "is UTF-16, UTF-8 is wanted");
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::size_t taken = 0;
  bool first = true;
  for (std::size_t line = 1; !text.empty(); ++line) {
    const auto end = text.find('\n');
    std::string_view whole = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (whole.ends_with('\r')) whole.remove_suffix(1);
    whole = trimmed(whole);
    if (whole.empty() || whole.front() == '#') continue;
    const Row row(file, line, whole);
    const bool isHeader =
        std::exchange(first, false) && std::any_of(headers.begin(), headers.end(), [&](const auto& h) {
          if (h.size() != row.size()) return false;
          for (std::size_t i = 0; i < h.size(); ++i) {
            if (h[i] != row[i]) return false;
          }
          return true;
        });
    if (isHeader) continue;
    if (++taken > kMostLines) row.refuse(fmt::format("more than {} points", kMostLines));
    take(row);
  }
  if (taken == 0) throw DataError(file, "has no points");
}

// What a file measures only once.
template <typename Key>
class Once {
 public:
  void note(const Key& key, const Row& row, const char* what) {
    const auto [at, fresh] = lines_.emplace(key, row.line());
    if (!fresh) row.refuse(fmt::format("{} line {}", what, at->second));
  }

 private:
  std::map<Key, std::size_t> lines_;
};

// Photos name the files of their transformations, also where names do not tell capitals from others.
void requireFileName(const Row& row, std::string_view name) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
  if (name.empty() || name.size() > kLongestName || name.front() == '.' || name.back() == '.' ||
      name.find_first_not_of(kLetters) != std::string_view::npos) {
    row.refuse(fmt::format("'{}' cannot name a photo: letters, digits, '-', '_' and '.' within do", shown(name)));
  }
}

std::size_t indexOf(std::map<std::string, std::size_t, std::less<>>& known, std::vector<std::string>& names,
                    std::string_view name) {
  const auto found = known.find(name);
  if (found != known.end()) return found->second;
  known.emplace(name, names.size());
  names.emplace_back(name);
  return names.size() - 1;
}

}  // namespace

std::string shown(std::string_view text) {
  std::string result;
  for (int i = 0; !text.empty(); ++i) {
    if (i == kMostShown) return result + "...";
    const std::size_t length = characterLength(text);
    if (length == 0) {
      result += fmt::format("\\x{:02X}", static_cast<unsigned char>(text.front()));
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::vector<TiePoint> readTiePoints(const fs::path& file) {
  std::vector<TiePoint> points;
  Once<std::pair<double, double>> places;
  forEachRow(file, {{"x", "y", "X", "Y"}, {"x", "y", "X", "Y", "weight"}}, [&](const Row& row) {
    row.requireFields(4, 5, "x,y,X,Y or x,y,X,Y,weight");
    const TiePoint p = {row.line(), row.place(0), row.place(2), row.size() == 5 ? row.number(4, 0.0) : 1.0};
    places.note({p.output.x, p.output.y}, row, "x and y are those of");
    points.push_back(p);
  });
  return points;
}

Sightings readSightings(const fs::path& file) {
  Sightings sightings;
  std::map<std::string, std::size_t, std::less<>> photos, points;
  Once<std::pair<std::size_t, std::size_t>> seen;
  forEachRow(file, {{"photo", "point", "x", "y"}}, [&](const Row& row) {
    row.requireFields(4, 4, "photo,point,x,y");
    requireFileName(row, row[0]);
    if (row[1].empty()) row.refuse("its point has no name");
    const Sighting s = {row.line(), indexOf(photos, sightings.photos, row[0]),
                        indexOf(points, sightings.points, row[1]), row.place(2)};
    seen.note({s.photo, s.point}, row, "the photo and the point are those of");
    sightings.all.push_back(s);
  });
  std::vector<std::string> lower = sightings.photos;
  for (std::string& name : lower) {
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
  std::sort(lower.begin(), lower.end());
  const auto twice = std::adjacent_find(lower.begin(), lower.end());
  if (twice != lower.end()) throw DataError(file, fmt::format("two photos are called '{}' but for capitals", *twice));
  return sightings;
}

}  // namespace quorvel::host
