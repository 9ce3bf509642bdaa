// SPDX-License-Identifier: Apache-2.0
#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

void addRows(Routines& routines, unsigned n) {
  CALL(conv12to8MMX, n);
  CALL(conv14to8MMX, n);
  CALL(conv12to8MMX11, n, 1);
  CALL(conv8to12MMX11, n, 1);
  CALL(conv8to12MMX, n);
  CALL(conv32to16lowMMX, n);
  for (const int shift : {0, 3, 6}) {
    CALL(convNto8MMX, n, shift);
    CALL(conv8toN_MMX, n, shift);
    CALL(conv8stoN_MMX, n, shift);
  }
  CALL(copy16rgba_to8_MMX, n);
  CALL(gamma8_8, n);
  CALL(gamma16_8, n);
  CALL(gamma16_16, n);
  CALL(compr16to12, n);
  CALL(decomp12to16, n);
  CALL(decomp12to16s, n);
  CALL(bswap16_MMX, n);
  CALL(copy8_3_1, n);
  CALL(copy8_4_1, n);
  CALL(copy16_3_1, n);
  CALL(copy8rgb_8a_to8rgba, n);
  CALL(copy8rgba_replace_8a_SSE, n);
  CALL(copy8rgba_replace_8a_SSE_, n);
  CALL(copy8rgba_replace_16a_SSE, n);
  CALL(copy8rgba_replace_16a_SSE_, n);
  for (const int channel : {0, 1, 2}) {
    CALL(copy8_1_1, channel, n);
    CALL(copy16_1_1, channel, n);
    CALL(copy1_12N, channel, 1, n);
    CALL(copy1_12DW, channel, n);
    CALL(copy1_12QW, channel, n);
  }
  CALL(copy8_1_3, n);
  CALL(copy8_3_toPlane, n);
  CALL(copy8_4_toPlane, n);
  CALL(copy16_3_toPlane, n);
  CALL(copy8_3to4, n);
  CALL(copy8_3to4_rgb, n);
  CALL(copy8rgba_to8rgb, n);
  CALL(RGBtoHiColor555_MMX, n);
  CALL(RGBtoHiColor565_MMX, n);
  for (const int bits : {5, 6}) CALL(BMP32toHiColor_MMX, n, bits);
  CALL(RGBtoGray8, n);
  CALL(TstSum32, n);
  CALL(sumWords, n);
}

void addImages(Routines& routines, unsigned width, unsigned height) {
  const unsigned stride = width + 5;
  CALL(convTileNto8MMX, 100, 1.37, width, height, stride);
  CALL(copy8_3_toPlane_tile, 3 * stride, width, height);
  CALL(copy8_16_3_toPlane, 3 * stride, width, height);
  CALL(convertBit1To8, width, width, height);
}

void addWords(Routines& routines) {
  for (const std::uint32_t x : {0u, 1u, 0x80000000u, 0x12345678u, 0xFFFF0001u}) {
    CALL(swap2, x);
    CALL(swap4, x);
    CALL(swap8, std::uint64_t{x} << 32 | 0xA1B2C3D4u);
    CALL(lowToBigEndianW, x, 13);
  }
  CALL(swap4wMMX);
  CALL(genLowToBigTable);
  CALL(genMulTable8_8);
}

// Routines with records among their arguments.
void addRecords(Routines& routines) {
  const auto plane = [](std::uint32_t seed) { return content<std::uint16_t>(seed); };
  constexpr unsigned kCount = 1003;
  RGB_to_Gray coef;
  routines["convertCoef_RGB_to_Gray"] = [](Digest& d) {
    RGB_to_Gray c;
    const int status = convertCoef_RGB_to_Gray(0.2126, 0.7152, 0.0722, &c);
    d.add(&status, 1);
    for (const auto* weights : {c.red, c.green, c.blue}) d.add(weights, 4);
  };
  convertCoef_RGB_to_Gray(0.299, 0.587, 0.114, &coef);
  for (const auto& [name, routine] :
       {std::pair("convertRGB_to_Gray_MMX", &convertRGB_to_Gray_MMX), std::pair("convertToGray", &convertToGray)}) {
    routines[name] = [=](Digest& d) {
      std::vector<std::uint16_t> grey(kCount + 1);
      for (const unsigned n : {kCount + 1, kCount}) {
        const int status = routine(plane(1).data(), plane(2).data(), plane(3).data(), grey.data(), n, &coef);
        d.add(&status, 1);
        d.add(grey.data(), grey.size());
      }
    };
  }
  const ConversionParam wanted = {{30, 3900, 2.2, 0, 255}, {0, 4095, 1.0, 0, 255}, {100, 2000, 0.45, 1, 200}};
  const auto converted = [=](Digest& d, auto&& convert) {
    std::array<std::vector<std::uint8_t>, 3> out;
    for (auto& o : out) o.resize(kCount);
    convert(plane(4), plane(5), plane(6), out);
    for (const auto& o : out) d.add(o.data(), o.size());
  };
  routines["convertRGBGammaTo8"] = [=](Digest& d) {
    converted(d, [&](const auto& r, const auto& g, const auto& b, auto& out) {
      CGammaTblB_DLL red, green, blue;
      CGammaTblB_DLL* const tables[3] = {&red, &green, &blue};
      ConversionParam last{};
      convertRGBGammaTo8(&wanted, r.data(), g.data(), b.data(), kCount, 1, out[0].data(), out[1].data(), out[2].data(),
                         tables, &last);
    });
  };
  routines["convertRGBGammaTo8_"] = [=](Digest& d) {
    converted(d, [&](const auto& r, const auto& g, const auto& b, auto& out) {
      convertRGBGammaTo8_(&wanted, r.data(), g.data(), b.data(), kCount, 1, out[0].data(), out[1].data(),
                          out[2].data());
    });
  };
}

}  // namespace

void addPixel(Routines& routines) {
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
  addWords(routines);
  addRecords(routines);
}

}  // namespace quorvel::test
