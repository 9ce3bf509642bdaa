// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>
#include <quorvel/errors.h>
#ifdef _WIN32
#include <windows.h>
#endif

#include "runtime/error_texts.h"
#include "runtime/messages.h"
#include "runtime/windows1251.h"
#include "tests/support/guarded_buffer.h"

namespace quorvel {
namespace {

const std::string kDefault = "Unsupported Mathematic Error Error";
const std::string kDivisionByZero = "\xE4\xE5\xEB\xE5\xED\xE8\xE5\x20\xED\xE0\x20\x30";

template <char32_t c>
concept Converts = requires {
  typename std::integral_constant<char, windows1251Byte(c)>;
};
static_assert(windows1251Byte(U'Ё') == '\xA8' && windows1251Byte(U'ё') == '\xB8' && windows1251Byte(U'Я') == '\xDF');
static_assert(Converts<U'~'> && !Converts<U'\u0080'> && !Converts<U'Џ'> && !Converts<U'ѐ'> && !Converts<U'€'>);

TEST(ErrorTexts, BytesOfSomeAndTheEdgesOfTheTables) {
  EXPECT_STREQ(matErrorMessage(21760), kDivisionByZero.c_str());
  EXPECT_STREQ(imgErrorMessage(7, 21516),  // every language but 0
               "\xCD\xE8\xF2\xEA\xE0\x20\xED\xE5\x20\xEE\xF1\xF2\xE0\xED\xEE\xE2\xE8\xEB\xE0\xF1\xFC");
  EXPECT_STREQ(imgErrorMessage(0, 21516), "thread  is not stoped");
  EXPECT_STREQ(imgErrorMessage(0, 21519), "Can't write coordinate file ");
  for (const int code : {0, 21503, 21536, 21760}) EXPECT_EQ(imgErrorMessage(0, code), nullptr) << code;
  for (const int code : {-1, 21504, 21759, 21770, 21781}) EXPECT_STREQ(matErrorMessage(code), kDefault.c_str()) << code;
  EXPECT_EQ(matErrorMessage(0), nullptr);
}

std::string utf8(const std::string& windows1251) {
  std::string out;
  for (const char c : windows1251) {
    const auto byte = static_cast<unsigned char>(c);
    out += byte < 0xC0   ? std::string{c}
           : byte < 0xF0 ? std::string{'\xD0', static_cast<char>(byte - 0x30)}
                         : std::string{'\xD1', static_cast<char>(byte - 0x70)};
  }
  return out;
}

// Every row of the page, and no row beyond: page and texts cannot drift apart.
TEST(ErrorTexts, AreThoseOfTheDocumentation) {
  std::ifstream page(QUORVEL_ERRORS_PAGE);
  int code = 21504;
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with("| 2")) continue;
    char start[32];
    std::snprintf(start, sizeof start, "| %d | 0x%04X | ", code, static_cast<unsigned>(code));
    const bool general = code <= 21535;
    const std::string text = general ? imgErrorMessage(0, code) : matErrorMessage(code);
    const std::string last = general ? "`\"" + utf8(imgErrorMessage(1, code)) + "\"` |" : "";  // or a gloss
    EXPECT_TRUE(line.starts_with(start + ("`\"" + utf8(text) + "\"` | " + last))) << line;
    code = code == 21535 ? 21760 : code + 1;
  }
  EXPECT_EQ(code, 21781);
}

TEST(CImgErrorText, TakesOverCodesAndTexts) {
#ifdef _WIN32
  char words[200];  // each Windows has its own, for the number that ENOENT happens to share
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, ENOENT, 0, words, sizeof words, nullptr);
  const std::string notFound = std::string("\nSystem: ") + words + " ";
#else
  const std::string notFound = std::string("\nSystem: ") + std::strerror(ENOENT) + " ";
#endif
  const struct {
    CImgErrorText error;
    int code;
    std::string text;
  } cases[] = {{CImgErrorText(), 0, ""},
               {CImgErrorText(21530), 21530, ""},
               {CImgErrorText("says it all"), 8888, "says it all"},
               {CImgErrorText(nullptr), 8888, "Not text descrition"},
               {CImgErrorText(-7, "%s%n"), -7, "%s%n"},
               {CImgErrorText(5, "t", nullptr, 0), 5, "t"},
               {CImgErrorText(5, "t", "a %d.tif", 0), 5, "t\nFilename: a %d.tif "},
               {CImgErrorText(5, nullptr, nullptr, ENOENT), 5, "Not text descrition" + notFound},
               {CImgErrorText(5, "t", "", ENOENT), 5, "t\nFilename:  " + notFound}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.error.getCode(), c.code);
    EXPECT_EQ(c.error.Text(), c.text);
  }
  EXPECT_NE(std::strstr(CImgErrorText(5, "", nullptr, 987654).Text(), "987654"), nullptr) << "unknown to the system";
}

TEST(CImgErrorText, CutsOffAtItsOwnEnd) {
  test::GuardedBuffer<CImgErrorText> memory(1);
  const std::string tooLong(5000, 'x'), nearlyFull(4080, 'y');
  CImgErrorText& error = *new (memory.data()) CImgErrorText(1, tooLong.c_str(), tooLong.c_str(), ENOENT);
  EXPECT_EQ(error.Text(), tooLong.substr(0, 4091));
  new (memory.data()) CImgErrorText(2, nearlyFull.c_str(), "frame.raw", ENOENT);
  EXPECT_EQ(error.Text(), nearlyFull + "\nFilename: ");
  error.init("abc");
  error.init(error.Text() + 1);
  EXPECT_STREQ(error.Text(), "bc");
  EXPECT_EQ(error.getCode(), 2);
}

TEST(CMatErrorM, FormatsItsText) {
  char header[40];
  const struct {
    int code;
    const char* function;
    std::string text;
  } cases[] = {{21760, "MulMatr", kDivisionByZero + "\n function: MulMatr"},
               {21760, nullptr, kDivisionByZero + "\n function: "},
               {21504, "f", kDefault + "\n function: f"},
               {-2147483647, "", kDefault + "\n function: "}};
  for (const auto& c : cases) {
    const CMatErrorM error(c.code, c.function);
    test::GuardedBuffer<char> out(c.text.size() + 1);
    EXPECT_EQ(error.formatText(header, out.data(), 0), out.data());
    EXPECT_EQ(out.data(), c.text);
    EXPECT_EQ(header, "Mathematic Error " + std::to_string(c.code));
    std::string console = c.text;
    quorvel::ansiToConsole(console.data());
    EXPECT_EQ(error.formatText(nullptr, out.data(), 1), console);
  }
  char out[272] = "before";
  EXPECT_STREQ(CMatErrorM(0).formatText(header, nullptr, 0), "") << "even without an error";
  EXPECT_STREQ(header, "Mathematic Error 0");
  EXPECT_EQ(CMatErrorM(0, "f").formatText(nullptr, out, 0), nullptr);
  EXPECT_STREQ(out, "");
}

}  // namespace
}  // namespace quorvel
