// SPDX-License-Identifier: Apache-2.0
// A small picture that reports are drawn on: dots, boxes, and lines of capital letters.
#ifndef QUORVEL_HOST_REPORT_CANVAS_H_
#define QUORVEL_HOST_REPORT_CANVAS_H_

#include <string_view>

#include "host/io/image.h"

namespace quorvel::host {

struct Ink {
  std::uint8_t r, g, b;
};
// What all reports share: the ground, text, and what steps back behind it.
inline constexpr Ink kGround = {20, 23, 26}, kText = {232, 230, 225}, kDim = {154, 163, 168};
inline constexpr unsigned kGap = 12;                     // between things that stand side by side
inline constexpr unsigned kLetter = 2;                   // pixels a dot of a letter
inline constexpr unsigned kLine = 7 * kLetter;           // height of a line of text
inline constexpr unsigned kLetterAdvance = 6 * kLetter;  // from one letter to the next

class Canvas {
 public:
  Canvas(unsigned width, unsigned height);  // all ground

  // What lies outside is not drawn.
  void dot(unsigned x, unsigned y, Ink ink);
  void box(unsigned x, unsigned y, unsigned width, unsigned height, Ink ink);
  // Letters without a form of their own are left blank.
  void write(unsigned x, unsigned y, std::string_view text, Ink ink);

  Picture picture() &&;

 private:
  unsigned width_, height_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_CANVAS_H_
