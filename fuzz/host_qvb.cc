// SPDX-License-Identifier: Apache-2.0
// The reader of compressed frames. Its checksums would stop nearly every input at the door, so that each input is read
// twice: as it is, and with all checksums made right.
#include "fuzz/host_seeds.h"
#include "host/io/qvb.h"

using namespace quorvel::host;

namespace {

void store(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value) {
  for (unsigned i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
}

std::uint32_t load(const std::vector<std::uint8_t>& bytes, std::size_t at) {
  return ByteReader(ByteSpan(bytes).subspan(at)).take<std::uint32_t>();
}

std::vector<std::uint8_t> repaired(std::vector<std::uint8_t> bytes) {
  constexpr std::size_t kMagic = 8, kField = 4, kRecordHead = 16;
  if (bytes.size() < kMagic + kField) return bytes;
  std::size_t at = kMagic + kField + std::size_t{load(bytes, kMagic)};
  if (at > bytes.size() || bytes.size() - at < kField) return bytes;
  store(bytes, at, crc32(ByteSpan(bytes).first(at)));
  at += kField;
  while (bytes.size() - at >= kRecordHead) {
    const std::size_t length = load(bytes, at + 8);
    if (length > bytes.size() - at - kRecordHead) break;
    const std::uint32_t head = crc32(ByteSpan(bytes).subspan(at + 4, 8));
    store(bytes, at + 12, crc32(ByteSpan(bytes).subspan(at + kRecordHead, length), head));
    at += kRecordHead + length;
  }
  return bytes;
}

void read(const std::vector<std::uint8_t>& bytes) {
  try {
    const ExpandedFrame frame = expanded(bytes, "input");
    if (frame.mosaic.frame.samples.size() != std::size_t{frame.header.grid.width} * frame.header.grid.height) abort();
  } catch (const DataError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> bytes(data, data + size);
  read(bytes);
  read(repaired(bytes));
  return 0;
}

std::vector<Seed> quorvel::fuzz::makeSeeds() {
  std::vector<Seed> seeds;
  for (const auto& [width, height] : {std::pair{1u, 1u}, {7u, 5u}, {30u, 70u}}) {
    Mosaic mosaic;
    mosaic.frame.width = width;
    mosaic.frame.height = height;
    for (unsigned i = 0; i < width * height; ++i) {
      mosaic.frame.samples.push_back(static_cast<std::uint16_t>(i * i * 2654435761u >> 20));
    }
    seeds.push_back(compressedLossless(mosaic));
    for (const int quality : {20, 90}) seeds.push_back(compressed(mosaic.frame, quality));
    mosaic.phase = Phase::BGGR;
    for (auto& sample : mosaic.frame.samples) sample = static_cast<std::uint16_t>(sample * 16);
    seeds.push_back(compressedLossless(mosaic));
  }
  return seeds;
}
