// SPDX-License-Identifier: Apache-2.0
// Frames and pictures keep their samples through every format, whatever the pattern's phase and the samples' depth.
#include <cstring>

#ifdef QUORVEL_HAVE_PNG
#include <png.h>
#endif
#ifdef QUORVEL_HAVE_TIFF
#include <tiffio.h>
#endif

#include "host/io/headerless.h"
#include "host/io/pnm.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Formats : public InDirectory {};

// Odd sizes leave remainders in every packing; each sample says where it was.
RawFrame oddFrame() {
  RawFrame frame = frameOf(13, 7, [](unsigned x, unsigned y) { return (13 * y + x) * 45 % 4096; });
  frame.black = {256, 252, 259, 255};
  frame.white = 4000;
  frame.asShot = Gains{1.875, 1, 1.5};
  frame.regions = {{"star", 1, 2, 3, 4}};
  return frame;
}

TEST_F(Formats, FramesComeBackAsTheyWent) {
  const RawFrame frame = oddFrame();
  for (const char* name : {"f.pgm", "f.tif", "f.raw16", "f.raw12"}) {
    SCOPED_TRACE(name);
    if (std::strcmp(name, "f.tif") == 0 && !builds("TIFF")) continue;
    write(name, frame);
    const RawFrame back = readRawFrame(at(name), {.width = 13, .height = 7});
    EXPECT_EQ(back.samples, frame.samples);
    EXPECT_EQ(back.width, 13u);
    EXPECT_EQ(back.height, 7u);
    const bool headerless = std::strstr(name, "raw") != nullptr;
    EXPECT_EQ(back.black, headerless ? (std::array<int, 4>{}) : frame.black);
    EXPECT_EQ(back.white, headerless ? 4095 : 4000);
    EXPECT_EQ(back.asShot, headerless ? std::nullopt : frame.asShot);
    EXPECT_EQ(back.regions, headerless ? std::vector<Region>{} : frame.regions);
  }
  EXPECT_EQ(fs::file_size(at("f.raw12")), 137u);  // 91 samples of 12 bits
}

// The 2x2 letters of each phase, and what is cut to come to G R / B G.
struct PhaseCase {
  const char* letters;
  unsigned left, top;
};

