// SPDX-License-Identifier: Apache-2.0
// The subcommand that writes pictures as JPEG.
#include <algorithm>
#include <memory>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/jpeg.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string picture, output;
  JpegOptions options;
  bool force = false;
};

// Rounded to nearest.
Picture in8Bits(Picture picture) {
  const unsigned white = picture.maximum;
  if (!picture.is16() && white == 255) return picture;
  std::vector<std::uint8_t> bytes;
  std::visit(
      [&](const auto& samples) {
        bytes.resize(samples.size());
        std::transform(samples.begin(), samples.end(), bytes.begin(), [=](unsigned v) {
          return static_cast<std::uint8_t>((std::min(v, white) * 255 + white / 2) / white);
        });
      },
      picture.samples);
  picture.samples = std::move(bytes);
  picture.maximum = 255;
  return picture;
}

int writeJpeg(const Arguments& a) {
  if (!isJpegName(a.output)) throw UsageError(a.output + ": JPEG files are named .jpg or .jpeg");
  std::error_code error;
  if (fs::equivalent(a.picture, a.output, error)) throw DataError(a.output, "is the picture itself");
  OutputFile out(a.output, a.force);
  const Picture picture = in8Bits(readPicture(a.picture));
  const std::vector<std::uint8_t> file = encodeJpeg(picture, a.options);
  out.write(file.data(), file.size());
  out.commit();
  fmt::print("{} -> {}: {} x {}, {}, {} bytes, {:.3f} bits a pixel\n", a.picture, a.output, picture.width,
             picture.height, picture.channels == 1 ? "grey" : "colour", file.size(),
             8.0 * static_cast<double>(file.size()) / picture.width / picture.height);
  return kDone;
}

}  // namespace

void addJpeg(CLI::App& program, Action& chosen) {
  CLI::App* command =
      program.add_subcommand("jpeg", "Writes a picture as a baseline JPEG, grey or in colours of full resolution");
  auto a = std::make_shared<Arguments>();
  command->add_option("PICTURE", a->picture, "A PNG, TIFF, PPM or PGM file; deeper samples are brought to 8 bits")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", a->output, "The JPEG file")->required()->type_name("FILE");
  addNumber(*command, "-q,--quality", a->options.quality, 1, 100, "The usual scale of JPEG (90)");
  command->add_flag("--optimize", a->options.optimize, "Codes made for the picture: a smaller file, a longer wait");
  command->add_flag("--force", a->force, "Replace a file that exists");
  command->callback([a, &chosen] { chosen = [a] { return writeJpeg(*a); }; });
}

}  // namespace quorvel::host
