// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/colour_file.h"
#include "host/report/charts.h"
#include "host/road/road.h"

namespace quorvel::host {
namespace {

TableFormat formatToWrite(const std::string& name) {
  const auto format = tableFormat(name);
  if (!format) throw UsageError(name + ": colour tables are written as .bin or .txt");
  return *format;
}

void tell(const std::string& name, const ColourTable& table) {
  const TableSummary s = summaryOf(table);
  fmt::print("{}: moves colours by {:.2f} on the mean, by {:.2f} at most\n", name, s.meanMove, s.greatestMove);
}

struct ConvertArguments {
  std::string input, output;
  bool force = false;
};

int convert(const ConvertArguments& a) {
  const TableFormat format = formatToWrite(a.output);
  OutputFile out(a.output, a.force);
  const ColourTable table = readColourTable(a.input);
  writeColourTable(out, table, format);
  out.commit();
  tell(a.output, table);
  return kDone;
}

struct ChartArguments {
  std::string measured, reference, output, matrix;
  double strength = 1;
  bool force = false;
};

int chart(const ChartArguments& a) {
  if (a.output.empty() && a.matrix.empty()) throw UsageError("--output, --matrix or both are wanted");
  std::optional<OutputFile> out, matrixOut;
  TableFormat format = TableFormat::Binary;
  if (!a.output.empty()) {
    format = formatToWrite(a.output);
    out.emplace(a.output, a.force);
  }
  if (!a.matrix.empty()) matrixOut.emplace(a.matrix, a.force);
  const Patches measured = readPatches(a.measured), reference = readPatches(a.reference);
  if (measured.size() != reference.size()) {
    throw DataError(a.measured, fmt::format("has {} patches, the reference has {}", measured.size(), reference.size()));
  }
  constexpr std::size_t kMostPatches = 1024;
  if (measured.size() > kMostPatches)
    throw DataError(a.measured, fmt::format("has more than {} patches", kMostPatches));
  const auto matrix = leastSquares(measured, reference);
  if (!matrix) throw DataError(a.measured, "its patches are too few or too much alike to tell a matrix");
  Patches byMatrix, byTable;
  const ChartCorrection correction(measured, reference, *matrix, a.strength);
  for (const Rgb& patch : measured) {
    byMatrix.push_back(*matrix * patch);
    byTable.push_back(correction(patch));
  }
  fmt::print("{} patches, root mean square distance from the reference\n", measured.size());
  fmt::print("  as measured {:7.3f}\n  by matrix   {:7.3f}\n  by table    {:7.3f}\n", meanError(measured, reference),
             meanError(byMatrix, reference), meanError(byTable, reference));
  // All files are whole before the first stands under its name.
  std::optional<ColourTable> table;
  if (out) {
    table = tableOf(correction);
    writeColourTable(*out, *table, format);
    out->finish();
  }
  if (matrixOut) {
    writeMatrix(*matrixOut, *matrix);
    matrixOut->commit();
  }
  if (out) {
    out->commit();
    tell(a.output, *table);
  }
  return kDone;
}

struct MeasureArguments {
  std::string frame, output;
  std::optional<Region> area;
  std::array<unsigned, 2> grid = {6, 4};
  double gamma = 2.2;
  ReadOptions read;
  bool force = false;
};

int measure(const MeasureArguments& a) {
  OutputFile out(a.output, a.force);
  RawFrame frame = aboveBlack(readRawFrame(a.frame, a.read));
  const Region area = a.area.value_or(Region{"", 0, 0, frame.width, frame.height});
  if (std::uint64_t{area.x} + area.width > frame.width || std::uint64_t{area.y} + area.height > frame.height) {
    throw DataError(a.frame, fmt::format("is {} x {}: the rectangle reaches outside", frame.width, frame.height));
  }
  if (area.width < 4 * a.grid[0] || area.height < 4 * a.grid[1]) {
    throw DataError(a.frame, "the rectangle has fewer than 4 x 4 pixels a patch");
  }
  const Planes planes = demosaic(frame, bayerGradient).planes;
  const Gains gains = frame.asShot ? *frame.asShot : greyWorld(planes, frame.white);
  const Patches patches = patchMeans(finish(planes, {gains, frame.white, a.gamma, 8}), area, a.grid[0], a.grid[1]);
  writePatches(out, patches);
  out.commit();
  fmt::print("{}: {} patches\n", a.output, patches.size());
  return kDone;
}

struct InfoArguments {
  std::string table, plot;
  bool json = false, force = false;
};

int info(const InfoArguments& a) {
  std::optional<OutputFile> out;
  if (!a.plot.empty()) {
    if (!pictureFormatToWrite(a.plot)) throw UsageError(a.plot + ": plots are written as .png, .tif or .ppm");
    requireBuilt(*pictureFormatToWrite(a.plot), a.plot);
    out.emplace(a.plot, a.force);
  }
  const ColourTable table = readColourTable(a.table);
  const TableSummary s = summaryOf(table);
  if (out) {
    writePicture(*out, tablePlot(table), *pictureFormatToWrite(a.plot));
    out->commit();
  }
  if (a.json) {
    const nlohmann::ordered_json json = {{"levels", kTableLevels},         {"meanMove", s.meanMove},
                                         {"greatestMove", s.greatestMove}, {"least", s.least},
                                         {"greatest", s.greatest},         {"limitedCells", s.limited}};
    fmt::print("{}\n", json.dump());
    return kDone;
  }
  tell(a.table, table);
  fmt::print("  values {:.2f} to {:.2f}, {:.2f} to {:.2f}, {:.2f} to {:.2f}\n", s.least[0], s.greatest[0], s.least[1],
             s.greatest[1], s.least[2], s.greatest[2]);
  fmt::print("  cells that an end of the range limits: {} of {}\n", s.limited, kTableCells);
  if (out) fmt::print("{}: the plot\n", a.plot);
  return kDone;
}

}  // namespace

void addLut(CLI::App& program, Action& chosen) {
  CLI::App* lut = program.add_subcommand("lut", "Makes, inspects and converts colour tables, for develop --table");
  lut->require_subcommand(1);

  CLI::App* command = lut->add_subcommand("convert", "A colour table in another format");
  auto c = std::make_shared<ConvertArguments>();
  command->add_option("TABLE", c->input, "A .cube file, or the library's .bin or .txt")->required()->type_name("FILE");
  command->add_option("-o,--output", c->output, "The table as .bin or .txt")->required()->type_name("FILE");
  command->add_flag("--force", c->force, "Replace a file that exists");
  command->callback([c, &chosen] { chosen = [c] { return convert(*c); }; });

  command = lut->add_subcommand("chart",
                                "A matrix and a smooth table from a chart: its patches as measured and as "
                                "they should be");
  auto h = std::make_shared<ChartArguments>();
  command->add_option("MEASURED", h->measured, "Red, green, blue of each patch (0 to 255), a line each")
      ->required()
      ->type_name("FILE");
  command->add_option("REFERENCE", h->reference, "The same of the same patches as they should be")
      ->required()
      ->type_name("FILE");
  command->add_option("-o,--output", h->output, "The table as .bin or .txt: for measurements of developed pictures")
      ->type_name("FILE");
  command->add_option("--matrix", h->matrix, "The matrix alone, for develop --matrix: for linear measurements")
      ->type_name("FILE");
  addNumber(*command, "--strength", h->strength, 0.0, 1.0,
            "How much of what the matrix leaves over the table makes up for (1)");
  command->add_flag("--force", h->force, "Replace files that exist");
  command->callback([h, &chosen] { chosen = [h] { return chart(*h); }; });

  command = lut->add_subcommand("measure", "The colours of a chart's patches in a raw frame");
  auto m = std::make_shared<MeasureArguments>();
  command->add_option("FRAME", m->frame, "A raw frame")->required()->type_name("FILE");
  command->add_option("-o,--output", m->output, "The measurements, for lut chart")->required()->type_name("FILE");
  addParsed(*command, "--rect", m->area, "The chart in the frame, patches from edge to edge", "X,Y,WIDTH,HEIGHT",
            [](const std::string& text) { return parseRegion("area=" + text); })
      ->type_name("X,Y,W,H");
  addParsed(*command, "--grid", m->grid, "Patches in a row and in a column (6,4)", "two numbers from 1 to 64",
            [](const std::string& text) { return parseList<unsigned, 2>(text, 1, 64); })
      ->type_name("N,N");
  addNumber(*command, "--gamma", m->gamma, 0.1, 10.0, "The curve is the power 1 / gamma (2.2); 1 measures linearly");
  addReadOptions(*command, m->read);
  command->add_flag("--force", m->force, "Replace a file that exists");
  command->callback([m, &chosen] { chosen = [m] { return measure(*m); }; });

  command = lut->add_subcommand("info", "What a colour table does");
  auto i = std::make_shared<InfoArguments>();
  command->add_option("TABLE", i->table, "A .cube file, or the library's .bin or .txt")->required()->type_name("FILE");
  command->add_option("--plot", i->plot, "Picture of how its grid is moved (.png, .tif, .ppm)")->type_name("FILE");
  command->add_flag("--json", i->json, "Print it as JSON");
  command->add_flag("--force", i->force, "Replace a file that exists");
  command->callback([i, &chosen] { chosen = [i] { return info(*i); }; });
}

}  // namespace quorvel::host
