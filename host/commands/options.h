// SPDX-License-Identifier: Apache-2.0
// Options whose values are read strictly, in the words that all subcommands share.
#ifndef QUORVEL_HOST_COMMANDS_OPTIONS_H_
#define QUORVEL_HOST_COMMANDS_OPTIONS_H_

#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "host/io/formats.h"
#include "host/numbers.h"

namespace quorvel::host {

// An option whose text `parse` turns into an optional value; `kind` says what it must be.
template <typename Target, typename Parse>
CLI::Option* addParsed(CLI::App& app, const char* name, Target& target, const char* help, const std::string& kind,
                       Parse parse) {
  const auto read = [&target, parse, kind, name](const std::string& text) {
    const auto value = parse(text);
    if (!value) throw CLI::ValidationError(name, fmt::format("'{}' is not {}", text, kind));
    target = *value;
  };
  return app.add_option_function<std::string>(name, read, help);
}

// A number between `low` and `high`.
template <typename T, typename Target>
CLI::Option* addNumber(CLI::App& app, const char* name, Target& target, T low, T high, const char* help) {
  return addParsed(app, name, target, help, fmt::format("a number from {} to {}", low, high),
                   [low, high](const std::string& text) { return parseNumber<T>(text, low, high); })
      ->type_name("N");
}

// What may be said about frames that do not say it themselves: --format, --width, --height, --phase, --white,
// --black.
void addReadOptions(CLI::App& app, ReadOptions& options);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_COMMANDS_OPTIONS_H_
