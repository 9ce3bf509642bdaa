// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <quorvel/colour.h>

namespace {

namespace fs = std::filesystem;

constexpr unsigned kCells = 64 * 64 * 64;

// A table that shows what the readers hand over, and that the writers can fill files from.
struct Seen : ColorTableFile {
  void convertFrom(TMatrix<float>& m) override { matrix = m; }
  void convertTo(TMatrix<float>& m) override { m = matrix; }
  TMatrix<float> matrix;
};

class TableFile : public testing::Test {
 protected:
  TableFile() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    directory = fs::temp_directory_path() / (std::string("quorvel-") + test->name());
    fs::remove_all(directory);
    fs::create_directories(directory);
  }
  ~TableFile() override { fs::remove_all(directory); }

  std::string named(const char* name) const { return (directory / name).string(); }
  std::string given(const std::string& bytes) const {
    std::ofstream(named("given"), std::ios::binary) << bytes;
    return named("given");
  }

  fs::path directory;
};

std::string identityText(unsigned cells, const char* separator) {
  std::string text;
  for (unsigned i = 0; i < cells; ++i) {
    for (const unsigned level : {i % 64, i / 64 % 64, i / 4096}) text += std::to_string(4 * level) + separator;
    text += '\n';
  }
  return text;
}

TEST_F(TableFile, IdentitiesComeFromBinaryAndText) {
  ColorConvTable identity, binary, text;
  identity.genDefault();
  EXPECT_EQ(text.readFromFile(given(identityText(kCells, ",\t ")).c_str()), 0);
  EXPECT_EQ(std::memcmp(text.get(), identity.get(), identity.totalb()), 0);
  Seen seen;
  const std::string name = named("table.bin");
  EXPECT_EQ(seen.readFromFile(named("given").c_str()), 0);
  ASSERT_EQ(seen.saveToBinFile(name.c_str()), 0);
  EXPECT_EQ(fs::file_size(name), 3145728u);
  EXPECT_EQ(binary.readFromBinFile(name.c_str()), 0);
  EXPECT_EQ(std::memcmp(binary.get(), identity.get(), identity.totalb()), 0);
  std::ofstream(name, std::ios::binary | std::ios::app) << "more";
  EXPECT_EQ(binary.readFromBinFile(name.c_str()), 0) << "what lies behind is not looked at";
}

TEST_F(TableFile, BadFilesGiveThreeAndLeaveTheTable) {
  const std::string whole = identityText(kCells, " ");
  ColorConvTable table;
  table.genDefault();
  const ColorConvTable before = table;
  for (const std::string& text :
       {std::string(), std::string("\n \n"), std::string("one two three"), std::string("1 2 3 "),
        whole.substr(0, whole.size() - 8), whole + "5", whole + "x y z", whole + "1 2 0x10", whole + "nan 1 1",
        whole + "inf 1 1", whole + "1 1 1e999", whole + "1-1 1 1", whole + "+-1 1 1",
        std::string(kCells * 12 - 1, '1')}) {
    const std::string name = given(text);
    EXPECT_EQ(table.readFromFile(name.c_str()), 3) << text.substr(text.size() - std::min<std::size_t>(text.size(), 12));
    if (text.size() < kCells * 12) {
      EXPECT_EQ(table.readFromBinFile(name.c_str()), 3);
    }
  }
  for (const std::string& name : {directory.string(), named("missing"), named("missing/too")}) {
    EXPECT_EQ(table.readFromFile(name.c_str()), 3);
    EXPECT_EQ(table.readFromBinFile(name.c_str()), 3);
  }
  for (const std::string& name : {directory.string(), named("missing/too")}) {
    EXPECT_EQ(table.saveToFile(name.c_str()), 3);
    EXPECT_EQ(table.saveToBinFile(name.c_str()), 3);
  }
  ColorConvTable copy = before;
  EXPECT_EQ(std::memcmp(table.get(), copy.get(), copy.totalb()), 0);
#ifdef __linux__  // a full disk
  Seen seen;
  seen.matrix.resize(3, kCells);
  EXPECT_EQ(seen.saveToBinFile("/dev/full"), 3);
  EXPECT_EQ(seen.saveToFile("/dev/full"), 3);
#endif
}

TEST_F(TableFile, TextsHaveTheRowsThatTheyHave) {
  Seen seen;
  EXPECT_EQ(seen.readFromFile(given("1 2.5,-3e1\r\n+.5\t1e-300 -1e300\n\n").c_str()), 0);
  ASSERT_EQ(seen.matrix.rows(), 2u);
  EXPECT_EQ(seen.matrix.columns(), 3u);
  const float expected[6] = {1, 2.5, -30, 0.5, 0, -std::numeric_limits<float>::max()};
  for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(seen.matrix.data()[i], expected[i]) << i;
  ColorConvTable5 coarse;
  EXPECT_EQ(coarse.readFromFile(given(identityText(kCells / 8, " ")).c_str()), 0);
  EXPECT_EQ(coarse.total(), kCells / 8);
}

TEST_F(TableFile, TextIsWrittenWithOneSignificantDigit) {
  Seen seen;
  seen.matrix.resize(3, 3);
  const float values[9] = {0, 4, 252, -0.5f, 0.04f, 85, 1e-20f, 1e20f, 149};
  std::copy_n(values, 9, seen.matrix.data());
  const std::string name = named("table.txt");
  EXPECT_EQ(seen.saveToFile(name.c_str()), 0);
  std::ifstream in(name, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "0 4 3e+02 \n-0.5 0.04 8e+01 \n1e-20 1e+20 1e+02 \n");
  for (const unsigned tables : {1u, 2u}) {
    seen.matrix.resize(3, tables * kCells);
    std::fill_n(seen.matrix.data(), 3 * tables * kCells, -1e-40f);
    EXPECT_EQ(seen.saveToFile(name.c_str()), tables == 1 ? 0 : 3) << "the longest texts of one whole table fit";
  }
  EXPECT_EQ(fs::file_size(name), kCells * 22u);
}

TEST_F(TableFile, TablesAsTheyStandWriteEmptyFiles) {
  const auto prove = [&](auto table) {
    table.genDefault();
    EXPECT_EQ(table.saveToBinFile(given("something that is replaced").c_str()), 0);
    EXPECT_EQ(fs::file_size(named("given")), 0u);
    EXPECT_EQ(table.saveToFile(given("something that is replaced").c_str()), 0);
    EXPECT_EQ(fs::file_size(named("given")), 0u);
  };
  prove(ColorConvTable()), prove(ColorConvTable5()), prove(ColorConvTable64()), prove(ColorConvTable5_64());
  prove(ColorConvTableKxB()), prove(ColorConvTableCreator());
}

}  // namespace
