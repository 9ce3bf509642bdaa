// SPDX-License-Identifier: Apache-2.0
// Reduction by 2, 4 or 8 that leaves a Bayer frame a Bayer frame.
//
// Where a sample belongs. A site of the frame reduced by k stands for k x k source sites, so site (i, j) has its ideal
// place in the middle of them, at ((i + 1/2) k - 1/2, (j + 1/2) k - 1/2) in source rows and columns. Below are the
// places of the first cell's samples (i, j = 0, 1), and how far from them the centres of gravity of what is summed lie:
//
//                          G1              R               B               G2
//   compressBayer_x2       (.5, .5)        (.5, 2.5)       (2.5, .5)       (2.5, 2.5)
//     off by               (+1/4, +1/4)    (0, -1/2)       (0, 0)          (-1/4, -1/4)
//   compressBayer_x8       (3.5, 3.5)      (3.5, 11.5)     (11.5, 3.5)     (11.5, 11.5)
//     off by               nothing: all four are exact
//   rgbToBayer_x4          (1.5, 1.5)      (1.5, 5.5)      (5.5, 1.5)      (5.5, 5.5)
//     off by               nothing
//
// The weights by 2 are given, their unequal red and blue included: blue is exact, the greens lie symmetrically about
// the middle of the block. By 8 there is room to be exact. Green is the mean of all 32 green samples of its 8 x 8
// sites, whose centre is the middle. The four red (or blue) samples a direction are half a site off, as they are two
// sites apart; each stands for two sites, so what the 8 sites cover of them is 3/4 of the outermost sample, all of the
// next three, and 1/4 of the first one beyond the other end: weights (3, 4, 4, 4, 1)/16 or their mirror image. Red
// takes them over rows 0..8 and, mirrored, over columns 7..15; blue the other way round. That is 4 x (the sum of four)
// - the outermost + the one beyond, which is how it is computed. From planes every 4 x 4 sites have the colour that is
// wanted, and the plain mean is exact.
//
// compressBayer_x2Step and _x4Step only take the first cell of each block; see reweight.cc for where its samples are.
// Sums are kept in 32 bits, which none of them exceeds, and means are truncated.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/reduce.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/pairs-inl.h"
#include "quorvel/bayer.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// One row of cells from four rows of samples.
void cellsBy2(const std::uint16_t* HWY_RESTRICT src, std::size_t srcPitch, std::uint16_t* HWY_RESTRICT dst,
              std::size_t dstPitch, std::size_t cells) {
  forLanes<std::uint32_t>(cells, [=](auto d, std::size_t i) HWY_ATTR {
    const auto row = [=](std::size_t y) HWY_ATTR { return loadSifted(d, src + y * srcPitch + 4 * i); };
    const auto twice = [](auto v) HWY_ATTR { return hn::Add(v, v); };
    const auto r0 = row(0), r1 = row(1), r2 = row(2), r3 = row(3);
    const auto green1 = hn::Add(hn::Add(evenOf(r0.even), evenOf(r0.odd)), hn::Add(oddOf(r1.even), evenOf(r2.even)));
    const auto red = hn::Add(hn::Add(oddOf(r0.even), oddOf(r2.even)), twice(oddOf(r0.odd)));
    const auto blue = hn::Add(hn::Add(evenOf(r1.even), evenOf(r3.odd)), twice(evenOf(r3.even)));
    const auto green2 = hn::Add(hn::Add(oddOf(r1.odd), evenOf(r2.odd)), hn::Add(oddOf(r3.even), oddOf(r3.odd)));
    storePairs(pairOf(hn::ShiftRight<2>(green1), hn::ShiftRight<2>(red)), d, dst + 2 * i);
    storePairs(pairOf(hn::ShiftRight<2>(blue), hn::ShiftRight<2>(green2)), d, dst + dstPitch + 2 * i);
  });
}

