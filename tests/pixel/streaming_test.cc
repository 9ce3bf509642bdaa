// SPDX-License-Identifier: Apache-2.0
// Results large enough to go past the caches must be those of the same rows made in short pieces.
#include <quorvel/pixel.h>

#include <functional>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

using Byte = std::uint8_t;
using Word = std::uint16_t;

// Makes pixels from..from + n - 1. Inputs and outputs are planes of the pixels' own bytes.
struct Routine {
  const char* name;
  std::vector<std::size_t> inputBytes, outputBytes;  // a pixel, for each plane
  std::function<void(const Byte* const* in, Byte* const* out, unsigned n)> run;
};

const Word* words(const Byte* p) { return reinterpret_cast<const Word*>(p); }
Word* words(Byte* p) { return reinterpret_cast<Word*>(p); }

const std::vector<Routine>& routines() {
  static const RGB_to_Gray coef = {{9798, 1, 2, 3}, {4, 19235, 5, 6}, {7, 8, 3736, 9}};
  static const std::vector<Routine> all = {
      {"copy8_3_1", {1, 1, 1}, {3}, [](auto in, auto out, unsigned n) { copy8_3_1(in[0], in[1], in[2], out[0], n); }},
      {"copy8_4_1", {1, 1, 1}, {4}, [](auto in, auto out, unsigned n) { copy8_4_1(in[0], in[1], in[2], out[0], n); }},
      {"copy16_3_1",
       {2, 2, 2},
       {6},
       [](auto in, auto out, unsigned n) { copy16_3_1(words(in[0]), words(in[1]), words(in[2]), words(out[0]), n); }},
      {"replace_16a",
       {4, 2},
       {4},
       [](auto in, auto out, unsigned n) { copy8rgba_replace_16a_SSE(in[0], words(in[1]), n, out[0]); }},
      {"copy8_1_1", {3}, {1}, [](auto in, auto out, unsigned n) { copy8_1_1(2, in[0], out[0], n); }},
      {"copy16_1_1", {6}, {2}, [](auto in, auto out, unsigned n) { copy16_1_1(0, words(in[0]), words(out[0]), n); }},
      {"copy8_1_3", {3}, {1, 1, 1}, [](auto in, auto out, unsigned n) { copy8_1_3(in[0], out[0], out[1], out[2], n); }},
      {"copy16_3_toPlane",
       {6},
       {2, 2, 2},
       [](auto in, auto out, unsigned n) {
         copy16_3_toPlane(words(in[0]), words(out[0]), words(out[1]), words(out[2]), n);
       }},
      {"copy8rgba_to8rgb", {4}, {3}, [](auto in, auto out, unsigned n) { copy8rgba_to8rgb(in[0], n, out[0]); }},
      {"RGBtoHiColor565",
       {3},
       {2},
       [](auto in, auto out, unsigned n) { RGBtoHiColor565_MMX(in[0], words(out[0]), n); }},
      {"RGBtoGray8", {3}, {1}, [](auto in, auto out, unsigned n) { RGBtoGray8(in[0], out[0], n); }},
      {"convertToGray",
       {2, 2, 2},
       {2},
       [](auto in, auto out, unsigned n) {
         convertToGray(words(in[0]), words(in[1]), words(in[2]), words(out[0]), n, &coef);
       }},
      {"bswap16", {2}, {2}, [](auto in, auto out, unsigned n) { bswap16_MMX(words(in[0]), words(out[0]), n); }},
  };
  return all;
}

using Buffers = std::vector<std::unique_ptr<GuardedBuffer<Byte>>>;

template <typename T>
std::vector<T*> at(const Buffers& buffers, const std::vector<std::size_t>& bytes, unsigned pixel) {
  std::vector<T*> pointers;
  for (std::size_t k = 0; k < buffers.size(); ++k) pointers.push_back(buffers[k]->data() + bytes[k] * pixel);
  return pointers;
}

TEST(Streaming, LargeResultsAreThoseOfShortPieces) {
  constexpr unsigned kPiece = 4096;
  for (const Routine& routine : routines()) {
    onEveryTarget([&] {
      std::size_t outputBytes = 0;
      for (const std::size_t bytes : routine.outputBytes) outputBytes += bytes;
      // Some 5 MiB, an odd count, so that neither pieces nor vectors nor lines nor groups come out even.
      const unsigned n = static_cast<unsigned>((5u << 20) / outputBytes / kPiece * kPiece) + 1209;
      Buffers in, whole, pieces;
      for (const std::size_t bytes : routine.inputBytes) {
        in.push_back(std::make_unique<GuardedBuffer<Byte>>(samples<Byte>(bytes * n, Pattern::Random, 7 + in.size())));
      }
      for (const std::size_t bytes :
           routine.outputBytes) {  // no two at the same place in a cache line, none ending with one
        const Guard guard = whole.size() == 1 ? Guard::BeforeBegin : Guard::AfterEnd;
        whole.push_back(std::make_unique<GuardedBuffer<Byte>>(bytes * (n + 5 + whole.size()), guard));
        pieces.push_back(std::make_unique<GuardedBuffer<Byte>>(bytes * (n + 5 + pieces.size())));
      }
      routine.run(at<const Byte>(in, routine.inputBytes, 0).data(), at<Byte>(whole, routine.outputBytes, 0).data(), n);
      for (unsigned from = 0; from < n; from += kPiece) {
        routine.run(at<const Byte>(in, routine.inputBytes, from).data(),
                    at<Byte>(pieces, routine.outputBytes, from).data(), std::min(kPiece, n - from));
      }
      for (std::size_t k = 0; k < whole.size(); ++k) {
        EXPECT_TRUE(holds(*whole[k], pieces[k]->copy())) << routine.name << ", output " << k;
      }
    });
  }
}

}  // namespace
}  // namespace quorvel::test
