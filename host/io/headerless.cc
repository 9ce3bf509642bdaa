// SPDX-License-Identifier: Apache-2.0
#include "host/io/headerless.h"

#include <fmt/format.h>
#include <quorvel/quorvel.h>

namespace quorvel::host {
namespace {

std::vector<std::uint8_t> readExactly(const fs::path& file, std::uint64_t bytes, unsigned width, unsigned height) {
  requireReadable(file);
  if (!sizeIsSane(width, height)) {
    throw DataError(file, fmt::format("{} x {} samples cannot be worked on", width, height));
  }
  std::error_code error;
  // A look at the size spares reading what cannot fit.
  const std::uint64_t size = fs::file_size(file, error);
  if (error || size == bytes) {
    std::vector<std::uint8_t> contents = readFile(file);
    if (contents.size() == bytes) return contents;
    throw DataError(file,
                    fmt::format("holds {} bytes; {} x {} samples take {}", contents.size(), width, height, bytes));
  }
  throw DataError(file, fmt::format("holds {} bytes; {} x {} samples take {}", size, width, height, bytes));
}

Mosaic sized(unsigned width, unsigned height) {
  Mosaic mosaic;
  mosaic.frame.width = width;
  mosaic.frame.height = height;
  mosaic.frame.samples.resize(std::size_t{width} * height);
  return mosaic;
}

std::uint64_t packedBytes(std::uint64_t samples) { return (3 * samples + 1) / 2; }

}  // namespace

Mosaic readRaw16(const fs::path& file, unsigned width, unsigned height) {
  const auto bytes = readExactly(file, std::uint64_t{2} * width * height, width, height);
  Mosaic mosaic = sized(width, height);
  for (std::size_t i = 0; i < mosaic.frame.samples.size(); ++i) {
    mosaic.frame.samples[i] = static_cast<std::uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
  }
  mosaic.frame.white = whiteOfSamples(mosaic.frame.samples);
  return mosaic;
}

Mosaic readRaw12(const fs::path& file, unsigned width, unsigned height) {
  const auto bytes = readExactly(file, packedBytes(std::uint64_t{width} * height), width, height);
  Mosaic mosaic = sized(width, height);
  decomp12to16(bytes.data(), mosaic.frame.samples.data(), width * height);
  return mosaic;
}

void writeRaw16(OutputFile& out, const RawFrame& frame) {
  std::vector<std::uint8_t> bytes(2 * frame.samples.size());
  for (std::size_t i = 0; i < frame.samples.size(); ++i) {
    bytes[2 * i] = static_cast<std::uint8_t>(frame.samples[i]);
    bytes[2 * i + 1] = static_cast<std::uint8_t>(frame.samples[i] >> 8);
  }
  out.write(bytes.data(), bytes.size());
}

void writeRaw12(OutputFile& out, const RawFrame& frame) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(packedBytes(frame.samples.size())));
  compr16to12(frame.samples.data(), bytes.data(), static_cast<unsigned>(frame.samples.size()));
  out.write(bytes.data(), bytes.size());
}

}  // namespace quorvel::host