// The first pair of every kFactor pairs.
template <std::size_t kFactor>
HWY_INLINE void firstCells(const std::uint16_t* HWY_RESTRICT src, std::size_t srcPitch, std::uint16_t* HWY_RESTRICT dst,
                           std::size_t dstPitch, std::size_t cells) {
  const auto firstPairs = [](auto d, const std::uint16_t* p) HWY_ATTR {
    const auto firstOfTwo = loadSifted(d, p).even;
    if constexpr (kFactor == 2) {
      return firstOfTwo;
    } else {
      static_assert(kFactor == 4);
      return sifted(d, firstOfTwo, loadSifted(d, p + 4 * hn::Lanes(d)).even).even;
    }
  };
  for (std::size_t y = 0; y < 2; ++y, src += srcPitch, dst += dstPitch) {
    forLanes<std::uint32_t>(cells, [=](auto d, std::size_t i)
                                       HWY_ATTR { storePairs(firstPairs(d, src + 2 * kFactor * i), d, dst + 2 * i); });
  }
}

void firstCellsBy2(const std::uint16_t* HWY_RESTRICT src, std::size_t srcPitch, std::uint16_t* HWY_RESTRICT dst,
                   std::size_t dstPitch, std::size_t cells) {
  firstCells<2>(src, srcPitch, dst, dstPitch, cells);
}

void firstCellsBy4(const std::uint16_t* HWY_RESTRICT src, std::size_t srcPitch, std::uint16_t* HWY_RESTRICT dst,
                   std::size_t dstPitch, std::size_t cells) {
  firstCells<4>(src, srcPitch, dst, dstPitch, cells);
}

// Sums down the columns of half a 16-row block, `pairs` pairs of columns: of the green samples of its 8 rows, and of
// the other colour, weighted, over 9 rows. The upper half (G1, R) is walked from the block's first row downwards, the
// lower one (G2, B) from its last row upwards, where it looks the same but for the places in a pair.
template <bool kUpper>
HWY_INLINE void sumColumns(const std::uint16_t* outermost, std::ptrdiff_t step, std::size_t pairs, std::uint32_t* green,
                           std::uint32_t* other) {
  forLanes<std::uint32_t>(pairs, [=](auto d, std::size_t i) HWY_ATTR {
    const auto row = [=](std::ptrdiff_t y) HWY_ATTR { return loadSamples(d, outermost + y * step + 2 * i); };
    const auto otherOf = [](auto pair) HWY_ATTR { return kUpper ? oddOf(pair) : evenOf(pair); };
    const auto greenOf = [](auto pair) HWY_ATTR { return kUpper ? evenOf(pair) : oddOf(pair); };
    const auto edge = row(0);
    auto greens = greenOf(edge), others = otherOf(edge);
    for (std::ptrdiff_t y = 2; y < 8; y += 2) {
      const auto pair = row(y);
      greens = hn::Add(greens, greenOf(pair));
      others = hn::Add(others, otherOf(pair));
    }
    for (std::ptrdiff_t y = 1; y < 8; y += 2) greens = hn::Add(greens, otherOf(row(y)));
    others = hn::Sub(hn::Add(hn::ShiftLeft<2>(others), otherOf(row(8))), otherOf(edge));
    hn::StoreU(greens, d, green + i);
    hn::StoreU(others, d, other + i);
  });
}

// One row of cells from sixteen rows of samples.
void cellsBy8(const std::uint16_t* HWY_RESTRICT src, std::size_t srcPitch, std::uint16_t* HWY_RESTRICT dst,
              std::size_t dstPitch, std::size_t cells) {
  constexpr std::size_t kPairs = 8, kCellsAtOnce = 32;
  const auto step = static_cast<std::ptrdiff_t>(srcPitch);
  std::uint32_t green1[kPairs * kCellsAtOnce], red[kPairs * kCellsAtOnce];
  std::uint32_t green2[kPairs * kCellsAtOnce], blue[kPairs * kCellsAtOnce];
  const auto sumOfFour = [](const std::uint32_t* s) { return s[0] + s[1] + s[2] + s[3]; };
  for (std::size_t done = 0, count; done < cells; done += count, src += 2 * kPairs * count, dst += 2 * count) {
    count = HWY_MIN(cells - done, kCellsAtOnce);
    sumColumns<true>(src, step, kPairs * count, green1, red);
    sumColumns<false>(src + 15 * step, -step, kPairs * count, green2, blue);
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint32_t* const r = red + kPairs * i;
      const std::uint32_t* const b = blue + kPairs * i;
      std::uint16_t* const cell = dst + 2 * i;
      cell[0] = static_cast<std::uint16_t>(sumOfFour(green1 + kPairs * i) >> 5);
      cell[1] = static_cast<std::uint16_t>((4 * sumOfFour(r + 4) - r[7] + r[3]) >> 8);
      cell[dstPitch] = static_cast<std::uint16_t>((4 * sumOfFour(b) - b[0] + b[4]) >> 8);
      cell[dstPitch + 1] = static_cast<std::uint16_t>(sumOfFour(green2 + kPairs * i + 4) >> 5);
    }
  }
}

