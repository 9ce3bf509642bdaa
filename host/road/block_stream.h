// SPDX-License-Identifier: Apache-2.0
// Strips as bytes: the library's own block streams, one a plane, with a code made for the file.
#ifndef QUORVEL_HOST_ROAD_BLOCK_STREAM_H_
#define QUORVEL_HOST_ROAD_BLOCK_STREAM_H_

#include <memory>
#include <optional>

#include <quorvel/huffman_tables.h>
#include <quorvel/quorvel.h>

#include "host/io/bytes.h"
#include "host/road/strips.h"

namespace quorvel::host {

// A prefix code for each plane.
using CodeDefinitions = std::array<HuffmanDefinition, kPlanes>;

// Whether the first value of a block is coded as its difference from that of the block before, as suits transformed
// blocks, or as it is.
enum class FirstValue { Difference, AsItIs };

// Counts the symbols of strips, for the code that takes the fewest bits.
class SymbolCounts {
 public:
  explicit SymbolCounts(FirstValue first) : first_(first) {}
  void add(const Strip& strip);
  CodeDefinitions best() const;

 private:
  FirstValue first_;
  std::array<std::array<std::uint32_t, 256>, kPlanes> counts_{};
};

class StripEncoder {
 public:
  StripEncoder(const CodeDefinitions& codes, FirstValue first);
  std::vector<std::uint8_t> encode(const Strip& strip) const;

 private:
  std::unique_ptr<std::array<c_derived_tbl, kPlanes>> tables_;
  FirstValue first_;
};

class StripDecoder {
 public:
  // Nothing for definitions that are no prefix codes.
  static std::optional<StripDecoder> make(const CodeDefinitions& codes, FirstValue first);
  // The strip of `blocks` blocks a plane and `cells` cells, or nothing where the bytes are not one.
  std::optional<Strip> decode(ByteSpan bytes, std::size_t blocks, std::size_t cells) const;

 private:
  explicit StripDecoder(FirstValue first)
      : tables_(std::make_unique<std::array<c_decode_tbl, kPlanes>>()), first_(first) {}

  std::unique_ptr<std::array<c_decode_tbl, kPlanes>> tables_;
  FirstValue first_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_BLOCK_STREAM_H_
