// SPDX-License-Identifier: Apache-2.0
// The bit writers and the bit reader that all Huffman coders share. Each is made from a state, works in registers, and
// is put back into the state at the end.
#ifndef QUORVEL_CODEC_HUFFMAN_BITS_H_
#define QUORVEL_CODEC_HUFFMAN_BITS_H_

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include <hwy/base.h>

#include "quorvel/huffman.h"

namespace quorvel {

inline constexpr int kOutOfRange = -1, kBadCode = -1, kDataEnd = -2;
inline constexpr unsigned kComponents = 4;

// Fields of the tables' entries.
inline constexpr unsigned kLengths = 256, kBigCache = 512, kInternalCodes = 0x10200;

static_assert(std::endian::native == std::endian::little, "words are stored as they lie in registers");

inline constexpr std::uint64_t lowBits(unsigned n) { return (std::uint64_t{1} << n) - 1; }  // n < 64

// A symbol's code, without what the table of a host may hold above its length.
HWY_INLINE std::uint64_t codeIn(const std::uint32_t* codes, unsigned symbol, unsigned length) {
  return codes[symbol] & lowBits(length);
}

// The category of a value and its extra bits.
struct Coded {
  unsigned size;
  std::uint32_t extra;
};
HWY_INLINE Coded codeValue(int v) {
  const int sign = v >> 31;
  const auto size = static_cast<unsigned>(std::bit_width(static_cast<unsigned>((v ^ sign) - sign)));
  return {size, static_cast<std::uint32_t>(v + sign) & ((1u << size) - 1)};
}

// The value of a category, from 0 on, that has these extra bits.
HWY_INLINE int valueOf(std::uint32_t extra, unsigned size) {
  const bool negative = extra << 1 >> size == 0;
  return static_cast<int>(extra) - (negative ? (1 << size) - 1 : 0);
}

// The low `n` of 16 bits in reverse order.
HWY_INLINE std::uint32_t reverseBits(std::uint32_t x, unsigned n) {
  x = (x >> 1 & 0x5555) | (x & 0x5555) << 1;
  x = (x >> 2 & 0x3333) | (x & 0x3333) << 2;
  x = (x >> 4 & 0x0F0F) | (x & 0x0F0F) << 4;
  x = (x >> 8 & 0x00FF) | (x & 0x00FF) << 8;
  return x >> (16 - n);
}

// Writes the internal order. Pending bits are kept at the low end here, where appending takes one shift.
class WordWriter {
 public:
  explicit WordWriter(const CHuffman_state& state)
      : next_(reinterpret_cast<std::uint8_t*>(state.word)),
        count_(static_cast<unsigned>(state.bitCount)),
        bits_(count_ == 0 ? 0 : state.accumulator >> (64 - count_)) {}

  // n is at most 32, and v has no bit above them.
  HWY_INLINE void put(std::uint64_t v, unsigned n) {
    bits_ |= v << count_;
    count_ += n;
    if (HWY_UNLIKELY(count_ >= 64)) {
      std::memcpy(next_, &bits_, sizeof(bits_));
      next_ += sizeof(bits_);
      count_ -= 64;
      bits_ = v >> (n - count_);
    }
  }

  HWY_INLINE void end(CHuffman_state& state) const {
    state.byteCount += static_cast<int>(next_ - reinterpret_cast<std::uint8_t*>(state.word));
    state.word = reinterpret_cast<std::uint64_t*>(next_);
    state.bitCount = static_cast<int>(count_);
    state.accumulator = count_ == 0 ? 0 : bits_ << (64 - count_);
  }

 private:
  std::uint8_t* next_;
  unsigned count_;  // below 64 between fields
  std::uint64_t bits_;
};

// Writes JPEG's bytes, the first bit highest.
class StuffedWriter {
 public:
  explicit StuffedWriter(const CHuffman_state& state)
      : next_(reinterpret_cast<std::uint8_t*>(state.word)),
        count_(static_cast<unsigned>(state.bitCount)),
        bits_(state.accumulator) {}

  // n is at most 32, and v has no bit above them.
  HWY_INLINE void put(std::uint64_t v, unsigned n) {
    const unsigned room = 64 - count_;
    if (HWY_LIKELY(n < room)) {
      bits_ = bits_ << n | v;
      count_ += n;
    } else {
      store(bits_ << room | v >> (n - room), 8);
      bits_ = v;  // of which the lowest bits are pending; what lies above leaves with the shift into a full word
      count_ = n - room;
    }
  }

  // Writes the last bytes, filled up with ones.
  void finish() {
    const unsigned fill = (64 - count_) % 8;
    put(lowBits(fill), fill);
    if (count_ != 0) store(bits_ << (64 - count_), count_ / 8);
    count_ = 0;
  }

  HWY_INLINE void end(CHuffman_state& state) const {
    state.byteCount += static_cast<int>(next_ - reinterpret_cast<std::uint8_t*>(state.word));
    state.word = reinterpret_cast<std::uint64_t*>(next_);
    state.bitCount = static_cast<int>(count_);
    state.accumulator = bits_ & lowBits(count_);
  }

 private:
  // The first bytes of a word, the highest first.
  HWY_INLINE void store(std::uint64_t word, unsigned bytes) {
    // A byte of ones is one whose complement is 0: the borrow from such a byte reaches its high bit.
    const bool stuffs = (((~word - 0x0101010101010101u) & word) & 0x8080808080808080u) != 0;
    if (HWY_LIKELY(bytes == 8 && !stuffs)) {
      word = __builtin_bswap64(word);
      std::memcpy(next_, &word, sizeof(word));
      next_ += sizeof(word);
      return;
    }
    for (; bytes != 0; --bytes, word <<= 8) {
      const auto byte = static_cast<std::uint8_t>(word >> 56);
      *next_++ = byte;
      if (byte == 0xFF) *next_++ = 0;
    }
  }

