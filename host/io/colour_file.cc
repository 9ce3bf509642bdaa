// SPDX-License-Identifier: Apache-2.0
#include "host/io/colour_file.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include <fmt/format.h>

#include "host/io/cube_file.h"
#include "host/numbers.h"

namespace quorvel::host {
namespace {

// Takes over what the library reads.
class Reader : public ColorTableFile {
 public:
  void convertFrom(TMatrix<float>& matrix) override { table_.cells = matrix; }
  void convertTo(TMatrix<float>&) override {}
  unsigned rowsNeeded() const override { return kTableCells; }
  ColourTable take() { return std::move(table_); }

 private:
  ColourTable table_;
};

std::string extension(const fs::path& file) {
  std::string text = file.extension().string();
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::vector<double> readNumbers(const fs::path& file) {
  const auto bytes = readFile(file);
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  std::vector<double> numbers;
  while (!text.empty()) {
    constexpr std::string_view kBetween = " \t\r\n,";
    const auto from = text.find_first_not_of(kBetween);
    if (from == std::string_view::npos) break;
    text.remove_prefix(from);
    const bool remark = text.front() == '#';
    const auto end = std::min(text.find_first_of(remark ? "\n" : kBetween), text.size());
    if (!remark) {
      const auto value = parseNumber<double>(text.substr(0, end), -1e6, 1e6);
      if (!value) throw DataError(file, fmt::format("'{}' is no number that can be meant", text.substr(0, end)));
      numbers.push_back(*value);
    }
    text.remove_prefix(end);
  }
  return numbers;
}

void writeText(OutputFile& out, const std::string& text) { out.write(text.data(), text.size()); }

}  // namespace

std::optional<TableFormat> tableFormat(const fs::path& file) {
  const std::string kind = extension(file);
  if (kind == ".bin") return TableFormat::Binary;
  if (kind == ".txt") return TableFormat::Text;
  return std::nullopt;
}

ColourTable readColourTable(const fs::path& file) {
  if (extension(file) == ".cube") {
    const CubeFile cube = readCube(file);
    return tableOf([&](Rgb colour) {
      for (double& v : colour) v /= 255;
      colour = cube(colour);
      for (double& v : colour) v *= 255;
      return colour;
    });
  }
  const auto format = tableFormat(file);
  if (!format) throw UsageError(file.string() + ": colour tables are read from .cube, .bin or .txt");
  requireReadable(file);
  Reader reader;
  const std::string name = file.string();
  if (*format == TableFormat::Binary) {
    if (reader.readFromBinFile(name.c_str()) != 0) {
      throw DataError(file, fmt::format("is no colour table: {} bytes are wanted", kTableCells * 3 * sizeof(float)));
    }
  } else if (reader.readFromFile(name.c_str()) != 0) {
    throw DataError(file, fmt::format("is no colour table: {} rows of three numbers are wanted", kTableCells));
  }
  return reader.take();
}

void writeColourTable(OutputFile& out, const ColourTable& table, TableFormat format) {
  const TMatrix<float>& cells = table.cells;
  if (format == TableFormat::Binary) {
    out.write(cells.data(), std::size_t{cells.rows()} * cells.columns() * sizeof(float));
    return;
  }
  fmt::memory_buffer text;
  for (unsigned i = 0; i < cells.rows(); ++i) {
    const float* row = cells.row(i);
    fmt::format_to(std::back_inserter(text), "{} {} {} \n", row[0], row[1], row[2]);
  }
  out.write(text.data(), text.size());
}

Matrix3 readMatrix(const fs::path& file) {
  const auto numbers = readNumbers(file);
  if (numbers.size() != 9) throw DataError(file, fmt::format("has {} numbers, a matrix has 9", numbers.size()));
  Matrix3 m{};
  std::copy(numbers.begin(), numbers.end(), m.begin());
  return m;
}

void writeMatrix(OutputFile& out, const Matrix3& m) {
  std::string text = "# linear colours, a row for each of the outputs red, green, blue\n";
  for (std::size_t r = 0; r < 9; r += 3) text += fmt::format("{:.9g} {:.9g} {:.9g}\n", m[r], m[r + 1], m[r + 2]);
  writeText(out, text);
}

Patches readPatches(const fs::path& file) {
  const auto numbers = readNumbers(file);
  if (numbers.empty() || numbers.size() % 3 != 0) throw DataError(file, "is not of three numbers a patch");
  Patches patches(numbers.size() / 3);
  for (std::size_t i = 0; i < numbers.size(); ++i) patches[i / 3][i % 3] = numbers[i];
  return patches;
}

void writePatches(OutputFile& out, const Patches& patches) {
  std::string text = "# red, green, blue of each patch, row by row, 0 to 255\n";
  for (const Rgb& p : patches) text += fmt::format("{:.3f} {:.3f} {:.3f}\n", p[0], p[1], p[2]);
  writeText(out, text);
}

}  // namespace quorvel::host
