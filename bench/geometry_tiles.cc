// SPDX-License-Identifier: Apache-2.0
#include <string>

#include <quorvel/geometry.h>

#include "bench/harness.h"
#include "bench/peers/tiles.h"

namespace quorvel::bench {

template <typename T>
struct TileRoutines {
  using Turn = int (*)(const T*, unsigned, unsigned, unsigned, T*, unsigned);
  Turn turn90, turn180, turn270;
  int (*mirror)(const T*, T*, unsigned);
  int (*border)(const T*, unsigned, unsigned, unsigned, T*, unsigned, unsigned, unsigned, unsigned, unsigned);
};

template <typename T>
static void registerTiles(const std::string& bits, const TileRoutines<T>& routines) {
  constexpr std::size_t kMoved = 2 * sizeof(T) * kSamples;
  constexpr unsigned kBorder = 16;
  const auto tile = randomSamples<T>(kSamples, 255);
  const auto out = buffer<T>((kWidth + 2 * kBorder) * (kHeight + 2 * kBorder));
  const auto turn = [&](const char* name, auto routine, unsigned dstPitch, [[maybe_unused]] OpencvTurn peer) {
    Contest contest(name + bits, kMoved);
    contest.quorvel([=] { routine(tile->data(), kWidth, kWidth, kHeight, out->data(), dstPitch); });
#ifdef QUORVEL_PEER_OPENCV
    contest.peer("OpenCV", [=] { opencvTurn(peer, tile->data(), kWidth, kHeight); });
#endif
  };
  turn("tileTurn90_", routines.turn90, kHeight, OpencvTurn::Quarter);
  turn("tileTurn180_", routines.turn180, kWidth, OpencvTurn::Half);
  turn("tileTurn270_", routines.turn270, kHeight, OpencvTurn::ThreeQuarters);

  Contest mirror("tileMirrorX" + bits, kMoved);
  mirror.quorvel([=] {
    for (std::size_t y = 0; y < kHeight; ++y) routines.mirror(&(*tile)[y * kWidth], &(*out)[y * kWidth], kWidth);
  });
  Contest border("tileBorder_" + bits, kMoved);
  border.quorvel([=] {
    routines.border(tile->data(), kWidth, kWidth, kHeight, out->data(), kWidth + 2 * kBorder, kBorder, kBorder, kBorder,
                    kBorder);
  });
#ifdef QUORVEL_PEER_OPENCV
  mirror.peer("OpenCV", [=] { opencvTurn(OpencvTurn::Mirror, tile->data(), kWidth, kHeight); });
  border.peer("OpenCV", [=] { opencvBorder(tile->data(), kWidth, kHeight, kBorder); });
#endif
}

void registerGeometryTileContests() {
  registerTiles<std::uint8_t>("8_8",
                              {tileTurn90_8_8, tileTurn180_8_8, tileTurn270_8_8, tileMirrorX8_8_EMMX, tileBorder_8_8});
  registerTiles<std::uint16_t>(
      "16_16", {tileTurn90_16_16, tileTurn180_16_16, tileTurn270_16_16, tileMirrorX16_16_EMMX, tileBorder_16_16});
}

}  // namespace quorvel::bench
