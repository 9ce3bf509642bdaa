// SPDX-License-Identifier: Apache-2.0
// The subcommands that compress raw frames, and that expand them and JPEG files.
#include <memory>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/jpeg.h"
#include "host/io/qvb.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string input, output;
  ReadOptions read;
  std::optional<int> quality;
  bool lossless = false, recover = false, force = false;
};

int compress(const Arguments& a) {
  if (!isQvbName(a.output)) throw UsageError(a.output + ": compressed frames are named .qvb");
  if (a.quality.has_value() == a.lossless) throw UsageError("compress needs one of --quality and --lossless");
  if (a.lossless && a.read.black) throw UsageError("--lossless keeps the frame as it is; --black has no place there");
  std::error_code error;
  if (fs::equivalent(a.input, a.output, error)) throw DataError(a.output, "is the frame itself");
  OutputFile out(a.output, a.force);
  Mosaic mosaic;
  std::vector<std::uint8_t> file;
  if (a.lossless) {
    mosaic = readMosaic(a.input, a.read);
    file = compressedLossless(mosaic);
  } else {
    mosaic.frame = readRawFrame(a.input, a.read);
    file = compressed(mosaic.frame, *a.quality);
  }
  out.write(file.data(), file.size());
  out.commit();
  const RawFrame& frame = mosaic.frame;
  fmt::print("{} -> {}: {} x {}, {}, {} bytes, {:.3f} bits a sample\n", a.input, a.output, frame.width, frame.height,
             a.lossless ? std::string("lossless") : fmt::format("quality {}", *a.quality), file.size(),
             8.0 * static_cast<double>(file.size()) / static_cast<double>(frame.samples.size()));
  return kDone;
}

int expandFrame(const Arguments& a, ByteSpan bytes) {
  const auto format = rawFormatToWrite(a.output);
  if (!format) throw UsageError(a.output + ": frames are written as .pgm, .tif, .raw16 or .raw12");
  requireBuilt(*format, a.output);
  const ExpandedFrame done = expanded(bytes, a.input);
  const std::string wrong =
      done.lost.empty() ? "is damaged, though no row is lost" : "is damaged: " + textOf(done.lost) + " are lost";
  if (done.damaged && !a.recover) throw DataError(a.input, wrong + "; --recover writes the rest");
  const RawFrame& frame = done.mosaic.frame;
  if (*format == RawFormat::Raw12 && !fitsFullScale(frame)) {
    throw DataError(a.output, "has no room for samples of more than 12 bits");
  }
  OutputFile out(a.output, a.force);
  writeRawFrame(out, frame, *format, done.mosaic.phase);
  out.commit();
  fmt::print("{} -> {}: {} x {}\n", a.input, a.output, frame.width, frame.height);
  if (!done.damaged) return kDone;
  // The file is there, but whoever waits for the status has to learn that it is not the whole frame.
  fmt::print(stderr, "quorvel: {}: {}\n", a.input, wrong);
  return kDataFailure;
}

int expandJpeg(const Arguments& a, ByteSpan bytes) {
  const auto format = pictureFormatToWrite(a.output);
  const bool grey = rawFormatToWrite(a.output) == RawFormat::Pgm;
  if (!format && !grey) throw UsageError(a.output + ": pictures are written as .png, .tif, .ppm or .pgm");
  if (a.recover) throw UsageError("--recover is for .qvb files");
  if (format) requireBuilt(*format, a.output);
  OutputFile out(a.output, a.force);
  const Picture picture = pictureOf(readJpegCoefficients(bytes, a.input));
  if (grey && picture.channels != 1) throw UsageError(a.output + ": a picture in colours is no .pgm");
  writePicture(out, picture, format.value_or(PictureFormat::Ppm));
  out.commit();
  fmt::print("{} -> {}: {} x {}, {}\n", a.input, a.output, picture.width, picture.height, grey ? "grey" : "colour");
  return kDone;
}

int expand(const Arguments& a) {
  std::error_code error;
  if (fs::equivalent(a.input, a.output, error)) throw DataError(a.output, "is the input itself");
  requireWritable(a.output, a.force);
  const std::vector<std::uint8_t> bytes = readFile(a.input);
  if (looksLikeJpeg(bytes)) return expandJpeg(a, bytes);
  // A file whose beginning is damaged is still known by its name or its end.
  return expandFrame(a, bytes);
}

}  // namespace

void addCompress(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("compress", "Compresses a raw frame into a .qvb file");
  auto a = std::make_shared<Arguments>();
  command->add_option("FRAME", a->input, "A raw frame, as for develop")->required()->type_name("FILE");
  command->add_option("-o,--output", a->output, "The compressed frame")->required()->type_name("FILE.qvb");
  addNumber(*command, "-q,--quality", a->quality, 1, 100,
            "Steps of 1 count at 100, twice as large for every 10 less: 80 is below the noise of most sensors, 50 for "
            "looking");
  command->add_flag("--lossless", a->lossless, "Every sample comes back, of any depth and pattern");
  addReadOptions(*command, a->read);
  command->add_flag("--force", a->force, "Replace a file that exists");
  command->callback([a, &chosen] { chosen = [a] { return compress(*a); }; });
}

void addExpand(CLI::App& program, Action& chosen) {
  CLI::App* command =
      program.add_subcommand("expand", "Turns a .qvb file back into a raw frame, or a baseline JPEG into a picture");
  auto a = std::make_shared<Arguments>();
  command->add_option("FILE", a->input, "The .qvb or .jpg file")->required()->type_name("FILE");
  command
      ->add_option("-o,--output", a->output,
                   "A frame (.pgm, .tif, .raw16, .raw12), or for a JPEG a picture (.png, .tif, .ppm, .pgm)")
      ->required()
      ->type_name("FILE");
  command->add_flag("--recover", a->recover,
                    "Write what a damaged .qvb file still gives, lost rows black, and tell what is lost (status 1)");
  command->add_flag("--force", a->force, "Replace a file that exists");
  command->callback([a, &chosen] { chosen = [a] { return expand(*a); }; });
}

}  // namespace quorvel::host
