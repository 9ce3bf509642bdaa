// SPDX-License-Identifier: Apache-2.0
#include "host/io/pnm.h"

#include <algorithm>
#include <charconv>
#include <span>
#include <string>

#include <fmt/format.h>

#include "host/io/notes.h"

namespace quorvel::host {
namespace {

struct Pnm {
  unsigned width = 0, height = 0, maximum = 0;
  std::string comments;                // a line each
  std::vector<std::uint16_t> samples;  // none above `maximum`
};

bool isSpace(std::uint8_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

Pnm readPnm(const fs::path& file, const std::vector<std::uint8_t>& bytes, char kind) {
  const bool grey = kind == '5';
  if (bytes.size() < 3 || bytes[0] != 'P' || bytes[1] != kind || (!isSpace(bytes[2]) && bytes[2] != '#')) {
    throw DataError(file, fmt::format("is not a binary {} file (P{})", grey ? "PGM" : "PPM", kind));
  }
  Pnm image;
  std::size_t at = 2;
  std::uint64_t numbers[3] = {};
  for (std::uint64_t& number : numbers) {
    while (at < bytes.size() && (isSpace(bytes[at]) || bytes[at] == '#')) {
      if (bytes[at] != '#') {
        ++at;
        continue;
      }
      while (++at < bytes.size() && bytes[at] != '\n') image.comments += static_cast<char>(bytes[at]);
      image.comments += '\n';
    }
    const char* digits = reinterpret_cast<const char*>(bytes.data()) + at;
    const auto [stop, error] = std::from_chars(digits, digits + (bytes.size() - at), number);
    at += static_cast<std::size_t>(stop - digits);
    if (error != std::errc() || at >= bytes.size() || !(isSpace(bytes[at]) || bytes[at] == '#')) {
      throw DataError(file, "its header is damaged");
    }
  }
  ++at;  // the one space that ends the header
  if (!sizeIsSane(numbers[0], numbers[1])) {
    throw DataError(file, fmt::format("claims a size of {} x {}, which cannot be worked on", numbers[0], numbers[1]));
  }
  if (numbers[2] < 1 || numbers[2] > 65535) {
    throw DataError(file, fmt::format("claims a maximum of {}; 1 to 65535 is possible", numbers[2]));
  }
  image.width = static_cast<unsigned>(numbers[0]);
  image.height = static_cast<unsigned>(numbers[1]);
  image.maximum = static_cast<unsigned>(numbers[2]);
  const std::uint64_t count = numbers[0] * numbers[1] * (grey ? 1 : 3), size = image.maximum > 255 ? 2 : 1;
  if (bytes.size() - at < count * size) {
    throw DataError(file, fmt::format("is cut short: {} of {} bytes of samples", bytes.size() - at, count * size));
  }
  image.samples.resize(static_cast<std::size_t>(count));
  const std::uint8_t* data = bytes.data() + at;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned v = size == 2 ? unsigned{data[2 * i]} << 8 | data[2 * i + 1] : data[i];
    image.samples[i] = static_cast<std::uint16_t>(std::min(v, image.maximum));
  }
  return image;
}

// 16-bit samples go out with their high byte first.
void writeBigEndian(OutputFile& out, std::span<const std::uint16_t> samples) {
  std::vector<std::uint8_t> bytes;
  constexpr std::size_t kChunk = 1 << 16;
  for (std::size_t from = 0; from < samples.size(); from += kChunk) {
    const auto chunk = samples.subspan(from, std::min(kChunk, samples.size() - from));
    bytes.resize(2 * chunk.size());
    for (std::size_t i = 0; i < chunk.size(); ++i) {
      bytes[2 * i] = static_cast<std::uint8_t>(chunk[i] >> 8);
      bytes[2 * i + 1] = static_cast<std::uint8_t>(chunk[i]);
    }
    if (!out.write(bytes.data(), bytes.size())) return;
  }
}

}  // namespace

Mosaic readPgm(const fs::path& file) {
  Pnm image = readPnm(file, readFile(file), '5');
  Mosaic mosaic;
  mosaic.frame.width = image.width;
  mosaic.frame.height = image.height;
  mosaic.frame.white = static_cast<int>(image.maximum);
  mosaic.frame.samples = std::move(image.samples);
  applyNotes(image.comments, mosaic, file);
  return mosaic;
}

void writePgm(OutputFile& out, const RawFrame& frame, Phase phase) {
  std::string header = "P5\n";
  const std::string notes = notesOf(frame, phase);
  for (std::size_t from = 0; from < notes.size();) {
    const std::size_t end = notes.find('\n', from);
    header += "# " + notes.substr(from, end + 1 - from);
    from = end + 1;
  }
  header += fmt::format("{} {}\n{}\n", frame.width, frame.height, fitsFullScale(frame) ? kFullScale : 65535);
  out.write(header.data(), header.size());
  writeBigEndian(out, frame.samples);
}

Planes readPpm(const fs::path& file) {
  const Pnm image = readPnm(file, readFile(file), '6');
  Planes planes(image.width, image.height);
  for (std::size_t i = 0; i < planes.colour[0].size(); ++i) {
    for (std::size_t c = 0; c < 3; ++c) planes.colour[c][i] = image.samples[3 * i + c];
  }
  return planes;
}

Picture readPnmPicture(const fs::path& file) {
  const std::vector<std::uint8_t> bytes = readFile(file);
  const bool grey = bytes.size() > 1 && bytes[1] == '5';
  Pnm image = readPnm(file, bytes, grey ? '5' : '6');
  Picture picture{image.width, image.height, image.maximum, std::vector<std::uint8_t>(), grey ? 1u : 3u};
  if (image.maximum > 255) {
    picture.samples = std::move(image.samples);
  } else {
    auto& samples = std::get<std::vector<std::uint8_t>>(picture.samples);
    samples.resize(image.samples.size());
    std::transform(image.samples.begin(), image.samples.end(), samples.begin(),
                   [](std::uint16_t v) { return static_cast<std::uint8_t>(v); });
  }
  return picture;
}

void writePpm(OutputFile& out, const Picture& picture) {
  const std::string header =
      fmt::format("P{}\n{} {}\n{}\n", picture.channels == 1 ? 5 : 6, picture.width, picture.height, picture.maximum);
  out.write(header.data(), header.size());
  if (const auto* words = std::get_if<std::vector<std::uint16_t>>(&picture.samples)) {
    writeBigEndian(out, *words);
  } else {
    const auto& bytes = std::get<std::vector<std::uint8_t>>(picture.samples);
    out.write(bytes.data(), bytes.size());
  }
}

}  // namespace quorvel::host
