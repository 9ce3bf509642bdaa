// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <quorvel/quorvel.h>

#include "host/commands/commands.h"
#include "host/error.h"
#include "host/io/files.h"

namespace quorvel::host {
namespace {

// What was printed may still have nowhere to go.
int afterPrinting(int status) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  fmt::print(stderr, "quorvel: standard output: cannot be written: {}\n", std::generic_category().message(errno));
  return status == kDone ? kDataFailure : status;
}

}  // namespace

int run(std::vector<std::string> arguments) {
  CLI::App program("Develops raw frames of a colour sensor into pictures.", "quorvel");
  program.set_version_flag("--version", std::string("quorvel ") + quorvelVersion());
  program.require_subcommand(1);
  program.footer("Exit status: 0 done, 1 a file or its contents cannot be used, 2 wrong arguments.");
  Action chosen;
  addDevelop(program, chosen);
  addScene(program, chosen);
  addContactSheet(program, chosen);
  addCalibrate(program, chosen);
  addHistogram(program, chosen);
  addReduce(program, chosen);
  addRotate(program, chosen);
  addFit(program, chosen);
  addWarp(program, chosen);
  addJpeg(program, chosen);
  addCompress(program, chosen);
  addExpand(program, chosen);
  addLut(program, chosen);
  addInfo(program, chosen);
  try {
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    program.parse(std::move(arguments));
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) {  // --help or --version
      program.exit(e);
      return afterPrinting(kDone);
    }
    fmt::print(stderr, "quorvel: {} (--help tells more)\n", e.what());
    return kUsageFailure;
  }
  removeUnfinishedOnInterrupt();
  try {
    return afterPrinting(chosen());
  } catch (const DataError& e) {
    fmt::print(stderr, "quorvel: {}\n", e.what());
    return kDataFailure;
  } catch (const UsageError& e) {
    fmt::print(stderr, "quorvel: {} (--help tells more)\n", e.what());
    return kUsageFailure;
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "quorvel: not enough memory\n");
    return kDataFailure;
  } catch (const std::exception& e) {
    fmt::print(stderr, "quorvel: {}\n", e.what());
    return kDataFailure;
  }
}

}  // namespace quorvel::host
