// SPDX-License-Identifier: Apache-2.0
// Russian texts as the library's callers expect them: single bytes in the Windows-1251 code page. Sources are UTF-8;
// the compiler converts, so that the program holds the finished bytes and neither tables nor code for the conversion.
#ifndef QUORVEL_RUNTIME_WINDOWS1251_H_
#define QUORVEL_RUNTIME_WINDOWS1251_H_

#include <cstddef>

namespace quorvel {

// The byte of a character. Knows ASCII and the Russian letters; any other character does not compile.
consteval char windows1251Byte(char32_t c) {
  if (c < 0x80) return static_cast<char>(c);
  if (c >= U'А' && c <= U'я') return static_cast<char>(0xC0 + (c - U'А'));
  if (c == U'Ё') return static_cast<char>(0xA8);
  if (c == U'ё') return static_cast<char>(0xB8);
  throw "a character that the texts do not use";
}

// A zero-terminated text in `kRoom` bytes, the rest of which are zero. A text that does not fit does not compile.
template <std::size_t kRoom>
struct Windows1251 {
  char bytes[kRoom] = {};

  template <std::size_t kUnits>
  consteval Windows1251(const char8_t (&utf8)[kUnits]) {
    std::size_t length = 0;
    for (std::size_t i = 0; i + 1 < kUnits; ++i) {
      char32_t c = utf8[i];
      if (c >= 0xC0 && c < 0xE0) c = (c & 0x1F) << 6 | (utf8[++i] & 0x3F);  // two bytes hold all of Cyrillic
      if (length + 1 == kRoom) throw "the text does not fit";
      bytes[length++] = windows1251Byte(c);
    }
  }
};

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_WINDOWS1251_H_
