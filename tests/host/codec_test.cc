// SPDX-License-Identifier: Apache-2.0
// Compressed frames come back, damage is noticed and confined, and JPEG files are those of other programs.
#include <cmath>

#ifdef QUORVEL_PEER_LIBJPEG
#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>
#endif

#include "host/io/jpeg.h"
#include "host/io/qvb.h"
#include "tests/host/support.h"
#include "tests/support/samples.h"

namespace quorvel::host::test {
namespace {

using quorvel::test::Pattern;
using quorvel::test::samples;

Mosaic mosaicOf(unsigned width, unsigned height, Words words, Phase phase = Phase::GRBG) {
  Mosaic mosaic;
  mosaic.phase = phase;
  mosaic.frame.width = width;
  mosaic.frame.height = height;
  mosaic.frame.white = 65535;
  mosaic.frame.samples = std::move(words);
  return mosaic;
}

Mosaic sceneMosaic() { return {smallScene().frame, Phase::GRBG}; }

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
  const Mosaic scene = sceneMosaic();
  const Bytes file = compressedLossless(scene);
  const RawFrame back = expanded(file, "f").mosaic.frame;
  EXPECT_EQ(back.samples, scene.frame.samples);
  EXPECT_EQ(back.black, scene.frame.black);
  EXPECT_EQ(back.regions, scene.frame.regions);
  EXPECT_LT(file.size(), scene.frame.samples.size() * 3 / 2 * 3 / 4) << "a quarter less than the packed samples";
}

double psnrOf(const RawFrame& a, const RawFrame& b) {
  double squares = 0;
  for (std::size_t i = 0; i < a.samples.size(); ++i) squares += std::pow(a.samples[i] - b.samples[i], 2);
  return 10 * std::log10(4095.0 * 4095.0 * static_cast<double>(a.samples.size()) / squares);
}

TEST(Qvb, QualityDecidesLossAndLength) {
  RawFrame frame = smallScene().frame;
  std::size_t longer = frame.samples.size() * 2;
  for (const auto& [quality, least] : {std::pair{100, 71.0}, {90, 68.0}, {70, 58.0}, {40, 40.5}, {1, 25.0}}) {
    const Bytes file = compressed(frame, quality);
    EXPECT_LT(file.size(), longer);
    EXPECT_GE(psnrOf(frame, expanded(file, "f").mosaic.frame), least) << quality;
    longer = file.size();
  }
  // The ends of the range stay where they are, in blocks and beside their opposite, whatever the step.
  for (const unsigned period : {1u, 2u, 23u, 400u}) {
    for (std::size_t i = 0; i < frame.samples.size(); ++i)
      frame.samples[i] = i % frame.width / period % 2 != 0 ? 4095 : 0;
    EXPECT_GE(psnrOf(frame, expanded(compressed(frame, 90), "f").mosaic.frame), 48) << period;
    EXPECT_GE(psnrOf(frame, expanded(compressed(frame, 45), "f").mosaic.frame), 30) << period;
  }
  frame.width = frame.height = 3;
  frame.samples = {9, 8, 7, 6, 5, 4, 3, 2, 1};
  EXPECT_GE(psnrOf(frame, expanded(compressed(frame, 100), "f").mosaic.frame), 60);
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
  for (std::size_t at = 0; at < good.size(); ++at) {
    Bytes bad = good;
    bad[at] ^= 0x10;
    expectConfined(bad, mosaic.frame, 64, fmt::format("byte {}", at));
    bad = good;
    bad.erase(bad.begin() + static_cast<std::ptrdiff_t>(at));
    expectConfined(bad, mosaic.frame, 64, fmt::format("without byte {}", at));
    bad = good;
    bad.insert(bad.begin() + static_cast<std::ptrdiff_t>(at), 0xF5);
    expectConfined(bad, mosaic.frame, 64, fmt::format("one more at {}", at));
  }
  const std::size_t head = good.size() - good[good.size() - 4] - 256u * good[good.size() - 3] - 4;
  for (std::size_t length = 0; length < good.size(); ++length) {
    const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
    if (length < good.size() - 4 - head) {
      EXPECT_THROW(expanded(cut, "f"), DataError) << length;  // the header itself is cut, and the copy gone
    } else {
      expectConfined(cut, mosaic.frame, 160, fmt::format("cut to {}", length));
    }
  }
}

#ifdef QUORVEL_PEER_LIBJPEG
// libjpeg-turbo as peer. Its errors end the test: nothing here is meant to have any.
struct PeerFile {
  Bytes pixels;
  unsigned channels = 0;
  std::vector<std::vector<std::int16_t>> blocks;  // natural order
};

PeerFile peerRead(const Bytes& file) {
  PeerFile read;
  jpeg_error_mgr errors;
  for (const bool coefficients : {true, false}) {
    jpeg_decompress_struct d{};
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), file.size());
    jpeg_read_header(&d, TRUE);
    if (coefficients) {
      jvirt_barray_ptr* arrays = jpeg_read_coefficients(&d);
      for (int c = 0; c < d.num_components; ++c) {
        const jpeg_component_info& info = d.comp_info[c];
        auto& blocks = read.blocks.emplace_back();
        for (JDIMENSION row = 0; row < (d.image_height + 7) / 8; ++row) {
          JBLOCKARRAY a = d.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&d), arrays[c], row, 1, FALSE);
          for (JDIMENSION x = 0; x < (d.image_width + 7) / 8; ++x) blocks.insert(blocks.end(), a[0][x], a[0][x] + 64);
        }
        EXPECT_EQ(info.h_samp_factor, d.max_h_samp_factor);
      }
    } else {
      d.dct_method = JDCT_ISLOW;
      jpeg_start_decompress(&d);
      read.channels = static_cast<unsigned>(d.output_components);
      read.pixels.resize(std::size_t{d.output_width} * d.output_height * read.channels);
      while (d.output_scanline < d.output_height) {
        JSAMPROW row = &read.pixels[std::size_t{d.output_scanline} * d.output_width * read.channels];
        jpeg_read_scanlines(&d, &row, 1);
      }
      jpeg_finish_decompress(&d);
    }
    EXPECT_EQ(d.err->num_warnings, 0);
    jpeg_destroy_decompress(&d);
  }
  return read;
}

