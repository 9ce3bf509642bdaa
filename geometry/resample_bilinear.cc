// SPDX-License-Identifier: Apache-2.0
// Bilinear resampling. The members differ in sample sizes and in how the four weighted samples are summed; all of them
// are one kernel. A look-up table is applied to runs of results while they are in the first-level cache.
//
// The quick members hold y constant in groups of pixels, cut where y crosses the next sixteenth of a pixel. A group
// ends before that crossing: with r the way to the crossing and s the step, k = r * (2^20 / s) >> 20 is at most r / s,
// and where both agree the crossing pixel is left to the next group; downwards the pixel on the boundary belongs to the
// phase above it. So all pixels of a group have the phase and the rows that their own y gives them, and the ordinary
// walk makes the same result, without the groups' divisions and for all pixels of a vector at once. What is left of the
// rule is the row that counts as level: it is made at the y of its first pixel. The routine of the group array is
// reentrant for the same reason.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/resample_bilinear.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "geometry/resample_bilinear-inl.h"
#include "geometry/resample_weights.h"
#include "quorvel/geometry.h"
#include "quorvel/pixel.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void truncated8(const Line& line, const BilinearOptions& options, std::size_t count, std::uint8_t* dst) {
  bilinearLine<Truncated8>(line, options, count, dst);
}
void rounded16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst) {
  bilinearLine<Rounded16>(line, options, count, dst);
}
void signedLine16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst) {
  bilinearLine<SignedLine16>(line, options, count, dst);
}
void unsignedLine16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst) {
  bilinearLine<UnsignedLine16>(line, options, count, dst);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(truncated8);
HWY_EXPORT(rounded16);
HWY_EXPORT(signedLine16);
HWY_EXPORT(unsignedLine16);

void bilinear8(const Line& line, const BilinearOptions& options, std::size_t count, std::uint8_t* dst) {
  HWY_DYNAMIC_DISPATCH(truncated8)(line, options, count, dst);
}
void bilinear16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst) {
  HWY_DYNAMIC_DISPATCH(rounded16)(line, options, count, dst);
}
void bilinearSigned16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst) {
  HWY_DYNAMIC_DISPATCH(signedLine16)(line, options, count, dst);
}
void bilinearUnsigned16(const Line& line, std::size_t count, std::uint16_t* dst) {
  HWY_DYNAMIC_DISPATCH(unsignedLine16)(line, BilinearOptions{nullptr}, count, dst);
}

void lookUpLine(BilinearLine16 make, Line line, const BilinearOptions& options, std::size_t count, std::uint8_t* dst,
                const std::uint8_t* table) {
  alignas(64) std::uint16_t results[kBilinearRun];
  alignas(64) std::uint8_t bytes[kBilinearRun];
  while (count > 0) {
    const std::size_t run = std::min(count, kBilinearRun);
    make(line, options, run, results);
    // A multiple of three, because only then all of them are looked up as numbers without a sign.
    std::size_t whole = run;
    while (whole % 3 != 0) results[whole++] = results[run - 1];
    const auto* const samples = reinterpret_cast<const std::int16_t*>(results);
    gamma16_8(samples, whole == run ? dst : bytes, table, static_cast<unsigned>(whole));
    if (whole != run) std::copy(bytes, bytes + run, dst);
    line.at += line.step * run;
    dst += run;
    count -= run;
  }
}

namespace {

// Whole rows are one group where their way in y is below an eighth of a pixel.
auto levelled(std::size_t width) {
  return [width](Line& row) {
    const std::int64_t step = static_cast<std::int32_t>(row.step.y);
    if (std::abs(step * static_cast<std::int64_t>(width)) < 8193) row.step.y = 0;
  };
}

const auto kAsItIs = [](Line&) {};

template <typename In, typename Out, typename Prepare, typename Body>
int resample(const Mapping<In, Out>& mapping, Prepare&& prepare, Body&& body) {
  if (mapping.rows < 1) return 0;
  if (mapping.srcPitch % 8 != 0) return kBadPitch;
  mapping.forRows(prepare, body);
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int Geo8_8MMX(const std::uint8_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx, int ddy,
              unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width, int rows, int dstPitch,
              Geometry_Method) {
  const Mapping mapping{src, x,        y,       dxColumn, dyColumn, dxRow, dyRow,   ddx,
                        ddy, srcPitch, srcRows, dst,      width,    rows,  dstPitch};
  const BilinearOptions options{bentBilinear()};
  return resample(mapping, kAsItIs, [&](const Line& line, std::size_t count, std::uint8_t* out) {
    bilinear8(line, options, count, out);
  });
}

int Geo16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst, unsigned width, int rows, int dstPitch,
                Geometry_Method) {
  const Mapping mapping{src, x,        y,       dxColumn, dyColumn, dxRow, dyRow,   ddx,
                        ddy, srcPitch, srcRows, dst,      width,    rows,  dstPitch};
  const BilinearOptions options{bentBilinear(), 0xFFFF};
  return resample(mapping, kAsItIs, [&](const Line& line, std::size_t count, std::uint16_t* out) {
    bilinear16(line, options, count, out);
  });
}

int GeoGamma16_8MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                    int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width, int rows, int dstPitch,
                    const std::uint8_t* table) {
  const Mapping mapping{src, x,        y,       dxColumn, dyColumn, dxRow, dyRow,   ddx,
                        ddy, srcPitch, srcRows, dst,      width,    rows,  dstPitch};
  const BilinearOptions options{bentBilinear()};
  return resample(mapping, kAsItIs, [&](const Line& line, std::size_t count, std::uint8_t* out) {
    lookUpLine(bilinear16, line, options, count, out, table);
  });
}

int GeoQGamma16_8MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                     int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width, int rows, int dstPitch,
                     const std::uint8_t* table) {
  const Mapping mapping{src, x,        y,       dxColumn, dyColumn, dxRow, dyRow,   ddx,
                        ddy, srcPitch, srcRows, dst,      width,    rows,  dstPitch};
  const BilinearOptions options{bentBilinear()};
  return resample(mapping, levelled(width), [&](const Line& line, std::size_t count, std::uint8_t* out) {
    lookUpLine(bilinearSigned16, line, options, count, out, table);
  });
}

int GeoQGamma16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                      int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst, unsigned width, int rows,
                      int dstPitch, GroupEl*) {
  const Mapping mapping{src, x,        y,       dxColumn, dyColumn, dxRow, dyRow,   ddx,
                        ddy, srcPitch, srcRows, dst,      width,    rows,  dstPitch};
  return resample(mapping, levelled(width), [&](const Line& line, std::size_t count, std::uint16_t* out) {
    bilinearUnsigned16(line, count, out);
  });
}

#endif
