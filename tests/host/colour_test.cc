// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "host/io/colour_file.h"
#include "host/io/cube_file.h"
#include "host/io/pnm.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Colour : public InDirectory {};

// A 3D table of `size` levels that exchanges red and blue, with whatever stands before it.
std::string exchangingCube(unsigned size, const std::string& before) {
  std::string text = before + fmt::format("LUT_3D_SIZE {}\n", size);
  for (unsigned i = 0; i < size * size * size; ++i) {
    const auto at = [&](unsigned level) { return static_cast<double>(level % size) / (size - 1); };
    text += fmt::format("{} {} {}\n", at(i / size / size), at(i / size), at(i));
  }
  return text;
}

TEST_F(Colour, CubeFilesAreReadWithShapersRangesAndRemarks) {
  put("swap.cube", exchangingCube(5, "# remark\r\nTITLE \"swap\"\nDOMAIN_MIN -1 -1 -1\nDOMAIN_MAX 1 1 1\n\n"));
  const CubeFile swap = readCube(at("swap.cube"));
  EXPECT_EQ(swap.title, "swap");
  const Rgb out = swap({0.1, -0.4, 7});
  const Rgb expected = {1, 0.3, 0.55};
  for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(out[c], expected[c], 1e-12) << c;
  put("both.cube", "LUT_1D_SIZE 2\nLUT_1D_INPUT_RANGE 0 2\n" + exchangingCube(2, "").substr(0, 14) + "0 0 0\n1 1 1\n" +
                       exchangingCube(2, "").substr(14));
  EXPECT_NEAR(readCube(at("both.cube"))({1.0, 0, 0})[2], 0.5, 1e-12);
}

TEST_F(Colour, TablesOfTheIdentityAreTheLibrarysOwn) {
  const ColourTable table = tableOf([](Rgb c) { return c; });
  Bytes bytes(3 * 256);
  Words words(bytes.size());
  for (unsigned i = 0; i < bytes.size(); ++i) {
    const unsigned v = i * 23 % 4096;  // what has 12 bits comes back as it was
    bytes[i] = static_cast<std::uint8_t>(i * 37);
    words[i] = static_cast<std::uint16_t>(v << 4 | v >> 8);
  }
  EXPECT_EQ(std::get<Bytes>(throughTable({16, 16, 255, bytes}, table).samples), bytes);
  EXPECT_EQ(std::get<Words>(throughTable({16, 16, 65535, words}, table).samples), words);
  const auto brightest = throughTable({1, 1, 255, Bytes{255, 0, 128}}, tableOf([](Rgb) { return Rgb{300, -20, 255}; }));
  EXPECT_EQ(std::get<Bytes>(brightest.samples), (Bytes{255, 0, 252})) << "no sum reaches the next channel";
}

TEST_F(Colour, ChartsGiveTheirMatrixAndMakeUpForTheRest) {
  const Matrix3 truth = {1.2, -0.1, 0, 0.05, 0.9, 0.1, -0.2, 0.1, 1.05};
  Patches measured, linear, bent;
  for (unsigned i = 0; i < 24; ++i) {
    measured.push_back({20.0 + i * 53 % 180, 20.0 + i * 89 % 170, 20.0 + i * 31 % 190});
    linear.push_back(truth * measured.back());
    bent.push_back(linear.back());
    for (double& v : bent.back()) v += 6 * std::sin(v / 30);
  }
  const auto matrix = leastSquares(measured, linear);
  ASSERT_TRUE(matrix.has_value());
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR((*matrix)[i], truth[i], 1e-9) << i;
  EXPECT_FALSE(leastSquares(Patches(24, {9, 9, 9}), linear).has_value());

  const auto fitted = leastSquares(measured, bent);
  const auto errorOf = [&](double strength) {
    const ChartCorrection correction(measured, bent, *fitted, strength);
    Patches out;
    for (const Rgb& p : measured) out.push_back(correction(p));
    return meanError(out, bent);
  };
  EXPECT_LT(errorOf(1), 0.4 * errorOf(0));
  const Rgb distant = ChartCorrection(measured, bent, *fitted, 1)({4000, 0, 0}), plain = *fitted * Rgb{4000, 0, 0};
  EXPECT_NEAR(distant[0], plain[0], 1e-6) << "away from the patches the matrix alone holds";
}