Bytes peerWrite(const Picture& picture, int quality, bool optimize, unsigned restart) {
  jpeg_error_mgr errors;
  jpeg_compress_struct c{};
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = picture.width;
  c.image_height = picture.height;
  c.input_components = static_cast<int>(picture.channels);
  c.in_color_space = picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, quality, TRUE);
  for (int i = 0; i < c.num_components; ++i) c.comp_info[i].h_samp_factor = c.comp_info[i].v_samp_factor = 1;
  c.optimize_coding = optimize;
  c.restart_interval = restart;
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    auto* row = const_cast<JSAMPLE*>(
        &std::get<0>(picture.samples)[std::size_t{c.next_scanline} * picture.width * picture.channels]);
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  Bytes file(memory, memory + size);
  jpeg_destroy_compress(&c);
  std::free(memory);
  return file;
}

void expectCoefficients(const JpegCoefficients& own, const PeerFile& peer) {
  ASSERT_EQ(own.components.size(), peer.blocks.size());
  std::array<std::int16_t, 64> block;
  for (std::size_t c = 0; c < peer.blocks.size(); ++c) {
    ASSERT_EQ(own.components[c].blocks.size(), peer.blocks[c].size());
    for (std::size_t at = 0; at < peer.blocks[c].size(); at += 64) {
      dezigzagBlock(&own.components[c].blocks[at], block.data());
      ASSERT_TRUE(std::equal(block.begin(), block.end(), &peer.blocks[c][at])) << c << " " << at / 64;
    }
  }
}

int farthest(const Bytes& a, const Bytes& b) {
  int most = a.size() == b.size() ? 0 : 256;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) most = std::max(most, std::abs(a[i] - b[i]));
  return most;
}
#endif

