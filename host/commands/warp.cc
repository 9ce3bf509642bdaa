// SPDX-License-Identifier: Apache-2.0
// The subcommand that draws a picture anew along a mapping.
#include <chrono>
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/transform_file.h"
#include "host/road/warp.h"

namespace quorvel::host {
namespace {

// Corners and coefficients beyond these are mistakes.
constexpr double kMostPlace = 1e6, kMostCoefficient = 1e12;

struct Arguments {
  std::string picture, output, transform;
  std::optional<std::array<double, 8>> quad;
  std::optional<std::array<double, 9>> homography;
  std::optional<Size> size;
  WarpMethod method = kWarpMethods.back();
  std::vector<unsigned> fill;
  bool json = false, force = false;
};

std::optional<Size> parseSize(std::string_view text) {
  const auto x = text.find('x');
  if (x == std::string_view::npos) return std::nullopt;
  const auto width = parseNumber<unsigned>(text.substr(0, x), 1, kMaxSide);
  const auto height = parseNumber<unsigned>(text.substr(x + 1), 1, kMaxSide);
  if (!width || !height || !sizeIsSane(*width, *height)) return std::nullopt;
  return Size{*width, *height};
}

std::string methodNames() {
  std::string names;
  for (const WarpMethod& m : kWarpMethods) names += fmt::format("{}{}", names.empty() ? "" : ", ", m.name);
  return names;
}

Mapping mappingOf(const Arguments& a, Size size) {
  if (a.quad) {
    if (isDegenerate(*a.quad)) throw UsageError("--quad: the four corners lie on one line");
    return quadMapping(*a.quad, size);
  }
  if (a.homography) {
    if (isDegenerate(*a.homography, size)) {
      throw UsageError("--homography: takes the whole output to a line, a point or the horizon");
    }
    return projectiveMapping(*a.homography, size);
  }
  return readTransform(a.transform, size);
}

int warpPicture(const Arguments& a) {
  if (a.quad.has_value() + a.homography.has_value() + !a.transform.empty() != 1) {
    throw UsageError("one of --quad, --homography and --transform is needed");
  }
  std::error_code error;
  if (fs::equivalent(a.picture, a.output, error)) throw DataError(a.output, "is the picture itself");
  OutputFile out(a.output, a.force);
  const Picture source = readPicture(a.picture);
  const bool grey = source.channels == 1;
  const auto format = pictureFormatToWrite(a.output, source.channels);
  if (!format) {
    throw UsageError(fmt::format("{}: a {} picture is written as .png, .tif, .{} or .pnm", a.output,
                                 grey ? "grey" : "colour", grey ? "pgm" : "ppm"));
  }
  requireBuilt(*format, a.output);
  WarpSettings settings;
  settings.size = a.size.value_or(Size{source.width, source.height});
  settings.method = a.method.method;
  for (std::size_t c = 0; c < a.fill.size(); ++c) {
    if (a.fill[c] > source.maximum)
      throw UsageError(fmt::format("--fill: white is {} in this picture", source.maximum));
  }
  if (a.fill.size() == 1) settings.fill.fill(a.fill[0]);
  if (a.fill.size() == 3) {
    if (grey) throw UsageError("--fill: the picture is grey, so one value is needed");
    std::copy(a.fill.begin(), a.fill.end(), settings.fill.begin());
  }
  const auto start = std::chrono::steady_clock::now();
  const Warped warped = warp(source, mappingOf(a, settings.size), settings);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  writePicture(out, warped.picture, *format);
  out.commit();
  const auto [width, height] = settings.size;
  if (a.json) {
    const nlohmann::ordered_json json = {
        {"picture", a.picture},    {"output", a.output},          {"width", width},
        {"height", height},        {"channels", source.channels}, {"bits", source.is16() ? 16 : 8},
        {"method", a.method.name}, {"blocks", warped.blocks},     {"outside", warped.outside},
        {"seconds", seconds}};
    fmt::print("{}\n", json.dump());
  } else {
    fmt::print("{} -> {}: {} x {}, {}, {} blocks, {:.1f} % outside\n", a.picture, a.output, width, height,
               a.method.name, warped.blocks,
               100.0 * static_cast<double>(warped.outside) / (static_cast<double>(width) * height));
  }
  return kDone;
}

}  // namespace

void addWarp(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand(
      "warp",
      "Draws a picture anew along a mapping from the output's pixels to places in the picture. (0, 0) is the upper "
      "left corner, the first pixel's centre (0.5, 0.5)");
  auto a = std::make_shared<Arguments>();
  command->add_option("PICTURE", a->picture, "A picture: PNG, TIFF, PPM or PGM of 8 or 16 bits")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", a->output, "The new picture: .png, .tif, .ppm, .pgm or .pnm")
      ->required()
      ->type_name("FILE");
  addParsed(*command, "--quad", a->quad,
            "Where the output's corners lie in the picture: upper left, upper right, lower left, lower right",
            "eight numbers with commas",
            [](const std::string& text) { return parseList<double, 8>(text, -kMostPlace, kMostPlace); })
      ->type_name("X,Y,X,Y,X,Y,X,Y");
  addParsed(*command, "--homography", a->homography, "A projective mapping: the nine numbers of its matrix, row by row",
            "nine numbers with commas",
            [](const std::string& text) { return parseList<double, 9>(text, -kMostCoefficient, kMostCoefficient); })
      ->type_name("A,B,C,D,E,F,G,H,I");
  command->add_option("--transform", a->transform, "A file with a fitted transformation")->type_name("FILE");
  addParsed(*command, "--size", a->size, "Size of the output; usually that of the picture",
            fmt::format("a size WxH of 1 to {} a side that can be worked on", kMaxSide), parseSize)
      ->type_name("WxH");
  addParsed(*command, "--method", a->method, "How samples are made between samples; usually cubic",
            "one of " + methodNames(),
            [](const std::string& text) -> std::optional<WarpMethod> {
              for (const WarpMethod& m : kWarpMethods) {
                if (text == m.name) return m;
              }
              return std::nullopt;
            })
      ->type_name(methodNames());
  addParsed(*command, "--fill", a->fill,
            "Sample value of pixels that come from outside the picture, one or one a colour",
            "a value from 0 to 65535 or three with commas",
            [](const std::string& text) -> std::optional<std::vector<unsigned>> {
              if (const auto one = parseNumber(text, 0u, 65535u)) return std::vector{*one};
              const auto three = parseList<unsigned, 3>(text, 0, 65535);
              return three ? std::optional(std::vector(three->begin(), three->end())) : std::nullopt;
            })
      ->type_name("N[,N,N]");
  command->add_flag("--json", a->json, "Tell what was made as JSON");
  command->add_flag("--force", a->force, "Replace a file that exists");
  command->callback([a, &chosen] { chosen = [a] { return warpPicture(*a); }; });
}

}  // namespace quorvel::host
