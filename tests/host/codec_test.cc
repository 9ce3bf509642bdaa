// SPDX-License-Identifier: Apache-2.0
// Compressed frames come back, damage is noticed and confined, and JPEG files are those of other programs.
#include <cmath>

#ifdef QUORVEL_PEER_LIBJPEG
#include "bench/peers/jpeg.h"
#endif

#include "host/io/jpeg.h"
#include "host/io/qvb.h"
#include "tests/host/support.h"
#include "tests/support/samples.h"

namespace quorvel::host::test {
namespace {

using quorvel::test::Pattern;
using quorvel::test::samples;

Mosaic mosaicOf(unsigned width, unsigned height, const Words& words, Phase phase = Phase::GRBG) {
  Mosaic mosaic{frameOf(width, height, [&](unsigned x, unsigned y) { return words[y * width + x]; }), phase};
  mosaic.frame.white = 65535;
  return mosaic;
}

template <typename Samples>
double meanSquare(const Samples& a, const Samples& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
  return sum / static_cast<double>(a.size());
}

TEST(Qvb, LosslessFramesComeBackBitForBit) {
  for (const auto& [width, height] :
       {std::pair{1u, 1u}, {1u, 6u}, {5u, 1u}, {2u, 2u}, {3u, 65u}, {131u, 64u}, {66u, 200u}}) {
    for (const Pattern pattern : quorvel::test::kAllPatterns) {
      for (const std::uint16_t high : {255, 4095, 16383, 65535}) {
        for (const Phase phase : {Phase::GRBG, Phase::RGGB, Phase::BGGR, Phase::GBRG}) {
          const Mosaic mosaic =
              mosaicOf(width, height, samples<std::uint16_t>(std::size_t{width} * height, pattern, 1, 0, high), phase);
          const ExpandedFrame back = expanded(compressedLossless(mosaic), "f");
          ASSERT_EQ(back.mosaic.frame.samples, mosaic.frame.samples)
              << width << " x " << height << " " << pattern << " to " << high << " " << lettersOf(phase);
          ASSERT_FALSE(back.damaged);
          ASSERT_EQ(back.mosaic.phase, phase);
        }
      }
    }
  }
  const RawFrame& scene = smallScene().frame;
  const Bytes file = compressedLossless({scene, Phase::GRBG});
  const RawFrame back = expanded(file, "f").mosaic.frame;
  EXPECT_EQ(back.samples, scene.samples);
  EXPECT_EQ(back.black, scene.black);
  EXPECT_EQ(back.regions, scene.regions);
  EXPECT_LT(file.size(), scene.samples.size() * 3 / 2 * 3 / 4) << "a quarter less than the packed samples";
}

TEST(Qvb, QualityDecidesLossAndLength) {
  RawFrame frame = smallScene().frame;
  const auto psnrThrough = [&frame](const Bytes& file) {
    return 10 * std::log10(4095.0 * 4095.0 / meanSquare(frame.samples, expanded(file, "f").mosaic.frame.samples));
  };
  std::size_t longer = frame.samples.size() * 2;
  for (const auto& [quality, least] : {std::pair{100, 71.0}, {90, 68.0}, {70, 58.0}, {40, 40.5}, {1, 25.0}}) {
    const Bytes file = compressed(frame, quality);
    EXPECT_LT(file.size(), longer);
    EXPECT_GE(psnrThrough(file), least) << quality;
    longer = file.size();
  }
  // The ends of the range stay where they are, in blocks and beside their opposite, whatever the step.
  for (const unsigned period : {1u, 2u, 23u, 400u}) {
    for (std::size_t i = 0; i < frame.samples.size(); ++i)
      frame.samples[i] = i % frame.width / period % 2 != 0 ? 4095 : 0;
    EXPECT_GE(psnrThrough(compressed(frame, 90)), 48) << period;
    EXPECT_GE(psnrThrough(compressed(frame, 45)), 30) << period;
  }
  frame = frameOf(3, 3, [](unsigned x, unsigned y) { return 9 - 3 * y - x; });
  EXPECT_GE(psnrThrough(compressed(frame, 100)), 60);
}

// Every strip that is not said to be lost is as it was.
void expectConfined(const Bytes& file, const RawFrame& frame, std::size_t mostLost, const std::string& what) {
  const ExpandedFrame back = expanded(file, "f");
  EXPECT_TRUE(back.damaged) << what;
  std::vector<bool> lost(frame.height);
  for (const RowRange& rows : back.lost) std::fill(lost.begin() + rows.first, lost.begin() + rows.end, true);
  EXPECT_LE(static_cast<std::size_t>(std::count(lost.begin(), lost.end(), true)), mostLost) << what;
  for (std::size_t i = 0; i < frame.samples.size(); ++i) {
    if (lost[i / frame.width]) continue;
    ASSERT_EQ(back.mosaic.frame.samples[i], frame.samples[i]) << what;
  }
}

TEST(Qvb, DamageIsNoticedAndConfined) {
  const Mosaic mosaic = mosaicOf(6, 160, samples<std::uint16_t>(6 * 160, Pattern::Structured, 1, 1000, 1100));
  const Bytes good = compressedLossless(mosaic);
  const std::size_t head = good.size() - good[good.size() - 4] - 256u * good[good.size() - 3] - 4;
  for (std::size_t at = 0; at < good.size(); ++at) {
    const auto here = static_cast<std::ptrdiff_t>(at);
    Bytes changed = good, without = good, longer = good;
    changed[at] ^= 0x10;
    without.erase(without.begin() + here);
    longer.insert(longer.begin() + here, 0xF5);
    for (const Bytes& bad : {changed, without, longer}) expectConfined(bad, mosaic.frame, 64, fmt::format("at {}", at));

    const Bytes cut(good.begin(), good.begin() + here);
    if (at < good.size() - 4 - head) {
      EXPECT_THROW(expanded(cut, "f"), DataError) << at;  // the header itself is cut, and the copy gone
    } else {
      expectConfined(cut, mosaic.frame, 160, fmt::format("cut to {}", at));
    }
  }
}

#ifdef QUORVEL_PEER_LIBJPEG
Bytes peerRead(const Bytes& file) {
  Bytes pixels;
  EXPECT_EQ(bench::peerDecodeJpeg(file, pixels), 0) << "warnings";
  return pixels;
}

// Both read the same coefficients from the file, and the same picture but for the rounding of transform and colours.
void expectRead(const Bytes& file) {
  const auto coefficients = bench::peerJpegCoefficients(file);
  const JpegCoefficients read = readJpegCoefficients(file, "f");
  ASSERT_EQ(read.components.size(), coefficients.size());
  for (std::size_t c = 0; c < coefficients.size(); ++c) {
    std::vector<std::int16_t> natural(read.components[c].blocks.size());
    for (std::size_t at = 0; at < natural.size(); at += 64) {
      dezigzagBlock(&read.components[c].blocks[at], &natural[at]);
    }
    ASSERT_EQ(natural, coefficients[c]) << c;
  }
  const Picture own = readJpeg(file, "f");
  const Bytes peer = peerRead(file), &pixels = std::get<0>(own.samples);
  ASSERT_EQ(pixels.size(), peer.size());
  int farthest = 0;
  for (std::size_t i = 0; i < peer.size(); ++i) farthest = std::max(farthest, std::abs(pixels[i] - peer[i]));
  EXPECT_LE(farthest, own.channels == 1 ? 1 : 3);
}
#endif

// Sky, ground and print, grey or in colours, of any size.
Picture picture(unsigned width, unsigned height, unsigned channels) {
  Bytes samples(std::size_t{width} * height * channels);
  const RawFrame& frame = smallScene().frame;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t x = i / channels % width, y = i / channels / width;
    const unsigned v = frame.samples[(y * 3 / 2 % frame.height) * frame.width + (x + 7 * (i % channels)) % frame.width];
    samples[i] = static_cast<std::uint8_t>(std::min(255u, v / 8));
  }
  return {width, height, 255, samples, channels};
}

TEST(Jpeg, OtherProgramsReadOursAndWeReadTheirs) {
  for (const auto& [width, height, channels] :
       {std::tuple{203u, 121u, 1u}, {1u, 1u, 1u}, {8u, 8u, 1u}, {17u, 9u, 3u}, {90u, 50u, 3u}, {160u, 64u, 3u}}) {
    const Picture original = picture(width, height, channels);
    const Bytes& samples = std::get<0>(original.samples);
    for (const int quality : {1, 5, 30, 50, 75, 90, 95, 100}) {
      for (const bool optimize : {false, true}) {
        SCOPED_TRACE(fmt::format("{} x {} x {}, quality {} {}", width, height, channels, quality, optimize));
        const Bytes ours = encodeJpeg(original, {quality, optimize});
        const double loss = meanSquare(samples, std::get<0>(readJpeg(ours, "f").samples));
        EXPECT_LT(loss, quality == 100 ? 1.5 : 2000);
#ifdef QUORVEL_PEER_LIBJPEG
        expectRead(ours);
        for (const unsigned restart : {0u, 1u, 7u, 64u}) {
          const Bytes theirs =
              bench::peerEncodeJpeg(samples.data(), {width, height, channels, quality, optimize, restart});
          expectRead(theirs);
          EXPECT_EQ(readJpegCoefficients(theirs, "f").restartInterval, restart);
          // The loss of our transform is that of theirs; at 95, where steps are finest beside its rounding, nearly.
          EXPECT_LE(loss, (quality == 95 ? 1.06 : 1.03) * meanSquare(samples, peerRead(theirs)) + 0.15);
        }
#endif
      }
    }
  }
}

class CodecProgram : public InDirectory {};

TEST_F(CodecProgram, CompressesExpandsAndRecovers) {
  write("f.pgm", smallScene().frame);
  expectRun("compress f.pgm -o f.qvb --lossless", 0, "lossless");
  expectRun("expand f.qvb -o back.pgm", 0, "384 x 256");
  EXPECT_EQ(contents(at("back.pgm")), contents(at("f.pgm")));
  expectRun("compress f.pgm -o q.qvb --quality 40", 0, "quality 40");
  EXPECT_LT(fs::file_size(at("q.qvb")), fs::file_size(at("f.qvb")) / 2);
  expectRun("info q.qvb", 0, "quality       40");
  std::string bad = contents(at("f.qvb"));
  bad[bad.size() / 2] ^= 1;
  put("bad.qvb", bad);
  put("cut.qvb", bad.substr(0, 100));
  expectRefused("expand bad.qvb -o bad.pgm", 1, "is damaged: rows 128 to 191 are lost; --recover");
  expectRefused("expand cut.qvb -o cut.pgm --recover", 1, "its header is damaged");
  expectRefused("expand f.pgm -o cut.pgm", 1, "is no .qvb file");
  expectRefused("compress f.pgm -o g.qvb", 2, "one of --quality and --lossless");
  expectRefused("compress f.pgm -o g.jpg --lossless", 2, "are named .qvb");
  expectRun("expand bad.qvb -o bad.pgm --recover", 1, "rows 128 to 191 are lost");
  EXPECT_EQ(readRawFrame(at("bad.pgm"), {}).samples[200 * 384 + 5], smallScene().frame.samples[200 * 384 + 5]);
}

TEST_F(CodecProgram, WritesAndReadsJpeg) {
  for (const unsigned channels : {1u, 3u}) {
    const std::string name = channels == 1 ? "p.pgm" : "p.ppm";
    write(name, picture(50, 40, channels));
    expectRun(fmt::format("jpeg {} -o {}.jpg --quality 95 --optimize", name, channels), 0, "bits a pixel");
    expectRun(fmt::format("info {}.jpg", channels), 0, channels == 1 ? "grey" : "YCbCr");
    expectRun(fmt::format("expand {}.jpg -o back-{}", channels, name), 0, "50 x 40");
    EXPECT_EQ(readPicture(at("back-" + name)).channels, channels);
    if (!builds("PNG")) continue;
    expectRun(fmt::format("expand {}.jpg -o {}.png", channels, channels), 0, "50 x 40");
    EXPECT_EQ(readPicture(at(fmt::format("{}.png", channels))).samples, readPicture(at("back-" + name)).samples);
  }
  put("cut.jpg", contents(at("3.jpg")).substr(0, 900));
  expectRefused("expand 3.jpg -o x.pgm", 2, "is no .pgm");
  expectRefused("expand cut.jpg -o x.ppm", 1, "is cut short");
}

}  // namespace
}  // namespace quorvel::host::test
