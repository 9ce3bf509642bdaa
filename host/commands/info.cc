// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <memory>

#include <fmt/format.h>
#include <quorvel/quorvel.h>

#include "host/commands/commands.h"
#include "host/error.h"
#include "host/io/formats.h"
#include "host/io/jpeg.h"
#include "host/io/qvb.h"

namespace quorvel::host {
namespace {

int info() {
  struct Query {
    const char* name;
    int (*ask)();
  };
  constexpr std::array kQueries = {Query{"CPUID", isCPUID},  Query{"MMX", isMMX},       Query{"EMMX", isEMMX},
                                   Query{"SSE", isSSE},      Query{"SSE2", isSSE2},     Query{"EMMX (AMD)", isEMMXamd},
                                   Query{"3DNow!", is3DNow}, Query{"E3DNow!", isE3DNow}};
  std::string has;
  for (const Query& query : kQueries) {
    if (query.ask() != 0) has += fmt::format("{}{}", has.empty() ? "" : ", ", query.name);
  }
  char vendor[16] = {};
  cpuId(vendor);
  int family = 0, model = 0, stepping = 0;
  cpuID(&family, &model, &stepping);

  fmt::print("quorvel {}\n", quorvelVersion());
  fmt::print("processor     {} family {} model {} stepping {}\n", vendor[0] != 0 ? vendor : "(no vendor string)",
             family, model, stepping);
  fmt::print("  has         {}\n", has.empty() ? "none of the extensions asked for" : has);
  fmt::print("kernels       {}\n", quorvelSimdTarget());
  fmt::print("formats       PGM, PPM, raw16, raw12, qvb, JPEG\n");
  for (const OptionalFormat& format : optionalFormats()) {
    fmt::print("  {:<12}{}\n", format.name,
               format.version
                   ? fmt::format("{} {}", format.library, *format.version)
                   : fmt::format("not in this build: {} was missing when it was configured", format.library));
  }
  return kDone;
}

void print(const char* what, const std::string& value) { fmt::print("{:<14}{}\n", what, value); }

int infoOfJpeg(ByteSpan bytes, const fs::path& file) {
  const JpegCoefficients image = readJpegHeader(bytes, file);
  constexpr std::array kColours = {"grey", "YCbCr, full resolution", "RGB"};
  print("format", "baseline JPEG");
  print("size", fmt::format("{} x {}", image.width, image.height));
  print("colour", kColours[static_cast<std::size_t>(image.colour)]);
  for (const JpegComponent& component : image.components) {
    print("steps", fmt::format("{} ... {}", fmt::join(component.steps.begin(), component.steps.begin() + 6, " "),
                               component.steps.back()));
  }
  print("restarts", image.restartInterval == 0 ? "none" : fmt::format("every {} blocks", image.restartInterval));
  return kDone;
}

int infoOfQvb(ByteSpan bytes, const fs::path& file) {
  const QvbHeader header = readQvbHeader(bytes, file);
  const bool lossless = header.form == QvbForm::Lossless;
  print("format", "compressed raw frame");
  print("size", fmt::format("{} x {}", header.grid.width, header.grid.height));
  print("pattern", lettersOf(header.phase));
  print("quality", lossless ? "lossless" : fmt::format("{}", header.quality));
  print("strips", fmt::format("{} of {} rows", header.grid.strips, 2 * header.grid.stripRows));
  print("bits a sample",
        fmt::format("{:.3f}", 8.0 * static_cast<double>(bytes.size()) / header.grid.width / header.grid.height));
  fmt::print("{}", header.notes);
  const ExpandedFrame frame = expanded(bytes, file);
  print("condition", !frame.damaged       ? "whole"
                     : frame.lost.empty() ? "damaged, no row lost"
                                          : "damaged, lost " + textOf(frame.lost));
  return frame.damaged ? kDataFailure : kDone;
}

int infoOfFile(const fs::path& file) {
  const std::vector<std::uint8_t> bytes = readFile(file);
  if (looksLikeJpeg(bytes)) return infoOfJpeg(bytes, file);
  if (looksLikeQvb(bytes) || isQvbName(file)) return infoOfQvb(bytes, file);
  throw DataError(file, "is neither a .qvb nor a JPEG file");
}

}  // namespace

void addInfo(CLI::App& program, Action& chosen) {
  CLI::App* command =
      program.add_subcommand("info", "Tells version, processor and formats, or what a .qvb or JPEG file holds");
  auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "The .qvb or .jpg file")->type_name("FILE");
  command->callback([file, &chosen] { chosen = [file] { return file->empty() ? info() : infoOfFile(*file); }; });
}

}  // namespace quorvel::host
