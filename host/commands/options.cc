// SPDX-License-Identifier: Apache-2.0
#include "host/commands/options.h"

#include <map>

namespace quorvel::host {

void addReadOptions(CLI::App& app, ReadOptions& options) {
  const auto format = [](const std::string& text) -> std::optional<RawFormat> {
    static const std::map<std::string, RawFormat> kFormats = {{"camera", RawFormat::Camera},
                                                              {"pgm", RawFormat::Pgm},
                                                              {"tiff", RawFormat::Tiff},
                                                              {"raw16", RawFormat::Raw16},
                                                              {"raw12", RawFormat::Raw12}};
    const auto found = kFormats.find(text);
    return found == kFormats.end() ? std::nullopt : std::optional(found->second);
  };
  addParsed(app, "--format", options.format,
            "Format of the frames, if their names do not tell it: camera, pgm, tiff, "
            "raw16 (little-endian words), raw12 (packed)",
            "camera, pgm, tiff, raw16 or raw12", format)
      ->type_name("NAME");
  constexpr auto kMost = static_cast<unsigned>(kMaxSide);
  addNumber(app, "--width", options.width, 1u, kMost, "Samples in a row of a headerless frame");
  addNumber(app, "--height", options.height, 1u, kMost, "Rows of a headerless frame");
  addParsed(app, "--phase", options.phase,
            "Colours of the first sites of the first two rows, if the file does not tell "
            "them: GRBG (usual), RGGB, BGGR, GBRG",
            "GRBG, RGGB, BGGR or GBRG", [](const std::string& text) { return phaseFromLetters(text); })
      ->type_name("LETTERS");
  addNumber(app, "--white", options.white, 1, 65535, "Level of a full sensor, instead of what the file says");
  const auto levels = [](const std::string& text) -> std::optional<std::array<int, 4>> {
    if (const auto one = parseNumber(text, 0, kFullScale - 1)) return std::array{*one, *one, *one, *one};
    return parseList<int, 4>(text, 0, kFullScale - 1);
  };
  addParsed(app, "--black", options.black,
            "Black level in 12-bit counts, one or one for each of the sites G, R, B, G; "
            "usually what the file says, else 0",
            "a level from 0 to 4094 or four with commas", levels)
      ->type_name("N[,N,N,N]");
}

}  // namespace quorvel::host