// One row of samples from four rows of two planes: means of 4 x 4, by turns of `even` and of `odd`.
void meansBy4(const std::uint16_t* HWY_RESTRICT even, const std::uint16_t* HWY_RESTRICT odd, std::size_t pitch,
              std::uint16_t* HWY_RESTRICT dst, std::size_t n) {
  forLanes<std::uint64_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    // A lane holds the four columns of one mean.
    const auto row = [=](std::size_t y) HWY_ATTR {
      const std::size_t at = y * pitch + 4 * i;
      if constexpr (hn::MaxLanes(decltype(d)()) == 1) {
        return loadSamples(d, (i % 2 == 0 ? even : odd) + at);
      } else {
        return hn::OddEven(loadSamples(d, odd + at), loadSamples(d, even + at));
      }
    };
    const auto inHalves = hn::Set(d, 0x0000FFFF0000FFFF);
    auto sums = hn::Zero(d);
    for (std::size_t y = 0; y < 4; ++y) {
      const auto v = row(y);
      sums = hn::Add(sums, hn::Add(hn::And(v, inHalves), hn::And(hn::ShiftRight<16>(v), inHalves)));
    }
    const auto total = hn::Add(sums, hn::ShiftRight<32>(sums));
    const hn::Rebind<std::uint16_t, decltype(d)> d16;
    hn::StoreU(hn::TruncateTo(d16, hn::ShiftRight<4>(total)), d16, dst + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(cellsBy2);
HWY_EXPORT(firstCellsBy2);
HWY_EXPORT(firstCellsBy4);
HWY_EXPORT(cellsBy8);
HWY_EXPORT(meansBy4);

// Whole blocks of 2 x factor sites become cells; what is left over at the right and at the bottom is not looked at.
template <typename RowOfCells>
int reduceBlocks(std::size_t factor, RowOfCells rowOfCells, const std::uint16_t* src, unsigned width, unsigned height,
                 std::uint16_t* dst) {
  const std::size_t block = 2 * factor, dstPitch = width / factor;
  for (std::size_t y = 0; y < height / block; ++y) {
    rowOfCells(src + block * y * width, std::size_t{width}, dst + 2 * y * dstPitch, dstPitch, width / block);
  }
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int compressBayer_x2(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst) {
  return reduceBlocks(2, HWY_DYNAMIC_DISPATCH(cellsBy2), src, width, height, dst);
}

int compressBayer_x2Step(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst) {
  return reduceBlocks(2, HWY_DYNAMIC_DISPATCH(firstCellsBy2), src, width, height, dst);
}

int compressBayer_x4Step(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst) {
  return reduceBlocks(4, HWY_DYNAMIC_DISPATCH(firstCellsBy4), src, width, height, dst);
}

int compressBayer_x8(const std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst) {
  return reduceBlocks(8, HWY_DYNAMIC_DISPATCH(cellsBy8), src, width, height, dst);
}

int rgbToBayer_x4(const std::uint16_t* r, const std::uint16_t* g, const std::uint16_t* b, std::uint16_t* dst,
                  unsigned width, unsigned height, unsigned pitch) {
  const auto rowOfMeans = HWY_DYNAMIC_DISPATCH(meansBy4);
  const std::size_t rowOfSites = std::size_t{4} * width, samples = width / 8 * 2;
  for (std::size_t y = 0; y < height / 8 * 2; y += 2) {
    rowOfMeans(g + y * rowOfSites, r + y * rowOfSites, width, dst + y * pitch, samples);
    rowOfMeans(b + (y + 1) * rowOfSites, g + (y + 1) * rowOfSites, width, dst + (y + 1) * pitch, samples);
  }
  return 0;
}

#endif
