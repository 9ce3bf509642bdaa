// SPDX-License-Identifier: Apache-2.0
// Colour table files: a matrix of floats as bytes or as text. Everything is read and tested before the table hears of
// it.
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "quorvel/colour.h"
#include "runtime/plain_memory.h"

namespace {

constexpr int kFailed = 3;
constexpr unsigned kColumns = 3, kBinaryRows = 64 * 64 * 64;
constexpr std::uint32_t kBinaryBytes = kBinaryRows * kColumns * sizeof(float);
constexpr std::uint32_t kTextRoom = 8u << 20;
static_assert(std::endian::native == std::endian::little && sizeof(float) == 4, "the file holds the bytes of memory");

using Bytes = quorvel::PlainMemory<char>;

// The whole file in memory; null where that fails. 32 bits bound what one call reads.
Bytes contents(const char* name, std::size_t* bytes) {
  CMWFile file;
  std::uint64_t size = 0;
  if (file.open(name) != 0 || file.size(&size) != 0 || size > std::numeric_limits<std::int32_t>::max()) return nullptr;
  *bytes = static_cast<std::size_t>(size);
  Bytes memory(quorvel::plainMemory<char>(size + 1));
  if (memory == nullptr || file.read(memory.get(), static_cast<std::uint32_t>(size)) != 0) return nullptr;
  return memory;
}

int store(const char* name, const void* from, std::uint32_t bytes, bool sequential) {
  CMWFile file;
  if (file.create(name, sequential) != 0) return kFailed;
  const int written = file.write(from, bytes);
  return file.close() != 0 || written != 0 ? kFailed : 0;
}

bool separates(char c) { return c == ' ' || c == '\n' || c == ',' || c == '\t' || c == '\r'; }

// One number, which a separator or the end follows. Null for anything else.
const char* parse(const char* from, const char* end, float* number) {
  if (*from == '+' && end - from > 1 && from[1] != '-') ++from;
  double value = 0;  // wider than what is kept, so that numbers too small for a float become 0 rather than an error
  const auto [stop, error] = std::from_chars(from, end, value);
  // The names of infinities and of what is no number are words here.
  if (error != std::errc() || !std::isfinite(value) || (stop != end && !separates(*stop))) return nullptr;
  constexpr double kMost = std::numeric_limits<float>::max();
  *number = static_cast<float>(value > kMost ? kMost : value < -kMost ? -kMost : value);
  return stop;
}

// Calls take(number) for each number of a text; false where there is anything else.
template <typename Take>
bool forNumbers(const char* text, const char* end, Take&& take) {
  for (;;) {
    while (text != end && separates(*text)) ++text;
    if (text == end) return true;
    float number = 0;
    text = parse(text, end, &number);
    if (text == nullptr) return false;
    take(number);
  }
}

// Numbers as they stand in a text, so that the matrix is made once: every one begins behind a separator.
std::size_t countNumbers(const char* text, const char* end) {
  std::size_t count = 0;
  for (bool between = true; text != end; ++text) {
    const bool separator = separates(*text);
    count += between && !separator;
    between = separator;
  }
  return count;
}

}  // namespace

unsigned ColorTableFile::rowsNeeded() const { return 1; }

int ColorTableFile::readFromBinFile(const char* name) {
  std::size_t bytes = 0;
  const Bytes memory = contents(name, &bytes);
  if (memory == nullptr || bytes < kBinaryBytes) return kFailed;
  TMatrix<float> matrix(kColumns, kBinaryRows);
  if (matrix.data() == nullptr) return kFailed;
  std::memcpy(matrix.data(), memory.get(), kBinaryBytes);
  convertFrom(matrix);
  return 0;
}

int ColorTableFile::readFromFile(const char* name) {
  std::size_t bytes = 0;
  const Bytes memory = contents(name, &bytes);
  if (memory == nullptr) return kFailed;
  const char *text = memory.get(), *end = text + bytes;
  const std::size_t count = countNumbers(text, end);
  if (count == 0 || count % kColumns != 0 || count / kColumns < rowsNeeded()) return kFailed;
  TMatrix<float> matrix(kColumns, static_cast<unsigned>(count / kColumns));
  float* to = matrix.data();
  if (to == nullptr || !forNumbers(text, end, [&to](float number) { *to++ = number; })) return kFailed;
  convertFrom(matrix);
  return 0;
}

int ColorTableFile::saveToBinFile(const char* name) {
  TMatrix<float> matrix;
  convertTo(matrix);
  const std::uint64_t bytes = std::uint64_t{matrix.columns()} * matrix.rows() * sizeof(float);
  if (bytes > std::numeric_limits<std::int32_t>::max()) return kFailed;
  return store(name, matrix.data(), static_cast<std::uint32_t>(bytes), false);
}

int ColorTableFile::saveToFile(const char* name) {
  TMatrix<float> matrix;
  convertTo(matrix);
  const Bytes memory(quorvel::plainMemory<char>(kTextRoom));
  if (memory == nullptr) return kFailed;
  char *to = memory.get(), *const end = to + kTextRoom;
  for (unsigned r = 0; r < matrix.rows(); ++r) {
    for (unsigned c = 0; c < matrix.columns(); ++c) {
      // What "%.1lg" gives where the decimal point is a point.
      const auto [stop, error] =
          std::to_chars(to, end, static_cast<double>(matrix.row(r)[c]), std::chars_format::general, 1);
      if (error != std::errc() || stop == end) return kFailed;
      to = stop;
      *to++ = ' ';
    }
    if (to == end) return kFailed;
    *to++ = '\n';
  }
  return store(name, memory.get(), static_cast<std::uint32_t>(to - memory.get()), true);
}
