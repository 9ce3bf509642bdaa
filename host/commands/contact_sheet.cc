// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include <quorvel/quorvel.h>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/colour_file.h"
#include "host/report/charts.h"
#include "host/report/sheet.h"
#include "host/road/road.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string frame, directory, truth, table;
  std::vector<Region> regions;
  ReadOptions read;
  bool force = false;
};

constexpr int kTimedRuns = 9;

// The methods that make pictures, as the page calls them.
constexpr std::array kCompared = {std::pair{kMethods[0], "Bilinear"}, std::pair{kMethods[1], "Gradient-directed"},
                                  std::pair{kMethods[2], "Variable number of gradients"}};

int contactSheet(const Arguments& a) {
  const fs::path directory = a.directory;
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) throw DataError(directory, "cannot be made: " + error.message());
  const PictureFormat format = usualPictureFormat();
  const std::string extension = extensionOf(format);
  OutputFile page(directory / "index.html", a.force), overview(directory / ("overview" + extension), a.force);

  RawFrame frame = readRawFrame(a.frame, a.read);
  Sheet sheet;
  sheet.frame = fs::path(a.frame).filename().string();
  sheet.remarks = fmt::format("{} x {} pixels, developed by quorvel {} with {} kernels.", frame.width, frame.height,
                              quorvelVersion(), quorvelSimdTarget());
  sheet.regions = a.regions.empty() ? frame.regions : a.regions;
  for (const Region& r : sheet.regions) {
    if (std::uint64_t{r.x} + r.width > frame.width || std::uint64_t{r.y} + r.height > frame.height) {
      throw DataError(a.frame, fmt::format("its region {} reaches outside the frame", r.name));
    }
  }
  frame = aboveBlack(std::move(frame));
  std::optional<ColourTable> table;
  if (!a.table.empty()) table = readColourTable(a.table);
  std::optional<Planes> truth;
  if (!a.truth.empty()) truth = readTruth(a.truth, frame);

  Tone tone;
  tone.white = frame.white;
  const auto add = [&](const std::string& name, const std::string& title, Picture picture) -> SheetEntry& {
    SheetEntry& entry = sheet.entries.emplace_back();
    entry.name = name;
    entry.title = title;
    entry.file = name + extension;
    entry.picture = std::move(picture);
    OutputFile out(directory / entry.file, a.force);
    writePicture(out, entry.picture, format);
    out.commit();
    return entry;
  };
  if (frame.asShot) tone.gains = *frame.asShot;
  if (truth) {
    if (!frame.asShot) tone.gains = greyWorld(*truth, frame.white);
    add("truth", "Truth, without noise", finish(*truth, tone));
  }
  for (const auto& [method, title] : kCompared) {
    const Demosaiced done = demosaic(frame, method.method, kTimedRuns);
    if (!frame.asShot && !truth) tone.gains = greyWorld(done.planes, frame.white);
    SheetEntry& entry = add(method.name, title, finish(done.planes, tone));
    entry.megapixelsPerSecond = rate(done.planes, done.seconds);
    if (truth) entry.quality = psnr(*truth, done.planes);
    fmt::print("{:<9} {:7.1f} MP/s{}\n", method.name, *entry.megapixelsPerSecond,
               entry.quality ? "   " + text(*entry.quality) : "");
    if (table && method.method == bayerGradient) {  // what the table makes of it beside what it was
      Picture corrected = throughTable(entry.picture, *table);
      add("table", fmt::format("{}, colour table", title), std::move(corrected));
    }
  }
  if (table) {
    OutputFile plot(directory / ("table-plot" + extension), a.force);
    writePicture(plot, tablePlot(*table), format);
    plot.commit();
    sheet.figures.push_back({"What the colour table does to colours", "table-plot" + extension});
  }
  writePicture(overview, sheetPicture(sheet), format);
  overview.commit();
  const std::string html = sheetPage(sheet);
  page.write(html.data(), html.size());
  page.commit();
  fmt::print("{}: all of them side by side\n", (directory / "index.html").string());
  return kDone;
}

}  // namespace

void addContactSheet(CLI::App& program, Action& chosen) {
  CLI::App* command =
      program.add_subcommand("contact-sheet", "Develops a frame by every method and lays the results side by side");
  auto a = std::make_shared<Arguments>();
  command->add_option("FRAME", a->frame, "A raw frame, as for develop")->required()->type_name("FILE");
  command->add_option("-o,--output", a->directory, "Directory for index.html and its pictures")
      ->required()
      ->type_name("DIR");
  command->add_option("--truth", a->truth, "Linear planes without noise as a PPM, to measure against")
      ->type_name("FILE");
  command->add_option("--table", a->table, "A colour table (.cube, .bin, .txt): what it does, before and behind it")
      ->type_name("FILE");
  const auto addRegion = [a](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const auto region = parseRegion(text);
      if (!region) throw CLI::ValidationError("--crop", fmt::format("'{}' is not NAME=X,Y,WIDTH,HEIGHT", text));
      a->regions.push_back(*region);
    }
  };
  command
      ->add_option_function<std::vector<std::string>>("--crop", addRegion,
                                                      "A part to look at closely, NAME=X,Y,WIDTH,HEIGHT; "
                                                      "may be repeated; usually those that the frame names")
      ->type_name("REGION")
      ->allow_extra_args(false);
  addReadOptions(*command, a->read);
  command->add_flag("--force", a->force, "Replace files that exist");
  command->callback([a, &chosen] { chosen = [a] { return contactSheet(*a); }; });
}

}  // namespace quorvel::host
