// SPDX-License-Identifier: Apache-2.0
#include <iterator>
#include <limits>

#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

void addRows(Routines& routines, unsigned n) {
  CALL(tileMirrorX8_8_EMMX, n);
  CALL(tileMirrorX16_16_EMMX, n);
}

void addImages(Routines& routines, unsigned width, unsigned height) {
  const unsigned stride = width + 5;
  CALL(insertSubTileX, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  CALL(insertSubTileX16, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  CALL(tileTurn90_8_8, stride, width, height, height + 3);
  CALL(tileTurn90_16_16, stride, width, height, height + 3);
  CALL(tileTurn180_8_8, stride, width, height, stride + 7);
  CALL(tileTurn180_16_16, stride, width, height, stride + 7);
  CALL(tileTurn270_8_8, stride, width, height, height + 3);
  CALL(tileTurn270_16_16, stride, width, height, height + 3);
  CALL(tileBorder_8_8, stride, width, height, stride + 7, 3, 2, 4, 1);
  CALL(tileBorder_16_16, stride, width, height, stride + 7, 3, 2, 4, 1);
}

// Mappings over rings of 16 rows of 128 samples. What process-wide tables and settings a routine takes is set before
// it.
void addResampling(Routines& routines) {
  const auto walked = [&](const char* name, auto routine, unsigned pitch, auto... last) {
    routines[name] = [=, before = routines[name]](Digest& d) {
      if (before) before(d);
      genParaboloicWeightTableXY(-0.5, -0.75);
      digestCall(d, routine, 160, 100, 66181, 1155, -1155, 66181, 3, -5, pitch, 16, 61, 9, 70, last...);
      digestCall(d, routine, 1500, -40, -46341, 46341, 46341, 46341, 0, 0, pitch, 16, 37, 5, 40, last...);
    };
  };
  walked("Geo8_8MMX", Geo8_8MMX, 128, 0);
  walked("Geo16_16MMX", Geo16_16MMX, 256, 0);
  walked("GeoGamma16_8MMX", GeoGamma16_8MMX, 256);
  walked("GeoQGamma16_8MMX", GeoQGamma16_8MMX, 256);
  for (const int method : {0, 1, 2, 3, 4, 5, 6, 7}) {
    walked("GeoParab8_8MMX", GeoParab8_8MMX, 128, method);
    walked("GeoParab16_16MMX", GeoParab16_16MMX, 256, method);
  }
  CALL(GeoY6_16_16MMX, 12, 90, 1155, 60000, 256, 16, 61, 9, 70, 6);
  CALL(genWeightTable16_16, 0);
  CALL(genWeightTable16_16, 1);
  CALL(genWeightTable16_16_static);
  CALL(genWeightTable16_16_power, 1.0);
  CALL(genParaboloicWeightTable);
  CALL(GenParaboloicWeightTable);
  CALL(setNbitForGeo, 12);
  routines["getRasterMethodName"] = [](Digest& d) {
    for (int method = -1; method < 10; ++method) {
      const std::string name = getRasterMethodName(method);
      d.add(name.data(), name.size());
    }
  };

  const auto filled = [&](const char* name, auto fill) {
    routines[name] = [=](Digest& d) {
      fill();
      d.add(getCubicTable16(), 256 * 16);
      d.add(getCubicTable16f(), 256 * 16);
    };
  };
  const auto directed = [] { genParaboloicWeightTableXY(-0.5, -0.75); };
  filled("doNearestNeiborhoodCC", doNearestNeiborhoodCC);
  filled("genParaboloicWeightTableXY", directed);
  filled("genParaboloicWeightTable_MoveCompensXY", [] { genParaboloicWeightTable_MoveCompensXY(-0.5, -1); });
  filled("getCubicTable16", directed);
  filled("getCubicTable16f", directed);

  routines["makeCubicConv16"] = [=](Digest& d) {
    directed();
    const auto src = content<std::uint8_t>(1);
    const int step[] = {66181, 1155}, mask[] = {15, 15}, pitch[] = {128, 128};
    int at[] = {10 << 16, 5 << 16};
    std::uint8_t out[61];
    makeCubicConv16(src.data(), 61, &at[0], &at[1], step, mask, pitch, out);
    d.add(out, 61);
    d.add(at, 2);
  };
  const auto words = [](std::uint32_t seed) { return content<std::uint16_t>(seed); };
  routines["GeoRowY6_16_16MMX"] = [=](Digest& d) {
    setNbitForGeo(12);
    std::uint16_t out[61];
    GeoRowY6_16_16MMX(words(1).data(), 3 << 15, 2310, 256, 15, out, 61, 1);
    d.add(out, 61);
  };
  routines["GeoQGamma16_16MMX"] = [=](Digest& d) {
    std::vector<GroupEl> groups(61);
    std::vector<std::uint16_t> out(61 * 9);
    GeoQGamma16_16MMX(words(1).data(), 160, 100, 66181, 1155, -1155, 66181, 3, -5, 256, 16, out.data(), 61, 9, 61,
                      groups.data());
    d.add(out.data(), out.size());
  };
  const std::vector<GroupEl> kGroups = {{3, 4, 240, 7}, {5, 2, 0, 20}, {1, 1, 112, 1}, {0, 9, 64, 33}};
  routines["GeoLn"] = [=](Digest& d) {
    std::vector<GroupEl> groups = kGroups;
    std::uint8_t out[61];
    GeoLn(words(1).data(), 10 << 16, groups.data(), 4, out, 70000, content<std::uint8_t>(2).data(), 256);
    d.add(out, 61);
  };
  routines["GeoLn16_16"] = [=](Digest& d) {
    std::vector<GroupEl> groups = kGroups;
    std::uint16_t out[61];
    GeoLn16_16(words(1).data(), 10 << 16, groups.data(), 4, out, 70000, 32);
    d.add(out, 61);
  };
  routines["GeoParab16_16_2_MMX"] = [=](Digest& d) {
    const GeoCoef4 coefficients = {160, 100, 61, 9, 66181, 1155, -1155, 66181, 3, -5, 0};
    const std::array planes = {words(1), words(2), words(3)};
    std::array<std::array<std::uint16_t, 61 * 9>, 3> out;
    const std::uint16_t* const from[] = {planes[0].data(), planes[1].data(), planes[2].data()};
    std::uint16_t* const to[] = {out[0].data(), out[1].data(), out[2].data()};
    GeoParab16_16_2_MMX(from, &coefficients, 256, 16, to, 61, 2);
    for (const auto& plane : out) d.add(plane.data(), plane.size());
  };
GeoCoef4 record(int seed) {
  return {16 * seed, 7 * seed, 90, 9, 65000 + seed, 300 * seed, -400, 66000, seed, -seed, 0};
}

template <typename Rect, typename Real>
auto quads(int (*routine)(const Rect*, unsigned, unsigned, Real, Real, GeoCoef4*)) {
  return [=](Digest& d) {
    for (int i = 0; i < 40; ++i) {
      const auto v = [i](int k) { return static_cast<Real>((i * 7919 + k * 104729) % 20011 - 9000) / Real(1 + i % 7); };
      Rect r = {v(0), v(1), v(2), v(3), v(4), v(5), v(6), v(7)};
      if (i % 8 == 1) r.x1 = r.x1 * static_cast<Real>(1e30);
      if (i % 8 == 2) r.y1 = std::numeric_limits<Real>::quiet_NaN();
      GeoCoef4 c;
      routine(&r, 1000u * static_cast<unsigned>(i), 77u, Real(1) / 64, Real(1) / 33, &c);
      const int fields[] = {c.x,     c.y,     c.columns, c.rows, c.dxColumn, c.dyColumn,
                            c.dxRow, c.dyRow, c.ddx,     c.ddy,  c.rowRun};
      d.add(fields, std::size(fields));
    }
}

template <typename T, typename Routine>
auto rings(Routine routine) {
    std::vector<T> ring(64 * 8192), dst(300 * 5);
    for (std::size_t i = 0; i < ring.size(); ++i)
      ring[i] = static_cast<T>(static_cast<std::uint32_t>(i) * 2654435761u >> 16);
    for (const int x : {0, 77, 8100 * 16, -1}) {
      const int status = routine(ring.data(), dst.data(), x, x < 9000 ? 62000 : 12000);
      d.add(&status, 1);
      d.add(dst.data(), dst.size());
    }
}

template <typename Routine>
auto runs(Routine routine) {
    for (int i = -20; i < 20; ++i) {
      const GeoCoef4 c = record(i);
      unsigned first = 0;
      const int kept = routine(&c, i % 9, &first);
      d.add(&kept, 1);
      d.add(&first, 1);
    }
}

auto triangles(Routine routine) {
    std::vector<T> raster(64 * 48);
    for (int i = 0; i < 30; ++i) {
      const auto v = [i](int k) { return (i * 7919 + k * 104729) % 1499 - 250; };
      const TPoInt<std::int32_t> corners[] = {{v(0), v(1)}, {v(2), v(3)}, {v(4), v(5)}};
      const int count = routine(raster.data(), corners, i);
      d.add(&count, 1);
    }
    d.add(raster.data(), raster.size());
}

void addMappings(Routines& routines) {
  routines["calcGeo"] = quads(calcGeo);
  routines["calcGeo2"] = quads(calcGeo2);
  routines["calcGeoF"] = quads(calcGeoF);
  routines["convGeo8_8"] = rings<std::uint8_t>([](const auto* ring, auto* dst, int x, int dx) {
    return convGeo8_8(ring, dst, x, 900, 300, dx, -3000, 100, 70000, 5);
  });
  routines["convGeo16_16"] = rings<std::uint16_t>([](const auto* ring, auto* dst, int x, int dx) {
    return convGeo16_16(ring, dst, x, 900, 300, dx, -3000, 100, 70000, 1, 1, 5);
  routines["convGeo"] = rings<std::uint16_t>([](const auto* ring, auto* dst, int x, int dx) {
    const Xparam walk = {dx / 4, 90000, 8192, 32};
    return convGeo(ring, dst, x, 8, &walk, 300);
  routines["linearCoor"] = [](Digest& d) {
    std::vector<TPoInt<std::int32_t>> positions(90);
    const GeoCoef4 c = record(5);
    linearCoor(&c, 7, positions.data(), 90);
    for (const auto& p : positions) {
      d.add(&p.x, 1);
      d.add(&p.y, 1);
    }
  routines["calcExclude"] =
      runs([](const GeoCoef4* c, int row, unsigned* first) { return calcExclude(c, row, 70, 40, first); });
  routines["calcExclude2"] = runs([](const GeoCoef4* c, int row, unsigned* first) {
    const TPoInt<std::int32_t> low = {-32768, -32768}, high = {3000000, 2000000};
    return calcExclude2(c, row, &low, &high, first);
  routines["fillTriangle"] = triangles<std::uint8_t>([](std::uint8_t* raster, const auto* corners, int i) {
    return fillTriangle(raster, 64, 61, 48, corners, static_cast<std::uint8_t>(i));
  routines["fillTriangleZ"] = triangles<float>([](float* raster, const auto* corners, int i) {
    const float z[] = {0.1f * static_cast<float>(i), -3.3f, 1e3f};
    return fillTriangleZ(raster, 64, 61, 48, corners, z);
}

}  // namespace

void addGeometry(Routines& routines) {
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
  addResampling(routines);
  addMappings(routines);
}

}  // namespace quorvel::test