// Sky, ground and print, grey or in colours, of any size.
Picture picture(unsigned width, unsigned height, unsigned channels) {
  Picture p{width, height, 255, Bytes(std::size_t{width} * height * channels), channels};
  const RawFrame& frame = smallScene().frame;
  for (std::size_t i = 0; i < std::get<0>(p.samples).size(); ++i) {
    const std::size_t x = i / channels % width, y = i / channels / width;
    const unsigned v = frame.samples[(y * 3 / 2 % frame.height) * frame.width + (x + 7 * (i % channels)) % frame.width];
    std::get<0>(p.samples)[i] = static_cast<std::uint8_t>(std::min(255u, v / 8));
  }
  return p;
}

TEST(Jpeg, OtherProgramsReadOurs) {
  for (const auto& [width, height, channels] :
       {std::tuple{200u, 120u, 1u}, {1u, 1u, 1u}, {17u, 9u, 3u}, {160u, 64u, 3u}}) {
    const Picture original = picture(width, height, channels);
    for (const JpegOptions options :
         {JpegOptions{1, false}, {50, true}, {90, false}, {90, true}, {100, false}, {100, true}}) {
      SCOPED_TRACE(fmt::format("{} x {} x {}, quality {}", width, height, channels, options.quality));
      const Bytes file = encodeJpeg(original, options);
      const JpegCoefficients own = readJpegCoefficients(file, "own");
      const Picture back = pictureOf(own);
      double squares = 0;
      const Bytes &was = std::get<0>(original.samples), &is = std::get<0>(back.samples);
      for (std::size_t i = 0; i < was.size(); ++i)
        squares += std::pow(was[i] - is[i], 2) / static_cast<double>(was.size());
      EXPECT_LT(squares, options.quality == 100 ? 1.5 : 2000);
#ifdef QUORVEL_PEER_LIBJPEG
      const PeerFile peer = peerRead(file);
      expectCoefficients(own, peer);
      EXPECT_LE(farthest(is, peer.pixels), channels == 1 ? 1 : 3);
      // Our transform against theirs: the loss of both is the same.
      const Bytes theirs = peerRead(peerWrite(original, options.quality, false, 0)).pixels;
      double other = 0;
      for (std::size_t i = 0; i < was.size(); ++i)
        other += std::pow(was[i] - theirs[i], 2) / static_cast<double>(was.size());
      EXPECT_LE(squares, 1.03 * other + 0.15);
#endif
    }
  }
}

TEST(Jpeg, OursReadsThoseOfOtherPrograms) {
#ifdef QUORVEL_PEER_LIBJPEG
  for (const auto& [width, height, channels] : {std::tuple{203u, 121u, 1u}, {8u, 8u, 1u}, {90u, 50u, 3u}}) {
    const Picture original = picture(width, height, channels);
    for (const int quality : {5, 30, 75, 95, 100}) {
      for (const bool optimize : {false, true}) {
        for (const unsigned restart : {0u, 1u, 7u, 64u}) {
          SCOPED_TRACE(
              fmt::format("{} x {} x {}, quality {} {} {}", width, height, channels, quality, optimize, restart));
          const Bytes file = peerWrite(original, quality, optimize, restart);
          const PeerFile peer = peerRead(file);
          const JpegCoefficients own = readJpegCoefficients(file, "peer");
          expectCoefficients(own, peer);
          EXPECT_EQ(own.restartInterval, restart);
          EXPECT_LE(farthest(std::get<0>(pictureOf(own).samples), peer.pixels), channels == 1 ? 1 : 3);
        }
      }
    }
  }
#else
  GTEST_SKIP() << "libjpeg-turbo was missing when this build was configured";
#endif
}

