// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <new>
#include <set>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/calibration_file.h"
#include "host/io/colour_file.h"
#include "host/report/progress.h"
#include "host/report/psnr.h"
#include "host/road/road.h"

namespace quorvel::host {
namespace {

enum class Balance { AsShot, GreyWorld, Given, Usual };

struct WhiteBalance {
  Balance kind = Balance::Usual;  // as shot where the file tells it, else grey world
  Gains gains = {1, 1, 1};
};

struct Arguments {
  std::vector<std::string> inputs;
  std::string output, truth, calibration, table, matrix;
  ReadOptions read;
  Method method = kMethods[1];
  WhiteBalance balance;
  double gamma = 2.2;
  int bits = 8;
  std::optional<PictureFormat> type;
  bool time = false, force = false;
};

// How often --time repeats the demosaicing.
constexpr int kTimedRuns = 9;

// What is read once for all frames.
struct Corrections {
  std::optional<DarkCalibration> dark;
  std::optional<ColourTable> table;
  std::optional<Matrix3> matrix;
};

struct Job {
  fs::path input, output;
  PictureFormat format;
};

bool namesDirectory(const std::string& output) {
  std::error_code error;
  return output.ends_with('/') || fs::is_directory(output, error);
}

// Where each input goes. A usage error here is one of the whole run.
std::vector<Job> plan(const Arguments& a) {
  const auto hole = a.output.find("{}");
  const PictureFormat type = a.type.value_or(usualPictureFormat());
  const bool directory = hole == std::string::npos &&
                         (namesDirectory(a.output) || (a.inputs.size() > 1 && !pictureFormatToWrite(a.output)));
  if (a.inputs.size() > 1 && hole == std::string::npos && !directory) {
    throw UsageError("several frames need a directory, or a pattern with {} for the frame's name, as --output");
  }
  if (directory) {
    std::error_code error;
    fs::create_directories(a.output, error);
    if (error) throw DataError(a.output, "cannot be made: " + error.message());
  }
  std::vector<Job> jobs;
  std::set<fs::path> taken;
  for (const fs::path input : a.inputs) {
    fs::path output = a.output;
    if (directory) {
      output /= input.stem().string() + extensionOf(type);
    } else if (hole != std::string::npos) {
      output = std::string(a.output).replace(hole, 2, input.stem().string());
    }
    const auto format = a.type ? a.type : pictureFormatToWrite(output);
    if (!format) throw UsageError(output.string() + ": pictures are written as .png, .tif or .ppm");
    if (!taken.insert(output.lexically_normal()).second) {
      throw UsageError(fmt::format("two frames would both become {}", output.string()));
    }
    jobs.push_back({input, output, *format});
  }
  return jobs;
}

Gains gainsFor(const WhiteBalance& balance, const RawFrame& frame, const Planes& planes, const fs::path& input) {
  switch (balance.kind) {
    case Balance::Given:
      return balance.gains;
    case Balance::GreyWorld:
      return greyWorld(planes, frame.white);
    case Balance::AsShot:
      if (!frame.asShot) throw DataError(input, "tells no as-shot white balance; give --wb grey-world or factors");
      return *frame.asShot;
    case Balance::Usual:
      break;
  }
  return frame.asShot ? *frame.asShot : greyWorld(planes, frame.white);
}

// One frame, from file to file; returns its megapixels.
double develop(const Arguments& a, const Job& job, const Corrections& corrections, Progress& progress) {
  const auto& dark = corrections.dark;
  std::error_code error;
  if (fs::equivalent(job.input, job.output, error)) throw DataError(job.output, "is the frame itself");
  requireBuilt(job.format, job.output);
  OutputFile out(job.output, a.force);  // before the work: a name that cannot be written costs no time
  RawFrame frame = readRawFrame(job.input, a.read);
  if (dark) {
    if (frame.width != dark->width || frame.height != dark->height) {
      throw DataError(job.input, fmt::format("is {} x {}, but the calibration is of {} x {}", frame.width, frame.height,
                                             dark->width, dark->height));
    }
    frame = calibrated(std::move(frame), *dark);
    if (a.read.black) frame.black = *a.read.black;  // what the user says outright holds
    requireBlackBelowWhite(frame, job.input);
  }
  frame = aboveBlack(std::move(frame));
  Demosaiced done = demosaic(frame, a.method.method, a.time ? kTimedRuns : 1);
  const Gains gains = gainsFor(a.balance, frame, done.planes, job.input);
  std::string quality;
  if (!a.truth.empty()) quality = text(psnr(readTruth(a.truth, frame), done.planes));
  if (corrections.matrix) throughMatrix(done.planes, *corrections.matrix, gains);
  Picture picture = finish(done.planes, {gains, frame.white, a.gamma, a.bits});
  if (corrections.table) picture = throughTable(std::move(picture), *corrections.table);
  writePicture(out, picture, job.format);
  out.commit();

  progress.print(fmt::format("{} -> {}: {} x {}, {} at {:.1f} MP/s, balance {:.3f}", job.input.string(),
                             job.output.string(), frame.width, frame.height, a.method.name,
                             rate(done.planes, done.seconds), fmt::join(gains, ",")));
  if (a.time) {
    progress.print(fmt::format("  demosaicing took {:.2f} ms, the best of {} runs", done.seconds * 1e3, kTimedRuns));
  }
  if (!quality.empty()) progress.print("  " + quality);
  return static_cast<double>(frame.width) * frame.height * 1e-6;
}

int developAll(const Arguments& a) {
  const std::vector<Job> jobs = plan(a);
  Corrections corrections;
  if (!a.calibration.empty()) corrections.dark = readCalibration(a.calibration);
  if (!a.table.empty()) corrections.table = readColourTable(a.table);
  if (!a.matrix.empty()) corrections.matrix = readMatrix(a.matrix);
  if (jobs.size() == 1) {
    Progress silent(1);
    develop(a, jobs[0], corrections, silent);
    return kDone;
  }
  if (!a.truth.empty()) throw UsageError("--truth goes with one frame");
  Progress progress(jobs.size());
  std::vector<std::string> failed;
  for (const Job& job : jobs) {
    double megapixels = 0;
    const auto note = [&](const std::string& wrong) {
      failed.push_back(job.input.string());
      progress.print("quorvel: " + wrong, true);
    };
    // A headerless frame without its size is wrong usage of all frames, and leaves the loop.
    try {
      megapixels = develop(a, job, corrections, progress);
    } catch (const DataError& e) {
      note(e.what());
    } catch (const std::bad_alloc&) {
      note(job.input.string() + ": not enough memory");
    }
    progress.step(megapixels);
  }
  if (failed.empty()) return kDone;
  progress.print(
      fmt::format("quorvel: {} of {} frames failed: {}", failed.size(), jobs.size(), fmt::join(failed, ", ")), true);
  return kDataFailure;
}

std::optional<Method> parseMethod(const std::string& text) {
  for (const Method& method : kMethods) {
    if (text == method.name) return method;
  }
  return std::nullopt;
}

std::optional<WhiteBalance> parseBalance(const std::string& text) {
  if (text == "as-shot") return WhiteBalance{Balance::AsShot, {}};
  if (text == "grey-world") return WhiteBalance{Balance::GreyWorld, {}};
  const auto gains = parseList<double, 3>(text, kMinGain, kMaxGain);
  return gains ? std::optional(WhiteBalance{Balance::Given, *gains}) : std::nullopt;
}

std::optional<PictureFormat> parseType(const std::string& text) { return pictureFormatToWrite("x." + text); }

std::optional<int> parseBits(const std::string& text) {
  return text == "8" ? std::optional(8) : text == "16" ? std::optional(16) : std::nullopt;
}

}  // namespace

void addDevelop(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("develop", "Develops raw frames into pictures");
  auto a = std::make_shared<Arguments>();
  command->add_option("FRAMES", a->inputs, "Raw frames: camera raws, TIFF or PGM mosaics, .raw16, .raw12")
      ->required()
      ->type_name("FILE");
  command
      ->add_option("-o,--output", a->output,
                   "The picture (.png, .tif, .ppm); for several frames a directory, or a "
                   "pattern with {} for each frame's name")
      ->required()
      ->type_name("PATH");
  addParsed(*command, "--method", a->method, "Demosaicing: bilinear, gradient (usual), vng, separate",
            "bilinear, gradient, vng or separate", parseMethod)
      ->type_name("NAME");
  addParsed(*command, "--wb", a->balance,
            "White balance: as-shot, grey-world, or factors of red, green and blue; usually "
            "as shot, or grey-world where the file does not tell it",
            "as-shot, grey-world or R,G,B (0.01 to 100)", parseBalance)
      ->type_name("HOW");
  addNumber(*command, "--gamma", a->gamma, 0.1, 10.0, "The curve is the power 1 / gamma (2.2)");
  addParsed(*command, "--bits", a->bits, "Bits of a sample of the picture: 8 (usual) or 16", "8 or 16", parseBits)
      ->type_name("N");
  addParsed(*command, "--type", a->type, "Format of the pictures, whatever their names: png, tif, ppm",
            "png, tif or ppm", parseType)
      ->type_name("NAME");
  addReadOptions(*command, a->read);
  command
      ->add_option("--calibration", a->calibration,
                   "What calibrate dark has measured: its black levels, and neighbours in place of hot pixels")
      ->type_name("FILE");
  command
      ->add_option("--matrix", a->matrix,
                   "A 3x3 matrix for the balanced linear colours: nine numbers by rows, as from lut chart")
      ->type_name("FILE");
  command
      ->add_option("--table", a->table,
                   "A colour table for the finished picture: .cube, or .bin or .txt as from lut; pictures of 16 bits "
                   "go through it with 12")
      ->type_name("FILE");
  command->add_option("--truth", a->truth, "Linear planes without noise as a PPM: tells the PSNR against them")
      ->type_name("FILE");
  command->add_flag("--time", a->time, "Repeat the demosaicing and tell the best time");
  command->add_flag("--force", a->force, "Replace pictures that exist");
  command->callback([a, &chosen] { chosen = [a] { return developAll(*a); }; });
}

}  // namespace quorvel::host