TEST_F(Colour, TheProgramMakesConvertsAndAppliesTables) {
  write("frame.pgm", smallScene().frame);
  put("swap.cube", exchangingCube(9, ""));
  put("exchange.txt", "0 0 1\n0 1 0\n1 0 0\n");
  for (const char* run :
       {"lut convert swap.cube -o swap.bin", "lut convert swap.bin -o swap.txt", "lut convert swap.txt -o again.bin",
        "lut info swap.txt --plot plot.ppm", "develop frame.pgm -o plain.ppm --wb 1,1,1",
        "develop frame.pgm -o table.ppm --wb 1,1,1 --table swap.bin",
        "develop frame.pgm -o matrix.ppm --wb 1,1,1 --matrix exchange.txt",
        "lut measure frame.pgm -o patches.txt --rect 10,10,120,80",
        "lut chart patches.txt patches.txt -o none.bin --matrix unit.txt"}) {
    expectRun(run, 0, "");
  }
  EXPECT_EQ(contents(at("swap.bin")), contents(at("again.bin"))) << "texts lose nothing";
  EXPECT_EQ(contents(at("swap.bin")).size(), 3145728u);
  const auto colours = [this](const char* name) { return readPpm(at(name)).colour; };
  const auto plain = colours("plain.ppm"), table = colours("table.ppm"), matrix = colours("matrix.ppm");
  for (std::size_t i = 0; i < plain[0].size(); i += 101) {
    // A step for the tops of the table's cells, and what the matrix's 3 guard bits round.
    ASSERT_NEAR(table[0][i], plain[2][i], 4) << i;
    ASSERT_NEAR(matrix[2][i], plain[0][i], 12) << i;
  }
}

TEST_F(Colour, WhatCannotBeUsedIsNamed) {
  for (const auto& [file, text, says] : {std::tuple{"words.cube", "LUT_3D_SIZE 2\nhello\n", "line 2: 'hello'"},
                                         {"short.cube", "LUT_3D_SIZE 2\n0 0 0\n", "has 1 rows of numbers"},
                                         {"huge.cube", "LUT_3D_SIZE 1000\n", "a size from 2 to 256"},
                                         {"numbers.cube", "LUT_1D_SIZE 2\n0 0\n", "three numbers"},
                                         {"empty.bin", "", "is empty"},
                                         {"short.bin", "abc", "3145728 bytes"}}) {
    put(file, text);
    expectRefused(std::string("lut info ") + file, 1, says);
  }
  put("five.txt", "1 2 3 4 5\n");
  put("a.txt", "1 2 3\n4 5 6\n");
  put("b.txt", "1 2 3\n");
  expectRefused("lut info none.bin", 1, "does not exist");
  expectRefused("lut info a.xyz", 2, ".cube, .bin or .txt");
  expectRefused("lut convert b.txt -o x.bin", 1, "262144 rows");
  expectRefused("lut convert b.txt -o x.cube", 2, ".bin or .txt");
  expectRefused("lut convert a.txt -o b.txt", 1, "exists");
  expectRefused("lut chart five.txt a.txt -o x.bin", 1, "three numbers a patch");
  expectRefused("lut chart a.txt b.txt -o x.bin", 1, "has 2 patches");
  expectRefused("lut chart a.txt a.txt --matrix x.txt", 1, "too few");
  expectRefused("lut chart a.txt a.txt", 2, "--output, --matrix");
}

}  // namespace
}  // namespace quorvel::host::test
