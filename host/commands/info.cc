// SPDX-License-Identifier: Apache-2.0
#include <array>

#include <fmt/format.h>
#include <quorvel/quorvel.h>

#include "host/commands/commands.h"
#include "host/error.h"
#include "host/io/formats.h"

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
  fmt::print("formats       PGM, PPM, raw16, raw12\n");
  for (const OptionalFormat& format : optionalFormats()) {
    fmt::print("  {:<12}{}\n", format.name,
               format.version
                   ? fmt::format("{} {}", format.library, *format.version)
                   : fmt::format("not in this build: {} was missing when it was configured", format.library));
  }
  return kDone;
}

}  // namespace

void addInfo(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("info", "Tells version, processor and formats");
  command->callback([&chosen] { chosen = info; });
}

}  // namespace quorvel::host
