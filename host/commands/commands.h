// SPDX-License-Identifier: Apache-2.0
// The subcommands. Each adds its arguments to the parser; the one that the user names hands back what to do.
#ifndef QUORVEL_HOST_COMMANDS_COMMANDS_H_
#define QUORVEL_HOST_COMMANDS_COMMANDS_H_

#include <functional>

#include <CLI/CLI.hpp>

namespace quorvel::host {

// Does the work and returns the exit status. Throws DataError and UsageError.
using Action = std::function<int()>;

void addScene(CLI::App& program, Action& chosen);
void addDevelop(CLI::App& program, Action& chosen);
void addContactSheet(CLI::App& program, Action& chosen);
void addCalibrate(CLI::App& program, Action& chosen);
void addHistogram(CLI::App& program, Action& chosen);
void addReduce(CLI::App& program, Action& chosen);
void addRotate(CLI::App& program, Action& chosen);
void addFit(CLI::App& program, Action& chosen);
void addWarp(CLI::App& program, Action& chosen);
void addJpeg(CLI::App& program, Action& chosen);
void addCompress(CLI::App& program, Action& chosen);
void addExpand(CLI::App& program, Action& chosen);
void addLut(CLI::App& program, Action& chosen);
void addInfo(CLI::App& program, Action& chosen);

// The whole program, from its arguments in UTF-8 to the exit status; every failure is one line on standard error.
int run(std::vector<std::string> arguments);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_COMMANDS_COMMANDS_H_