TEST_F(Formats, EveryPhaseIsBroughtToTheLibrarysOwn) {
  for (const PhaseCase& c :
       {PhaseCase{"GRBG", 0, 0}, PhaseCase{"RGGB", 1, 0}, PhaseCase{"BGGR", 0, 1}, PhaseCase{"GBRG", 1, 1}}) {
    SCOPED_TRACE(c.letters);
    // Red sites hold 3000 and up, green ones 2000, blue ones 1000; the place is in the last digits.
    const auto level = [&c](unsigned x, unsigned y) {
      const char letter = c.letters[siteOf(x, y)];
      return letter == 'R' ? 3000u : letter == 'G' ? 2000u : 1000u;
    };
    Mosaic mosaic;
    mosaic.phase = *phaseFromLetters(c.letters);
    mosaic.frame = frameOf(9, 6, [&](unsigned x, unsigned y) { return level(x, y) + 10 * y + x; });
    for (unsigned site = 0; site < 4; ++site)
      mosaic.frame.black[site] = static_cast<int>(level(site % 2, site / 2) / 100);
    const RawFrame frame = normalised(mosaic, "f");
    EXPECT_EQ(frame.black, (std::array{20, 30, 10, 20}));
    const RawFrame expected = frameOf(9 - c.left, 6 - c.top, [&](unsigned x, unsigned y) {
      return (std::array{2000u, 3000u, 1000u, 2000u})[siteOf(x, y)] + 10 * (y + c.top) + x + c.left;
    });
    ASSERT_EQ(frame.width, expected.width);
    EXPECT_EQ(frame.samples, expected.samples);
    // The whole way: a flat coloured scene keeps its colour, with the phase given as an option.
    std::string pgm = "P5\n# another program's comment\n12 # size\n10\n4095\n";
    for (unsigned i = 0; i < 120; ++i) {
      const unsigned v = level(i % 12, i / 12);
      pgm += {static_cast<char>(v >> 8), static_cast<char>(v & 255)};
    }
    put("flat.pgm", pgm);
    const Outcome run =
        quorvel(std::string("develop flat.pgm -o flat.ppm --force --wb 1,1,1 --gamma 1 --phase ") + c.letters);
    ASSERT_EQ(run.status, 0) << run.err;
    const Planes flat = readPpm(at("flat.ppm"));
    for (std::size_t i = 0; i < flat.colour[0].size(); ++i) {
      EXPECT_EQ((std::array{flat.colour[0][i], flat.colour[1][i], flat.colour[2][i]}),
                (std::array<std::uint16_t, 3>{187, 125, 62}));  // 255 v / 4095, rounded
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
  // A headerless file tells no depth: its samples do, unless the user does.
  put("deep.raw16", std::string(32, '\x10'));  // words of 0x1010
  EXPECT_EQ(readRawFrame(at("deep.raw16"), {.width = 4, .height = 4}).samples[0], 0x101);
  EXPECT_EQ(readRawFrame(at("deep.raw16"), {.width = 4, .height = 4, .white = 16383}).samples[0], 0x404);
}

// Reads samples back with the format's own library.
std::vector<unsigned> readBack(const fs::path& file, PictureFormat format) {
  std::vector<unsigned> samples;
#ifdef QUORVEL_HAVE_PNG
  if (format == PictureFormat::Png) {
    std::FILE* stream = std::fopen(file.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    const unsigned bytes = png_get_bit_depth(png, info) / 8;
    for (unsigned y = 0; y < png_get_image_height(png, info); ++y) {
      const png_bytep row = png_get_rows(png, info)[y];
      for (unsigned i = 0; i < 3 * png_get_image_width(png, info); ++i) {
        samples.push_back(bytes == 1 ? row[i] : static_cast<unsigned>(row[2 * i] << 8 | row[2 * i + 1]));
      }
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(stream);
  }
#endif
#ifdef QUORVEL_HAVE_TIFF
  if (format == PictureFormat::Tiff) {
    TIFF* tiff = TIFFOpen(file.c_str(), "r");
    std::uint16_t bits = 0;
    std::uint32_t width = 0, height = 0;
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    Words row(3 * width);
    for (unsigned y = 0; y < height; ++y) {
      TIFFReadScanline(tiff, row.data(), y);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(row.data());
      for (unsigned i = 0; i < 3 * width; ++i) samples.push_back(bits == 8 ? bytes[i] : row[i]);
    }
    TIFFClose(tiff);
  }
#endif
  if (format == PictureFormat::Ppm) {
    const Planes planes = readPpm(file);
    for (std::size_t i = 0; i < 3 * planes.colour[0].size(); ++i) samples.push_back(planes.colour[i % 3][i / 3]);
  }
  return samples;
}

TEST_F(Formats, PicturesHoldTheirSamples) {
  for (const char* name : {"p.png", "p.tif", "p.ppm"}) {
    if ((std::strstr(name, "png") && !builds("PNG")) || (std::strstr(name, "tif") && !builds("TIFF"))) continue;
    for (const bool deep : {false, true}) {
      SCOPED_TRACE(testing::Message() << name << (deep ? ", 16 bits" : ", 8 bits"));
      Picture picture;
      picture.width = 11;
      picture.height = 5;
      picture.maximum = deep ? 65535 : 255;
      std::vector<unsigned> expected(165);
      for (unsigned i = 0; i < 165; ++i) expected[i] = i * 7919 % (deep ? 65536 : 256);
      if (deep) {
        picture.samples = Words(expected.begin(), expected.end());
      } else {
        picture.samples = Bytes(expected.begin(), expected.end());
      }
      OutputFile out(at(name), true);
      const PictureFormat format = *pictureFormatToWrite(name);
      writePicture(out, picture, format);
      out.commit();
      EXPECT_EQ(readBack(at(name), format), expected);
    }
  }
}

}  // namespace
}  // namespace quorvel::host::test
