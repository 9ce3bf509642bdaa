// SPDX-License-Identifier: Apache-2.0
#include <bit>
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
      d.add(std::bit_cast<std::array<int, 11>>(c).data(), 11);
    }
  };
}

template <typename T, typename Routine>
auto rings(Routine routine) {
  return [=](Digest& d) {
    std::vector<T> ring(64 * 8192), dst(300 * 5);
    for (std::size_t i = 0; i < ring.size(); ++i)
      ring[i] = static_cast<T>(static_cast<std::uint32_t>(i) * 2654435761u >> 16);
    for (const int x : {0, 77, 8100 * 16, -1}) {
      const int status = routine(ring.data(), dst.data(), x, x < 9000 ? 62000 : 12000);
      d.add(&status, 1);
      d.add(dst.data(), dst.size());
    }
  };
}

template <typename T, typename Routine>
auto triangles(Routine routine) {
  return [=](Digest& d) {
    std::vector<T> raster(64 * 48);
    for (int i = 0; i < 30; ++i) {
      const auto v = [i](int k) { return (i * 7919 + k * 104729) % 1499 - 250; };
      const TPoInt<std::int32_t> corners[] = {{v(0), v(1)}, {v(2), v(3)}, {v(4), v(5)}};
      const int count = routine(raster.data(), corners, i);
      d.add(&count, 1);
    }
    d.add(raster.data(), raster.size());
  };
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
  });
  routines["convGeo"] = rings<std::uint16_t>([](const auto* ring, auto* dst, int x, int dx) {
    const Xparam walk = {dx / 4, 90000, 8192, 32};
    return convGeo(ring, dst, x, 8, &walk, 300);
  });
  routines["linearCoor"] = [](Digest& d) {
    std::int32_t positions[180];
    const GeoCoef4 c = record(5);
    linearCoor(&c, 7, reinterpret_cast<TPoInt<std::int32_t>*>(positions), 90);
    d.add(positions, 180);
  };
  const auto runs = [](bool ofBox) {
    return [ofBox](Digest& d) {
      const TPoInt<std::int32_t> low = {-32768, -32768}, high = {3000000, 2000000};
      for (int i = -20; i < 20; ++i) {
        const GeoCoef4 c = record(i);
        unsigned first = 0;
        const int kept = ofBox ? calcExclude2(&c, i % 9, &low, &high, &first) : calcExclude(&c, i % 9, 70, 40, &first);
        d.add(&kept, 1);
        d.add(&first, 1);
      }
    };
  };
  routines["calcExclude"] = runs(false);
  routines["calcExclude2"] = runs(true);
  routines["fillTriangle"] = triangles<std::uint8_t>([](std::uint8_t* raster, const auto* corners, int i) {
    return fillTriangle(raster, 64, 61, 48, corners, static_cast<std::uint8_t>(i));
  });
  routines["fillTriangleZ"] = triangles<float>([](float* raster, const auto* corners, int i) {
    const float z[] = {0.1f * static_cast<float>(i), -3.3f, 1e3f};
    return fillTriangleZ(raster, 64, 61, 48, corners, z);
  });
}

}  // namespace

void addGeometry(Routines& routines) {
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
  addMappings(routines);
}

}  // namespace quorvel::test
