// SPDX-License-Identifier: Apache-2.0
#include "host/io/library_text.h"

#include <array>
#include <string_view>

namespace quorvel::host {
namespace {

// From Windows-1251, of which the texts use ASCII and the Russian letters. Names of functions, which follow on a line
// of their own, are the library's business.
std::string utf8(std::string_view text) {
  text = text.substr(0, text.find('\n'));
  while (text.starts_with(' ')) text.remove_prefix(1);
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
      continue;
    }
    const unsigned letter = byte >= 0xC0 ? 0x410u + byte - 0xC0 : byte == 0xA8 ? 0x401u : byte == 0xB8 ? 0x451u : '?';
    if (letter >= 0x80) result += static_cast<char>(0xC0 | letter >> 6);
    result += static_cast<char>(letter >= 0x80 ? 0x80 | (letter & 0x3F) : letter);
  }
  return result;
}

}  // namespace

std::string libraryText(matErrorCode code) {
  std::array<char, 512> text;
  return utf8(CMatErrorM(code).formatText(nullptr, text.data(), 0));
}

std::string libraryText(const CImgErrorText& error) { return utf8(error.Text()); }

}  // namespace quorvel::host
