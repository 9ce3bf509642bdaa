// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/report/charts.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string frame, csv, plot;
  ReadOptions read;
  bool json = false, force = false;
};

constexpr std::array kColours = {"red", "green", "blue"};

std::string table(const Histogram& h) {
  std::string text = "level,red,green,blue\n";
  for (std::size_t level = 0; level < h.counts[0].size(); ++level) {
    text += fmt::format("{},{},{},{}\n", level, h.counts[0][level], h.counts[1][level], h.counts[2][level]);
  }
  return text;
}

int histogram(const Arguments& a) {
  std::optional<OutputFile> csv, plot;
  if (!a.csv.empty()) csv.emplace(a.csv, a.force);
  if (!a.plot.empty()) {
    if (!pictureFormatToWrite(a.plot)) throw UsageError(a.plot + ": plots are written as .png, .tif or .ppm");
    requireBuilt(*pictureFormatToWrite(a.plot), a.plot);
    plot.emplace(a.plot, a.force);
  }
  const RawFrame frame = readRawFrame(a.frame, a.read);
  const Histogram h = histogramOf(frame);
  if (csv) {
    const std::string text = table(h);
    csv->write(text.data(), text.size());
  }
  if (plot) writePicture(*plot, histogramPlot(h, frame.white), *pictureFormatToWrite(a.plot));
  for (auto* out : {&csv, &plot}) {
    if (*out) (*out)->finish();
  }
  for (auto* out : {&csv, &plot}) {
    if (*out) (*out)->commit();
  }

  nlohmann::ordered_json json;
  for (std::size_t c = 0; c < 3; ++c) {
    const auto s = h.summary(c, frame.white);
    if (a.json) {
      json[kColours[c]] = {{"samples", s.samples}, {"least", s.least},   {"greatest", s.greatest},
                           {"mean", s.mean},       {"median", s.median}, {"saturated", s.saturated}};
    } else {
      fmt::print("{:<6} {:4} to {:4}  mean {:7.1f}  median {:4}  saturated {:.3f} %\n", kColours[c], s.least,
                 s.greatest, s.mean, s.median, 100 * s.saturated);
    }
  }
  if (a.json) fmt::print("{}\n", json.dump(1));
  return kDone;
}

}  // namespace

void addHistogram(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("histogram", "Tells how often each level occurs in a frame, by colour");
  auto a = std::make_shared<Arguments>();
  command->add_option("FRAME", a->frame, "A raw frame, as for develop")->required()->type_name("FILE");
  command->add_option("--csv", a->csv, "File for the counts of all levels")->type_name("FILE");
  command->add_option("--plot", a->plot, "Picture of the histograms (.png, .tif, .ppm)")->type_name("FILE");
  addReadOptions(*command, a->read);
  command->add_flag("--json", a->json, "Print the summary as JSON");
  command->add_flag("--force", a->force, "Replace files that exist");
  command->callback([a, &chosen] { chosen = [a] { return histogram(*a); }; });
}

}  // namespace quorvel::host