  std::uint8_t* next_;
  unsigned count_;  // below 64 between fields
  std::uint64_t bits_;
};

// Reads the internal order. A word is taken only when a field reaches into it. A bounded reader knows where the data
// end, after any byte.
template <bool kBounded>
class BitReader {
 public:
  explicit BitReader(const CHuffman_state& state, const std::uint8_t* end = nullptr)
      : next_(reinterpret_cast<const std::uint8_t*>(state.word)),
        end_(end),
        count_(static_cast<unsigned>(state.bitCount)),
        bits_(count_ >= 64 ? state.accumulator : state.accumulator & lowBits(count_)) {}

  explicit BitReader(const std::uint8_t* stream, const std::uint8_t* end = nullptr)
      : next_(stream), end_(end), count_(0), bits_(0) {}

  // Bits at hand, zeros above `count()` of them.
  HWY_INLINE std::uint64_t bits() const { return bits_; }
  HWY_INLINE unsigned count() const { return count_; }
  // Takes n bits that `bits` or `ahead` have shown, at most 32.
  HWY_INLINE void advance(unsigned n) {
    if (HWY_LIKELY(n <= count_)) {
      bits_ >>= n;
      count_ -= n;
      return;
    }
    std::uint64_t word;
    const unsigned more = load(word), upper = n - count_;
    next_ += more / 8;
    bits_ = word >> upper;
    count_ = more - upper;
  }

  // The bits at hand, fewer than 64, and those of the next word above them; `valid` of them are data. Takes none.
  HWY_INLINE std::uint64_t ahead(unsigned& valid) const {
    std::uint64_t word;
    valid = std::min(64u, count_ + load(word));
    return bits_ | word << count_;
  }

  // Takes n bits, at most 32, or nothing where there are fewer.
  HWY_INLINE bool take(unsigned n, std::uint64_t& field) {
    unsigned valid = count_;
    field = (n <= count_ ? bits_ : ahead(valid)) & lowBits(n);
    if (n > valid) return false;
    advance(n);
    return true;
  }

  HWY_INLINE void end(CHuffman_state& state) const {
    state.byteCount += static_cast<int>(next_ - reinterpret_cast<const std::uint8_t*>(state.word));
    state.word = reinterpret_cast<std::uint64_t*>(const_cast<std::uint8_t*>(next_));
    state.bitCount = static_cast<int>(count_);
    state.accumulator = bits_;
  }
  // Bits taken since the stream's beginning.
  std::uint64_t taken(const std::uint8_t* stream) const {
    return static_cast<std::uint64_t>(next_ - stream) * 8 - count_;
  }

 private:
  // The next word and how many bits of it are data; the others are 0.
  HWY_INLINE unsigned load(std::uint64_t& word) const {
    if (!kBounded || HWY_LIKELY(end_ - next_ >= 8)) {
      std::memcpy(&word, next_, sizeof(word));
      return 64;
    }
    word = 0;
    if (end_ != next_) std::memcpy(&word, next_, static_cast<std::size_t>(end_ - next_));  // no data may be a null
    return static_cast<unsigned>(end_ - next_) * 8;
  }

  friend class BlockReader;

  const std::uint8_t *next_, *end_;
  unsigned count_;
  std::uint64_t bits_;
};

// Takes over from a bounded reader for a block that surely ends before the data do: it may look ahead of what it takes,
// so that one fill is good for several symbols.
class BlockReader {
 public:
  static constexpr unsigned kLongestSymbol = 16 + 15, kFilled = 56;

  // Whether 64 symbols end before the data do, with what the last fill looks ahead.
  static bool fits(const BitReader<true>& reader) {
    constexpr std::ptrdiff_t kBlockBytes = 64 * int{kLongestSymbol} / 8 + 16;
    return reader.end_ - reader.next_ >= kBlockBytes && reader.count_ < 64;
  }
  explicit BlockReader(const BitReader<true>& reader)
      : next_(reader.next_), count_(reader.count_), bits_(reader.bits_) {}

  // At least kFilled bits are at hand then. Above them lie some that the next fill finds again.
  HWY_INLINE void fill() {
    std::uint64_t word;
    std::memcpy(&word, next_, sizeof(word));
    bits_ |= word << count_;
    next_ += (63 - count_) / 8;
    count_ |= kFilled;  // below 64 and the same modulo 8
  }
  HWY_INLINE std::uint64_t bits() const { return bits_; }
  // n is below 64.
  HWY_INLINE void advance(unsigned n) {
    bits_ >>= n & 63;
    count_ -= n;
  }

  // Gives back what was not taken: the reader is left as if it had taken every field itself.
  HWY_INLINE void end(BitReader<true>& reader) const {
    const auto taken = static_cast<unsigned>(next_ - reader.next_) * 8 + reader.count_ - count_;
    if (taken <= reader.count_) {
      reader.advance(taken);
      return;
    }
    const unsigned reach = taken - reader.count_, words = (reach + 63) / 64;
    reader.next_ += std::size_t{8} * words;
    reader.count_ = 64 * words - reach;
    std::memcpy(&reader.bits_, reader.next_ - 8, sizeof(reader.bits_));
    reader.bits_ = reader.count_ == 0 ? 0 : reader.bits_ >> (64 - reader.count_);
  }

 private:
  const std::uint8_t* next_;
  unsigned count_;
  std::uint64_t bits_;
};

}  // namespace quorvel

#endif  // QUORVEL_CODEC_HUFFMAN_BITS_H_
