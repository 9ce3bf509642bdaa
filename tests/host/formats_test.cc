// SPDX-License-Identifier: Apache-2.0
// Frames and pictures keep their samples through every format, whatever the pattern's phase and the samples' depth.
#include "host/io/headerless.h"
#include "host/io/pnm.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Formats : public InDirectory {};

// Odd sizes leave remainders in every packing; each sample says where it was.
TEST_F(Formats, FramesComeBackAsTheyWent) {
  RawFrame frame = frameOf(13, 7, [](unsigned x, unsigned y) { return (13 * y + x) * 45 % 4096; });
  frame.black = {256, 252, 259, 255};
  frame.white = 4000;
  frame.asShot = Gains{1.875, 1, 1.5};
  frame.regions = {{"star", 1, 2, 3, 4}};
  for (const std::string name : {"f.pgm", "f.tif", "f.raw16", "f.raw12"}) {
    SCOPED_TRACE(name);
    if (!buildsFormatOf(name)) continue;
    write(name, frame);
    const RawFrame back = readRawFrame(at(name), {.width = 13, .height = 7});
    EXPECT_EQ(back.samples, frame.samples);
    EXPECT_EQ(back.width, 13u);
    EXPECT_EQ(back.height, 7u);
    const bool headerless = name.find("raw") != std::string::npos;
    EXPECT_EQ(back.black, headerless ? (std::array<int, 4>{}) : frame.black);
    EXPECT_EQ(back.white, headerless ? 4095 : 4000);
    EXPECT_EQ(back.asShot, headerless ? std::nullopt : frame.asShot);
    EXPECT_EQ(back.regions, headerless ? std::vector<Region>{} : frame.regions);
  }
  EXPECT_EQ(fs::file_size(at("f.raw12")), 137u);  // 91 samples of 12 bits
}

TEST_F(Formats, EveryPhaseIsBroughtToTheLibrarysOwn) {
  struct PhaseCase {
    const char* letters;  // of the 2 x 2 sites
    unsigned left, top;   // what is cut to come to G R / B G
  };
  for (const auto& [letters, left, top] :
       {PhaseCase{"GRBG", 0, 0}, PhaseCase{"RGGB", 1, 0}, PhaseCase{"BGGR", 0, 1}, PhaseCase{"GBRG", 1, 1}}) {
    SCOPED_TRACE(letters);
    // Red sites hold 3000 and up, green ones 2000, blue ones 1000; the place is in the last digits.
    const auto level = [&letters = letters](unsigned x, unsigned y) {
      const char letter = letters[siteOf(x, y)];
      return letter == 'R' ? 3000u : letter == 'G' ? 2000u : 1000u;
    };
    Mosaic mosaic;
    mosaic.phase = *phaseFromLetters(letters);
    mosaic.frame = frameOf(9, 6, [&](unsigned x, unsigned y) { return level(x, y) + 10 * y + x; });
    for (unsigned site = 0; site < 4; ++site)
      mosaic.frame.black[site] = static_cast<int>(level(site % 2, site / 2) / 100);
    const RawFrame frame = normalised(mosaic, "f");
    EXPECT_EQ(frame.black, (std::array{20, 30, 10, 20}));
    const RawFrame expected = frameOf(9 - left, 6 - top, [&, left = left, top = top](unsigned x, unsigned y) {
      return (std::array{2000u, 3000u, 1000u, 2000u})[siteOf(x, y)] + 10 * (y + top) + x + left;
    });
    ASSERT_EQ(frame.width, expected.width);
    EXPECT_EQ(frame.samples, expected.samples);
    // The whole way: a flat coloured scene keeps its colour, with the phase given as an option.
    write("flat.pgm", frameOf(12, 10, level));
    expectRun(fmt::format("develop flat.pgm -o flat.ppm --force --wb 1,1,1 --gamma 1 --phase {}", letters), 0,
              "1.000,1.000,1.000");
    const Planes flat = readPpm(at("flat.ppm"));
    constexpr int kShown[3] = {187, 125, 62};  // 255 v / 4095, rounded
    for (std::size_t c = 0; c < 3; ++c) {
      EXPECT_EQ(std::count(flat.colour[c].begin(), flat.colour[c].end(), kShown[c]), std::ssize(flat.colour[c])) << c;
    }
  }
}

TEST_F(Formats, DeepSamplesAreRoundedToTwelveBitsAndShallowOnesKept) {
  const struct {
    int white;
    Words samples, expected;
    int expectedWhite, black;  // the level that 64 becomes
  } cases[] = {{255, {0, 1, 200, 255}, {0, 1, 200, 255}, 255, 64},
               {4095, {0, 1, 4095, 4095}, {0, 1, 4095, 4095}, 4095, 64},
               {4096, {0, 1, 2, 4096}, {0, 1, 1, 2048}, 2048, 32},
               {16383, {1, 2, 8192, 16383}, {0, 1, 2048, 4095}, 4095, 16},
               {65535, {7, 8, 24, 65535}, {0, 1, 2, 4095}, 4095, 4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.white);
    Mosaic mosaic;
    mosaic.frame = frameOf(4, 4, [&](unsigned x, unsigned) { return c.samples[x]; });
    mosaic.frame.white = c.white;
    mosaic.frame.black = {0, 64, 64, 0};
    const RawFrame frame = normalised(mosaic, "f");
    EXPECT_EQ(Words(frame.samples.begin(), frame.samples.begin() + 4), c.expected);
    EXPECT_EQ(frame.white, c.expectedWhite);
    EXPECT_EQ(frame.black[1], c.black);
  }
  put("remarks.pgm", "P5\n# another program's comment\n4 # size\n4\n255\n0123456789abcdef");
  EXPECT_EQ(readRawFrame(at("remarks.pgm"), {}).samples[15], 'f');
  // A headerless file tells no depth: its samples do, unless the user does.
  put("deep.raw16", std::string(32, '\x10'));  // words of 0x1010
  EXPECT_EQ(readRawFrame(at("deep.raw16"), {.width = 4, .height = 4}).samples[0], 0x101);
  EXPECT_EQ(readRawFrame(at("deep.raw16"), {.width = 4, .height = 4, .white = 16383}).samples[0], 0x404);
}

TEST_F(Formats, PicturesHoldTheirSamples) {
  for (const std::string name : {"p.png", "p.tif", "p.ppm"}) {
    if (!buildsFormatOf(name)) continue;
    for (const bool deep : {false, true}) {
      SCOPED_TRACE(testing::Message() << name << (deep ? ", 16 bits" : ", 8 bits"));
      Words samples(3 * 11 * 5);
      for (unsigned i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::uint16_t>(i * 7919 % (deep ? 65536 : 256));
      Picture picture{11, 5, deep ? 65535u : 255u, samples, 3};
      if (!deep) picture.samples = Bytes(samples.begin(), samples.end());
      write(name, picture);
      EXPECT_EQ(readPicture(at(name)).samples, picture.samples);
    }
  }
  if (!builds("PNG")) return;
  // One grey sample of 0x0102, by another program: the order of the bytes, which the format's library leaves to us.
  constexpr char kPng[] =
      "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x10\0\0\0\0j\xee"
      "G\x16\0\0\0\vIDATx\xda"
      "c`d\2\0\0\a\0\4"
      "\xe5\xed\x94\xcf\0\0\0\0IEND\xae"
      "B`\x82";
  put("other.png", std::string(kPng, sizeof kPng - 1));
  EXPECT_EQ(std::get<Words>(readPicture(at("other.png")).samples), Words{0x0102});
}

}  // namespace
}  // namespace quorvel::host::test