// Whatever bytes there are, a reader gives a value or says what is wrong.
TEST(Codec, HostileFilesAreRefused) {
  const std::vector<Bytes> seeds = {
      encodeJpeg(picture(20, 20, 3), {90, false}), encodeJpeg(picture(33, 9, 1), {75, true}),
      compressed(smallScene().frame, 40),
      compressedLossless(mosaicOf(40, 70, samples<std::uint16_t>(2800, Pattern::Random)))};
  std::minstd_rand random(7);
  for (const Bytes& seed : seeds) {
    for (int round = 0; round < 300; ++round) {
      Bytes bytes = seed;
      for (unsigned n = random() % 4 + 1; n > 0; --n)
        bytes[random() % std::min<std::size_t>(bytes.size(), 700)] = static_cast<std::uint8_t>(random());
      if (round % 3 == 0) bytes.resize(random() % bytes.size());
      try {
        looksLikeJpeg(bytes) ? void(pictureOf(readJpegCoefficients(bytes, "f"))) : void(expanded(bytes, "f"));
      } catch (const DataError&) {
      }
    }
  }
}

class CodecProgram : public InDirectory {
 protected:
  void expect(const std::string& arguments, int status, const std::string& says) {
    const Outcome run = quorvel(arguments);
    EXPECT_EQ(run.status, status) << arguments << "\n" << run.err;
    EXPECT_NE((run.out + run.err).find(says), std::string::npos) << arguments << "\n" << run.out << run.err;
  }
};

TEST_F(CodecProgram, CompressesExpandsAndRecovers) {
  write("f.pgm", smallScene().frame);
  expect("compress f.pgm -o f.qvb --lossless", 0, "lossless");
  expect("expand f.qvb -o back.pgm", 0, "384 x 256");
  EXPECT_EQ(contents(at("back.pgm")), contents(at("f.pgm")));
  expect("compress f.pgm -o q.qvb --quality 70", 0, "quality 70");
  EXPECT_LT(fs::file_size(at("q.qvb")), fs::file_size(at("f.qvb")) / 2);
  expect("info q.qvb", 0, "quality       70");
  std::string bad = contents(at("f.qvb"));
  bad[bad.size() / 2] ^= 1;
  put("bad.qvb", bad);
  expect("expand bad.qvb -o bad.pgm", 1, "is damaged: rows 64 to 127 are lost; --recover");
  EXPECT_FALSE(fs::exists(at("bad.pgm")));
  expect("expand bad.qvb -o bad.pgm --recover", 1, "rows 64 to 127 are lost");
  EXPECT_EQ(readRawFrame(at("bad.pgm"), {}).samples[200 * 384 + 5], smallScene().frame.samples[200 * 384 + 5]);
  put("cut.qvb", bad.substr(0, 100));
  expect("expand cut.qvb -o cut.pgm --recover", 1, "its header is damaged");
  expect("expand f.pgm -o cut.pgm", 1, "is no .qvb file");
  expect("compress f.pgm -o g.qvb", 2, "one of --quality and --lossless");
  expect("compress f.pgm -o g.jpg --lossless", 2, "are named .qvb");
  EXPECT_FALSE(fs::exists(at("cut.pgm")));
}

TEST_F(CodecProgram, WritesAndReadsJpeg) {
  for (const unsigned channels : {1u, 3u}) {
    const std::string name = channels == 1 ? "p.pgm" : "p.ppm";
    OutputFile out(at(name), false);
    writePicture(out, picture(50, 40, channels), PictureFormat::Ppm);
    out.commit();
    expect(fmt::format("jpeg {} -o {}.jpg --quality 95 --optimize", name, channels), 0, "bits a pixel");
    expect(fmt::format("info {}.jpg", channels), 0, channels == 1 ? "grey" : "YCbCr");
    expect(fmt::format("expand {}.jpg -o back-{}", channels, name), 0, "50 x 40");
    EXPECT_EQ(readPicture(at("back-" + name)).channels, channels);
    if (!builds("PNG")) continue;
    expect(fmt::format("expand {}.jpg -o {}.png", channels, channels), 0, "50 x 40");
    EXPECT_EQ(readPicture(at(fmt::format("{}.png", channels))).samples, readPicture(at("back-" + name)).samples);
  }
  expect("expand 3.jpg -o x.pgm", 2, "is no .pgm");
  put("cut.jpg", contents(at("3.jpg")).substr(0, 900));
  expect("expand cut.jpg -o x.ppm", 1, "is cut short");
  EXPECT_FALSE(fs::exists(at("x.ppm")));
}

}  // namespace
}  // namespace quorvel::host::test
