// SPDX-License-Identifier: Apache-2.0
// Method 0: each missing colour is the truncated mean of its nearest samples. Any 16-bit samples.
//
//   at a green sample:  own colour = mean of left and right, other colour = mean of above and below
//   at another sample:  green = mean of the four neighbours, other colour = mean of the four diagonal ones
//
// The first and the last row have one neighbouring row, which stands for both; at either end of a row the inner
// neighbour stands for both. That is what work rows with repeated margins hold. Green alone keeps to one side: in the
// first and the last row it is the mean of left and right, elsewhere at the ends of a row that of above and below.
#include <algorithm>

#include "bayer/split_rows.h"
#include "quorvel/pixel.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/demosaic_bilinear.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/plane_sink-inl.h"
#include "bayer/split_rows-inl.h"

#ifndef QUORVEL_BAYER_BILINEAR_WORK_
#define QUORVEL_BAYER_BILINEAR_WORK_
namespace quorvel {

// The row that is made and its neighbours.
constexpr std::size_t kBilinearRows = 3;
using BilinearWork = SplitRowRing<kBilinearRows>;

// Rows of three planes that become rows of an interleaved picture.
struct InterleavedPicture {
  RgbRow work;  // room for one row
  std::uint16_t* rgb;
};

}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

using WordTag = hn::RebindToUnsigned<SampleTag>;
using Words = hn::Vec<WordTag>;

// Truncated means of full 16-bit values that never leave 16 bits. The processors' own mean rounds up; what a pair
// gained by that is the lowest bit of a ^ b.
struct Pair {
  HWY_INLINE Pair(Words a, Words b) : roundedUp(hn::AverageRound(a, b)), gained(hn::Xor(a, b)) {}
  Words roundedUp, gained;
};

HWY_INLINE Words mean(const Pair& p) { return hn::Sub(p.roundedUp, hn::And(p.gained, hn::Set(WordTag(), 1))); }

// The mean of the two rounded means is one too large if any of the three roundings gained.
HWY_INLINE Words mean(const Pair& p, const Pair& q) {
  const Pair both(p.roundedUp, q.roundedUp);
  const Words gained = hn::Or3(both.gained, p.gained, q.gained);
  return hn::Sub(both.roundedUp, hn::And(gained, hn::Set(WordTag(), 1)));
}

// `count` columns, from the even column `first` on, of the row in the middle of three. kGreenHalf is the parity of the
// columns where it is green. The ends of the row are still to be completed.
template <unsigned kGreenHalf, bool kEdgeRow>
void bilinearColumns(const SplitRow* rows, std::size_t first, std::size_t count, const RowColours& out) {
  constexpr unsigned c = 1 - kGreenHalf;
  const std::int16_t *green = rows[1].half[kGreenHalf], *own = rows[1].half[c];
  const std::int16_t *greenUp = rows[0].half[c], *greenDown = rows[2].half[c];
  const std::int16_t *otherUp = rows[0].half[kGreenHalf], *otherDown = rows[2].half[kGreenHalf];
  // Of the two neighbours that a site has in the other half row, one stands at its own index. The second one follows
  // for the sites of odd columns and precedes for those of even ones.
  constexpr std::ptrdiff_t next = c == 1 ? 1 : -1;
  forOutputVectors<kGreenHalf>(first, count, out, [&](auto d, std::ptrdiff_t i) HWY_ATTR {
    const auto at = [=](const std::int16_t* p) HWY_ATTR { return hn::BitCast(WordTag(), hn::LoadU(d, p + i)); };
    const auto sample = [=](Words v) HWY_ATTR { return hn::BitCast(d, v); };
    const Words greenHere = at(green), ownHere = at(own);
    const Pair besideGreen(ownHere, at(own - next)), besideOther(greenHere, at(green + next));
    const Pair nearOther(at(otherUp), at(otherDown)), farOther(at(otherUp + next), at(otherDown + next));
    const Words greenAtOther = kEdgeRow ? mean(besideOther) : mean(besideOther, Pair(at(greenUp), at(greenDown)));
    return SitePair<Samples>{{sample(greenHere), sample(mean(besideGreen)), sample(mean(nearOther))},
                             {sample(greenAtOther), sample(ownHere), sample(mean(nearOther, farOther))}};
  });
}

