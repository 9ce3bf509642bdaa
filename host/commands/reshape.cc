// SPDX-License-Identifier: Apache-2.0
// The subcommands that make a raw frame out of a raw frame: reduce and rotate.
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/road/reshape.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string frame, output;
  unsigned factor = 2;
  ReadOptions read;
  bool json = false, force = false;
};

void addCommon(CLI::App& command, Arguments& a) {
  command.add_option("FRAME", a.frame, "A raw frame, as for develop")->required()->type_name("FILE");
  command.add_option("-o,--output", a.output, "The new frame: .pgm, .tif, .raw16 or .raw12")
      ->required()
      ->type_name("FILE");
  addReadOptions(command, a.read);
  command.add_flag("--json", a.json, "Tell what was made as JSON");
  command.add_flag("--force", a.force, "Replace a file that exists");
}

template <typename Step>
int reshape(const Arguments& a, Step step) {
  const auto format = rawFormatToWrite(a.output);
  if (!format) throw UsageError(a.output + ": frames are written as .pgm, .tif, .raw16 or .raw12");
  requireBuilt(*format, a.output);
  std::error_code error;
  if (fs::equivalent(a.frame, a.output, error)) throw DataError(a.output, "is the frame itself");
  OutputFile out(a.output, a.force);
  const RawFrame frame = readRawFrame(a.frame, a.read);
  const std::optional<RawFrame> made = step(frame);
  if (!made) throw DataError(a.frame, fmt::format("is {} x {}, too small for this", frame.width, frame.height));
  writeRawFrame(out, *made, *format);
  out.commit();
  if (a.json) {
    const nlohmann::ordered_json json = {
        {"frame", a.frame}, {"output", a.output}, {"width", made->width}, {"height", made->height}};
    fmt::print("{}\n", json.dump());
  } else {
    fmt::print("{} -> {}: {} x {}\n", a.frame, a.output, made->width, made->height);
  }
  return kDone;
}

}  // namespace

void addReduce(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("reduce", "Makes a frame smaller by 2, 4 or 8; it stays a raw frame");
  auto a = std::make_shared<Arguments>();
  addCommon(*command, *a);
  addParsed(*command, "-x,--factor", a->factor, "How many times smaller: 2 (usual), 4 or 8", "2, 4 or 8",
            [](const std::string& text) -> std::optional<unsigned> {
              const auto factor = parseNumber(text, 2u, 8u);
              return factor && (*factor & (*factor - 1)) == 0 ? factor : std::nullopt;
            })
      ->type_name("N");
  command->callback([a, &chosen] {
    chosen = [a] { return reshape(*a, [&](const RawFrame& frame) { return reduced(frame, a->factor); }); };
  });
}

void addRotate(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("rotate",
                                             "Turns a frame by 180 degrees. Its first row and column may go, so that "
                                             "the colours stand in their usual order again");
  auto a = std::make_shared<Arguments>();
  addCommon(*command, *a);
  command->callback([a, &chosen] { chosen = [a] { return reshape(*a, turned); }; });
}

}  // namespace quorvel::host
