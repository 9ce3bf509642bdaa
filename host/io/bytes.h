// SPDX-License-Identifier: Apache-2.0
// Little-endian fields in bytes of known length, and their checksum.
#ifndef QUORVEL_HOST_IO_BYTES_H_
#define QUORVEL_HOST_IO_BYTES_H_

#include <concepts>
#include <cstdint>
#include <span>
#include <vector>

namespace quorvel::host {

using ByteSpan = std::span<const std::uint8_t>;

// CRC-32 of the polynomial 0x04C11DB7, reflected, as PNG and zlib have it; `before` goes on from an earlier part.
std::uint32_t crc32(ByteSpan bytes, std::uint32_t before = 0);

// Appends an unsigned value, its lowest byte first.
template <std::unsigned_integral T>
void append(std::vector<std::uint8_t>& bytes, T value) {
  for (unsigned shift = 0; shift < 8 * sizeof(T); shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}
inline void append(std::vector<std::uint8_t>& bytes, ByteSpan more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// Takes fields from the front. What reaches beyond the end gives 0 or nothing, and `failed` from then on.
class ByteReader {
 public:
  explicit ByteReader(ByteSpan bytes) : rest_(bytes) {}

  template <std::unsigned_integral T>
  T take() {
    T value = 0;
    const ByteSpan field = take(sizeof(T));
    for (std::size_t i = field.size(); i-- > 0;) value = static_cast<T>(std::uint64_t{value} << 8 | field[i]);
    return value;
  }
  ByteSpan take(std::uint64_t count) {
    if (count > rest_.size()) {
      failed_ = true;
      rest_ = {};
      return {};
    }
    const ByteSpan taken = rest_.first(static_cast<std::size_t>(count));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

  ByteSpan rest() const { return rest_; }
  bool failed() const { return failed_; }

 private:
  ByteSpan rest_;
  bool failed_ = false;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_BYTES_H_