// Row by row into `sink`, which is a PlaneSink or takes rows as one does.
template <class Sink>
HWY_INLINE void bilinearRows(const BayerFrame& frame, const BilinearWork& work, Sink& sink) {
  splitFrameRow(frame, -1, work[-1]);
  splitFrameRow(frame, 0, work[0]);
  for (std::size_t y = 0; y < frame.height; ++y) {
    const auto row = static_cast<std::ptrdiff_t>(y);
    splitFrameRow(frame, row + 1, work[row + 1]);
    const SplitRow rows[3] = {work[row - 1], work[row], work[row + 1]};
    const bool edge = y == 0 || y + 1 == frame.height;
    const auto make = edge ? (y % 2 == 0 ? bilinearColumns<0, true> : bilinearColumns<1, true>)
                           : (y % 2 == 0 ? bilinearColumns<0, false> : bilinearColumns<1, false>);
    sink.row(y, [&](std::size_t x, std::size_t count, const RowColours& to) HWY_ATTR {
      prefetchColumns(frame, y + 2, x, count);
      make(rows, x, count, to);
      if (edge) return;
      for (const std::size_t end : {std::size_t{0}, frame.width - 1}) {
        if (end % 2 == y % 2 || end < x || end >= x + count) continue;
        to.green[end - x] = static_cast<std::uint16_t>((frame.row(y - 1)[end] + frame.row(y + 1)[end]) >> 1);
      }
    });
  }
}

void bilinearIntoPlanes(const BayerFrame& frame, const BilinearWork& work, const RgbPlanes& out) {
  PlaneSink sink(out, frame.height);
  bilinearRows(frame, work, sink);
}

// Takes rows as PlaneSink does, and interleaves each.
class PictureSink {
 public:
  PictureSink(const InterleavedPicture& picture, std::size_t width) : picture_(picture), width_(width) {}

  template <typename Body>
  HWY_INLINE void row(std::size_t y, Body&& body) {
    const RgbRow& work = picture_.work;
    body(std::size_t{0}, width_, coloursOfRow(work, y));
    copy16_3_1(work.r, work.g, work.b, picture_.rgb + 3 * width_ * y, static_cast<unsigned>(width_));
  }

 private:
  const InterleavedPicture& picture_;
  std::size_t width_;
};

void bilinearIntoPicture(const BayerFrame& frame, const BilinearWork& work, const InterleavedPicture& out) {
  PictureSink sink(out, frame.width);
  bilinearRows(frame, work, sink);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(bilinearIntoPlanes);
HWY_EXPORT(bilinearIntoPicture);

namespace {

// A frame of a single row or column: the mean of the neighbours that there are, and 0 for a colour that was never seen.
// In a column, green and blue alternate; in a row, green and red.
void bilinearLine(const BayerFrame& frame, const RgbPlanes& out) {
  const std::size_t length = frame.width * frame.height, step = frame.width == 1 ? frame.pitch : 1;
  std::uint16_t* const own = frame.width == 1 ? out.b : out.r;
  std::fill_n(frame.width == 1 ? out.r : out.b, length, std::uint16_t{0});
  for (std::size_t i = 0; i < length; ++i) {
    const std::size_t before = i > 0 ? i - 1 : 1, after = i + 1 < length ? i + 1 : before;
    const auto sample = [&](std::size_t k) { return frame.samples[k * step]; };
    const bool lone = length == 1;
    const auto between =
        static_cast<std::uint16_t>(lone ? 0 : (sample(before < length ? before : after) + sample(after)) >> 1);
    const bool green = i % 2 == 0;
    out.g[i] = green ? sample(i) : between;
    own[i] = green ? between : sample(i);
  }
}

}  // namespace

int demosaicBilinear(const BayerFrame& frame, const RgbPlanes& out) {
  if (frame.width == 0 || frame.height == 0) return 0;
  if (frame.width == 1 || frame.height == 1) {
    bilinearLine(frame, out);
    return 0;
  }
  const SplitRowStore<kBilinearRows> store(frame.width);
  if (!store.allocated()) return kOutOfMemory;
  HWY_DYNAMIC_DISPATCH(bilinearIntoPlanes)(frame, BilinearWork(store, 0), out);
  return 0;
}

int demosaicBilinearInterleaved(const BayerFrame& frame, const RgbRow& work, std::uint16_t* rgb) {
  if (frame.width == 0 || frame.height == 0) return 0;
  const SplitRowStore<kBilinearRows> store(frame.width);
  if (!store.allocated()) return kOutOfMemory;
  HWY_DYNAMIC_DISPATCH(bilinearIntoPicture)(frame, BilinearWork(store, 0), InterleavedPicture{work, rgb});
  return 0;
}

}  // namespace quorvel

#endif
