// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/calibration_file.h"
#include "host/report/charts.h"
#include "host/report/progress.h"

namespace quorvel::host {
namespace {

struct DarkArguments {
  std::vector<std::string> frames;
  std::string output;
  ReadOptions read;
  bool json = false, force = false;
};

// A frame that cannot be used ends the run: a calibration from fewer frames than were given would say something else.
int dark(const DarkArguments& a) {
  std::optional<OutputFile> out;
  if (!a.output.empty()) out.emplace(a.output, a.force);
  DarkStudy study;
  Progress progress(a.frames.size());
  for (const fs::path input : a.frames) {
    const RawFrame frame = readRawFrame(input, a.read);
    if (frame.width < 2 || frame.height < 2) throw DataError(input, "is smaller than one 2 x 2 cell");
    if (!study.add(frame)) {
      throw DataError(input, fmt::format("is {} x {}, unlike the frames before it", frame.width, frame.height));
    }
    progress.step(static_cast<double>(frame.width) * frame.height * 1e-6);
  }
  const DarkCalibration c = study.result();
  const std::string file = calibrationText(c);
  if (out) {
    out->write(file.data(), file.size());
    out->commit();
  }
  if (a.json) {
    fmt::print("{}", file);
    return kDone;
  }
  constexpr std::array kSites = {"green (red rows)", "red", "blue", "green (blue rows)"};
  fmt::print("{} frame{} of {} x {}\n", c.frames, c.frames == 1 ? "" : "s", c.width, c.height);
  for (std::size_t site = 0; site < 4; ++site) {
    fmt::print("  {:<18} black {:4}  noise {:6.2f}\n", kSites[site], c.black[site], c.noise[site]);
  }
  fmt::print("  hot pixels {}\n", c.hot.size());
  constexpr std::size_t kShown = 10;
  for (std::size_t i = 0; i < std::min(c.hot.size(), kShown); ++i) {
    fmt::print("    {},{}: {}\n", c.hot[i].x, c.hot[i].y, c.hot[i].level);
  }
  if (c.hot.size() > kShown) fmt::print("    and {} more{}\n", c.hot.size() - kShown, out ? ", in the file" : "");
  if (out) fmt::print("{}: the calibration, for develop --calibration\n", a.output);
  return kDone;
}

struct FocusArguments {
  std::string frame, output;
  std::optional<Region> area;
  unsigned across = 16;
  ReadOptions read;
  bool json = false, force = false;
};

int focus(const FocusArguments& a) {
  std::optional<OutputFile> out;
  if (!a.output.empty()) {
    if (!pictureFormatToWrite(a.output)) throw UsageError(a.output + ": maps are written as .png, .tif or .ppm");
    requireBuilt(*pictureFormatToWrite(a.output), a.output);
    out.emplace(a.output, a.force);
  }
  const RawFrame frame = readRawFrame(a.frame, a.read);
  const Region area = a.area.value_or(Region{"", 0, 0, frame.width, frame.height});
  if (std::uint64_t{area.x} + area.width > frame.width || std::uint64_t{area.y} + area.height > frame.height) {
    throw DataError(a.frame, fmt::format("is {} x {}: the rectangle reaches outside", frame.width, frame.height));
  }
  if (area.width < 2 || area.height < 2) throw DataError(a.frame, "the rectangle is smaller than one 2 x 2 cell");
  const FocusGrid grid = focusGrid(frame, area, a.across);
  if (out) {
    writePicture(*out, heatMap(grid), *pictureFormatToWrite(a.output));
    out->commit();
  }
  if (a.json) {
    const nlohmann::ordered_json json = {{"x", area.x},
                                         {"y", area.y},
                                         {"width", area.width},
                                         {"height", area.height},
                                         {"columns", grid.columns},
                                         {"rows", grid.rows},
                                         {"focus", grid.fields}};
    fmt::print("{}\n", json.dump());
    return kDone;
  }
  const auto best =
      static_cast<unsigned>(std::max_element(grid.fields.begin(), grid.fields.end()) - grid.fields.begin());
  fmt::print("{} x {} fields: focus {:.4f} to {:.4f}, mean {:.4f}\n", grid.columns, grid.rows, grid.least(),
             grid.greatest(), grid.mean());
  fmt::print("  sharpest: column {}, row {}\n", best % grid.columns, best / grid.columns);
  if (out) fmt::print("{}: the map\n", a.output);
  return kDone;
}

std::optional<Region> parseRectangle(const std::string& text) { return parseRegion("area=" + text); }

}  // namespace

void addCalibrate(CLI::App& program, Action& chosen) {
  CLI::App* calibrate = program.add_subcommand("calibrate", "Measures a sensor or a lens");
  calibrate->require_subcommand(1);

  CLI::App* command = calibrate->add_subcommand("dark",
                                                "Black level and noise of each site, and hot pixels, from frames "
                                                "taken in the dark");
  auto d = std::make_shared<DarkArguments>();
  command->add_option("FRAMES", d->frames, "Dark frames of one size")->required()->type_name("FILE");
  command->add_option("-o,--output", d->output, "File for the calibration (JSON), for develop")->type_name("FILE");
  addReadOptions(*command, d->read);
  command->add_flag("--json", d->json, "Print the calibration itself");
  command->add_flag("--force", d->force, "Replace a file that exists");
  command->callback([d, &chosen] { chosen = [d] { return dark(*d); }; });

  command = calibrate->add_subcommand("focus", "The focus measure over a grid of fields");
  auto f = std::make_shared<FocusArguments>();
  command->add_option("FRAME", f->frame, "A raw frame")->required()->type_name("FILE");
  command->add_option("-o,--output", f->output, "Picture of the map (.png, .tif, .ppm)")->type_name("FILE");
  addParsed(*command, "--rect", f->area, "The part to measure, instead of the whole frame", "X,Y,WIDTH,HEIGHT",
            [](const std::string& text) { return parseRectangle(text); })
      ->type_name("X,Y,W,H");
  addNumber(*command, "--across", f->across, 1u, 256u, "Fields in a row (16)");
  addReadOptions(*command, f->read);
  command->add_flag("--json", f->json, "Print every field");
  command->add_flag("--force", f->force, "Replace a file that exists");
  command->callback([f, &chosen] { chosen = [f] { return focus(*f); }; });
}

}  // namespace quorvel::host
