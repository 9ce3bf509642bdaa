// SPDX-License-Identifier: Apache-2.0
#include <quorvel/dct_tables.h>

#include "bench/harness.h"
#include "bench/peers/dct.h"

namespace quorvel::bench {
namespace {

// Blocks of the frame, row by row.
template <typename Work>
void forBlocks(Work&& work) {
  for (unsigned y = 0; y < kHeight; y += 8) {
    for (unsigned x = 0; x < kWidth; x += 8) work(std::size_t{y} * kWidth + x, (y / 8 * (kWidth / 8) + x / 8) * 64);
  }
}

template <typename Work>
void forStrips(Work&& work) {
  for (unsigned y = 0; y < kHeight; y += 8) work(std::size_t{y} * kWidth);
}

}  // namespace

void registerDctContests() {
  fillTransformTables();
  fillFloatScales(jpegSteps(kJpegLuminanceSteps, 90), 8);
  const auto q = std::make_shared<Quantizer>(makeQuantizer8(jpegSteps(kJpegLuminanceSteps, 90)));
  const auto bytes = randomSamples<std::uint8_t>(kSamples, 255);
  const auto words = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto small = randomSamples<std::uint16_t>(kSamples, 7);
  const auto coefs = buffer<std::uint16_t>(kSamples), wide = buffer<std::uint16_t>(kSamples);
  const auto out = buffer<std::uint8_t>(kSamples);
  const auto floats = buffer<float>(kSamples);
  constexpr std::size_t kByteMoved = 3 * std::size_t{kSamples}, kWordMoved = 4 * std::size_t{kSamples};
  constexpr unsigned kBlocks = kWidth / 8;

  Contest forward("calcFDCT16_bq", kByteMoved);
  forward.quorvel([=] {
    forBlocks([&](std::size_t at, std::size_t block) {
      calcFDCT16_bq(bytes->data() + at, kWidth, q->bias.data(), q->recip.data(), coefs->data() + block, nullptr);
    });
  });
  const auto strip = [=](int zigzag) {
    return [=] {
      forStrips([&](std::size_t at) {
        calcFDCT16_bq_strip(bytes->data() + at, kWidth, kBlocks, q->bias.data(), q->recip.data(),
                            coefs->data() + 8 * (at / 8), zigzag);
      });
    };
  };
  Contest forwardStrip("calcFDCT16_bq_strip", kByteMoved);
  forwardStrip.quorvel(strip(0));
  Contest forwardZigzag("calcFDCT16_bq_strip zigzag", kByteMoved);
  forwardZigzag.quorvel(strip(1));
  Contest forwardWords("calcFDCT16_wq_strip", kWordMoved);
  forwardWords.quorvel([=] {
    forStrips([&](std::size_t at) {
      calcFDCT16_wq_strip(words->data() + at, 2 * kWidth, kBlocks, q->bias.data(), q->recip.data(), coefs->data() + at,
                          0);
    });
  });
  Contest inverse("calcIDCT16_bq", kWordMoved);
  inverse.quorvel([=] {
    forBlocks([&](std::size_t at, std::size_t block) {
      calcIDCT16_bq(small->data() + block, wide->data() + at, 2 * kWidth, q->inverse.data(), nullptr, nullptr);
    });
  });
  Contest inverseStrip("calcIDCT16_bq_strip zigzag", kByteMoved);
  inverseStrip.quorvel([=] {
    forStrips([&](std::size_t at) {
      calcIDCT16_bq_strip(small->data() + at, kBlocks, q->inverse.data(), out->data() + at, kWidth, 1);
    });
  });
  Contest forwardFloat("calcFDCTf_bq", 5 * std::size_t{kSamples});
  forwardFloat.quorvel([=] {
    forBlocks([&](std::size_t at, std::size_t block) {
      calcFDCTf_bq(bytes->data() + at, kWidth, getFDCTfn(), floats->data() + block, nullptr);
    });
  });
  Contest inverseFloat("calcIDCTFlt_strip zigzag", kByteMoved);
  inverseFloat.quorvel([=] {
    forStrips([&](std::size_t at) {
      calcIDCTFlt_strip(reinterpret_cast<const std::int16_t*>(small->data()) + at, kBlocks, getIDCTfn(), getIDCTf(),
                        getIDCTf() + 64, out->data() + at, kWidth, 1);
    });
  });
  Contest zigzag("zigzagBlock", kWordMoved);
  zigzag.quorvel([=] {
    for (std::size_t i = 0; i < kSamples; i += 64) {
      zigzagBlock(reinterpret_cast<const std::int16_t*>(words->data()) + i,
                  reinterpret_cast<std::int16_t*>(wide->data()) + i);
    }
  });
  Contest pack("pack64Coefs", 2 * std::size_t{kSamples});
  pack.quorvel([=] {
    for (std::size_t i = 0; i < kSamples; i += 64) {
      pack64Coefs(reinterpret_cast<const std::int16_t*>(words->data()) + i,
                  reinterpret_cast<std::uint32_t*>(out->data() + i));
    }
  });
#ifdef QUORVEL_PEER_OPENCV
  // The strongest peer whose transform stands alone works in floats, without level shift or quantiser.
  const auto peer = std::make_shared<OpencvDct>(bytes->data(), kWidth, kHeight);
  for (Contest* contest : {&forward, &forwardStrip, &forwardZigzag, &forwardFloat}) {
    contest->peer("OpenCV-float", [=] { peer->forward(); });
  }
  for (Contest* contest : {&inverse, &inverseStrip, &inverseFloat}) {
    contest->peer("OpenCV-float", [=] { peer->inverse(); });
  }
#endif
}

}  // namespace quorvel::bench
