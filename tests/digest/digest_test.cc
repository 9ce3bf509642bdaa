// SPDX-License-Identifier: Apache-2.0
// One number over the results of every exported routine on fixed inputs. It is the same on every vector target, and the
// tests of all systems hold it against the one constant below, so that equal bits everywhere is a thing that is tested.
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <quorvel/quorvel.h>

#include "tests/support/samples.h"
#include "tests/support/shifted_stack.h"
#include "tests/support/targets.h"

namespace quorvel::test {
namespace {

// A change here means that results have changed, or that a routine has come: say which in the message of the commit.
constexpr std::uint64_t kDigestOfAllRoutines = 0x65cacefe31294452;

// FNV-1a, bytes in the order in which little-endian memory has them.
class Digest {
 public:
  template <typename T>
  void add(const T* values, std::size_t count) {
    static_assert(std::is_arithmetic_v<T>);
    const auto* bytes = reinterpret_cast<const unsigned char*>(values);
    for (std::size_t i = 0; i < count * sizeof(T); ++i) value_ = (value_ ^ bytes[i]) * 0x100000001B3u;
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325u;
};

// Elements of every buffer, and where in it a pointer points: some routines read the rows above theirs.
constexpr std::size_t kRoom = 1 << 14, kBefore = 1 << 12;

// Words are samples of 12 bits, everything else uses its whole range.
template <typename T>
std::vector<T> content(std::uint32_t seed) {
  std::minstd_rand engine(seed + 1);
  std::vector<T> values(kRoom);
  for (T& v : values) {
    const auto bits = static_cast<std::uint64_t>(engine()) << 20 ^ engine() >> 7;
    v = static_cast<T>(sizeof(T) == 2 ? bits & 0xFFF : bits);
  }
  return values;
}

// How far the stack is from its best alignment in the calls below.
unsigned stackShift = 0;

// Calls a routine with buffers for its pointers and the scalars that are given, in order, for everything else, and
// takes in what it returned and everything that it may have written.
template <typename Result, typename... Parameters, typename... Scalars>
void digestCall(Digest& digest, Result (*routine)(Parameters...), Scalars... scalars) {
  [[maybe_unused]] std::array<std::vector<char>, sizeof...(Parameters)> buffers;
  [[maybe_unused]] const auto given = std::make_tuple(scalars...);
  std::size_t position = 0;
  const auto argument = [&]<typename P, std::size_t kScalar>() -> P {
    if constexpr (std::is_pointer_v<P>) {
      using Element = std::remove_const_t<std::remove_pointer_t<P>>;
      const auto values = content<Element>(static_cast<std::uint32_t>(position));
      buffers[position].resize(kRoom * sizeof(Element));
      std::memcpy(buffers[position].data(), values.data(), buffers[position].size());
      return reinterpret_cast<P>(buffers[position++].data()) + kBefore;
    } else {
      ++position;
      return static_cast<P>(std::get<kScalar>(given));
    }
  };
  constexpr std::array<bool, sizeof...(Parameters)> kPointers = {std::is_pointer_v<Parameters>...};
  const auto call = [&]<std::size_t... kAt>(std::index_sequence<kAt...>) {
    [[maybe_unused]] constexpr auto scalarsBefore = [kPointers](std::size_t at) {
      std::size_t count = 0;
      for (std::size_t i = 0; i < at; ++i) count += !kPointers[i];
      return count;
    };
    // Braces, because they fix the order in which the arguments are made.
    std::tuple<Parameters...> arguments{argument.template operator()<Parameters, scalarsBefore(kAt)>()...};
    if constexpr (std::is_void_v<Result>) {
      callShifted(stackShift, routine, arguments);
    } else {
      const Result result = callShifted(stackShift, routine, arguments);
      digest.add(&result, 1);
    }
  };
  call(std::index_sequence_for<Parameters...>());
  constexpr std::array<bool, sizeof...(Parameters)> kWritten = {std::is_pointer_v<Parameters> &&
                                                                !std::is_const_v<std::remove_pointer_t<Parameters>>...};
  for (std::size_t i = 0; i < buffers.size(); ++i) {
    if (kWritten[i]) digest.add(buffers[i].data(), buffers[i].size());
  }
}

using Routines = std::map<std::string, std::function<void(Digest&)>>;

#define CALL(routine, ...)                                           \
  routines[#routine] = [=, before = routines[#routine]](Digest& d) { \
    if (before) before(d);                                           \
    digestCall(d, routine __VA_OPT__(, ) __VA_ARGS__);               \
  }

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
  CALL(tileMirrorX8_8_EMMX, n);
  CALL(tileMirrorX16_16_EMMX, n);
  CALL(correctBayerFocus, 700, n, 1.31, -0.155);
  CALL(TstSum32, n);
  CALL(sumWords, n);
}

void addImages(Routines& routines, unsigned width, unsigned height) {
  const unsigned stride = width + 5;
  CALL(convTileNto8MMX, 100, 1.37, width, height, stride);
  CALL(copy8_3_toPlane_tile, 3 * stride, width, height);
  CALL(copy8_16_3_toPlane, 3 * stride, width, height);
  CALL(convertBit1To8, width, width, height);
  CALL(insertSubTileX, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  CALL(insertSubTileX16, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  for (const auto method : {bayerBilinear, bayerGradient, bayerVariableGradients, bayerNone, bayerSeparate}) {
    CALL(rgbFromBayer, width, height, stride, method);
    CALL(rgbFromBayerP, width, height, stride, method);
  }
  CALL(rgbFromGray, width, height, stride);
  CALL(rgbFromGrayBayer, width, height, stride);
  CALL(laplasian2T1_green2, width, width + 4);
  for (const int edges : {0, 1, 2, 3}) CALL(laplasian2T1_NOTgreen, width, edges & 1, edges >> 1);
  CALL(tileTurn90_8_8, stride, width, height, height + 3);
  CALL(tileTurn90_16_16, stride, width, height, height + 3);
  CALL(tileTurn180_8_8, stride, width, height, stride + 7);
  CALL(tileTurn180_16_16, stride, width, height, stride + 7);
  CALL(tileTurn270_8_8, stride, width, height, height + 3);
  CALL(tileTurn270_16_16, stride, width, height, height + 3);
  CALL(tileBorder_8_8, stride, width, height, stride + 7, 3, 2, 4, 1);
  CALL(tileBorder_16_16, stride, width, height, stride + 7, 3, 2, 4, 1);
  CALL(calcBayerFocusCoef, width, stride, 3, 2, width - 1, height);
  CALL(calcBayerHistogramm16_32, stride, width, height);
  CALL(rgbToBayer, width, height, stride);
  CALL(turnBayer180, width, height, 3, 2, width - 2, height - 2);
  for (const int sameScale : {0, 1}) CALL(convertBayerGammaTo8, sameScale, 2.2, stride, width, height);
  CALL(calcBayerGRHistogramm16_32, width);
  for (const unsigned skip : {0u, 3u}) CALL(calcBayerGRHistogrammSkip16_32, width, skip);
  CALL(copy9_1_9x, width / 8, 9 * stride, 2);
  CALL(compressBayer_x2, width, height);
  CALL(compressBayer_x2Step, width, height);
  CALL(compressBayer_x4Step, width, height);
  CALL(compressBayer_x8, width, height);
  CALL(bayerReweightFor_x2, width, height);
  CALL(bayerReweightFor_x4, width, height);
  CALL(bayerReweightFor_x4_from_x2, stride, width, height);
  CALL(rgbToBayer_x4, width, height, width / 4 + 3);
}

void addWords(Routines& routines) {
  for (const std::uint32_t x : {0u, 1u, 0x80000000u, 0x12345678u, 0xFFFF0001u}) {
    CALL(log2i, x);
    CALL(log2n, x);
    CALL(lowBit, x);
    CALL(swap2, x);
    CALL(swap4, x);
    CALL(swap8, std::uint64_t{x} << 32 | 0xA1B2C3D4u);
    CALL(lowToBigEndianW, x, 13);
  }
  for (const double smear : {0.5, 1.3, 2.7, 3.3, 4.0}) CALL(calcBayerFocusForSmear, smear);
  CALL(swap4wMMX);
  CALL(genLowToBigTable);
  CALL(genMulTable8_8);
  CALL(transpone_9x8_MMX);
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
  routines["calcBayerBlack"] = [=](Digest& d) {
    const auto frame = content<std::int16_t>(7);
    BayerBlack black;
    calcBayerBlack(frame.data(), 100, 0, 3, 2, 77, 41, &black);
    d.add(black.level, 4);
  };
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

// What describes this machine, this process or this build, and so has no result that is the same everywhere.
const std::set<std::string> kOfTheMachine = {"quorvelVersion",
                                             "quorvelSimdTarget",
                                             "isCPUID",
                                             "isIntel",
                                             "isMMX",
                                             "isEMMX",
                                             "isSSE",
                                             "isSSE2",
                                             "isEMMXamd",
                                             "isCommonEMMX",
                                             "is3DNow",
                                             "isE3DNow",
                                             "isE3Damd",
                                             "isExtMMX",
                                             "cpuID_",
                                             "cpuID",
                                             "cpuId",
                                             "timeMS",
                                             "timeMks",
                                             "timeCounter",
                                             "delayMsek",
                                             "frequencyMHzByIncEAX",
                                             "checkPhysicalMemory",
                                             "ignoreError",
                                             "DebugTrapF",
                                             "loadFerrox",
                                             "unloadFerrox",
                                             "prepareBayerSurface"};

Routines allRoutines() {
  Routines routines;
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
  addWords(routines);
  addRecords(routines);
  return routines;
}

TEST(Digest, TakesInEveryExportedRoutine) {
  const Routines routines = allRoutines();
  int declared = 0;
  for (const char* header : {"bayer", "errors", "geometry", "guards", "pixel", "runtime"}) {
    std::ifstream file(QUORVEL_SOURCE_DIR "/include/quorvel/" + std::string(header) + ".h");
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    const std::regex declaration("\nQUORVEL_API [^(;]*?([A-Za-z_0-9]+)\\(");
    for (std::sregex_iterator at(text.begin(), text.end(), declaration), end; at != end; ++at, ++declared) {
      const std::string name = (*at)[1];
      EXPECT_NE(routines.contains(name), kOfTheMachine.contains(name)) << name << " in " << header << ".h";
    }
  }
  EXPECT_EQ(static_cast<std::size_t>(declared), routines.size() + kOfTheMachine.size());
}

TEST(Digest, IsTheSameOnEverySystemTargetAndStack) {
  const Routines routines = allRoutines();
  onEveryTarget([&] {
    for (const unsigned shift : kStackShifts) {
      stackShift = shift;
      Digest all;
      std::string report;
      for (const auto& [name, call] : routines) {
        Digest own;
        call(own);
        const std::uint64_t value = own.value();
        all.add(&value, 1);
        char line[100];
        std::snprintf(line, sizeof line, "%-28s %016llx\n", name.c_str(), static_cast<unsigned long long>(value));
        report += line;
      }
      std::printf("digest of all routines: %016llx\n", static_cast<unsigned long long>(all.value()));
      EXPECT_EQ(all.value(), kDigestOfAllRoutines) << "stack shifted by " << shift << "\n" << report;
    }
    stackShift = 0;
  });
}

}  // namespace
}  // namespace quorvel::test
