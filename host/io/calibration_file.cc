// SPDX-License-Identifier: Apache-2.0
#include "host/io/calibration_file.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace quorvel::host {
namespace {

constexpr char kKind[] = "quorvel dark calibration";
constexpr int kVersion = 1;

// Throws like the parser where a value is missing, of another type, or out of its range.
template <typename T>
T within(const nlohmann::json& value, T low, T high) {
  if (!value.is_number()) throw std::out_of_range("a number is missing");
  const double number = value.get<double>();
  if (!(number >= static_cast<double>(low) && number <= static_cast<double>(high))) {
    throw std::out_of_range("a number is out of its range");
  }
  return static_cast<T>(number);
}

template <typename T>
std::array<T, 4> four(const nlohmann::json& values, T low, T high) {
  if (!values.is_array() || values.size() != 4) throw std::out_of_range("four numbers are missing");
  return {within(values[0], low, high), within(values[1], low, high), within(values[2], low, high),
          within(values[3], low, high)};
}

}  // namespace

std::string calibrationText(const DarkCalibration& c) {
  nlohmann::ordered_json json = {{"kind", kKind},      {"version", kVersion}, {"width", c.width}, {"height", c.height},
                                 {"frames", c.frames}, {"black", c.black},    {"noise", c.noise}};
  auto& hot = json["hot"] = nlohmann::ordered_json::array();
  for (const HotPixel& p : c.hot) hot.push_back({p.x, p.y, p.level});
  return json.dump(1) + "\n";
}

DarkCalibration readCalibration(const fs::path& file) {
  const auto bytes = readFile(file);
  try {
    const auto json = nlohmann::json::parse(bytes.begin(), bytes.end());
    if (!json.is_object() || json.value("kind", nlohmann::json()) != kKind) {
      throw DataError(file, "is not a dark calibration");
    }
    if (json.at("version") != kVersion) throw DataError(file, "is a calibration of a version that is not known here");
    DarkCalibration c;
    c.width = within(json.at("width"), 1u, static_cast<unsigned>(kMaxSide));
    c.height = within(json.at("height"), 1u, static_cast<unsigned>(kMaxSide));
    c.frames = within(json.at("frames"), 1u, 1u << 20);
    c.black = four(json.at("black"), 0, kFullScale - 1);
    c.noise = four(json.at("noise"), 0.0, static_cast<double>(kFullScale));
    for (const auto& p : json.at("hot")) {
      c.hot.push_back(
          {within(p.at(0), 0u, c.width - 1), within(p.at(1), 0u, c.height - 1), within(p.at(2), 0, kFullScale)});
    }
    return c;
  } catch (const nlohmann::json::exception&) {
    throw DataError(file, "is no calibration that makes sense: it is damaged or incomplete");
  } catch (const std::out_of_range& wrong) {
    throw DataError(file, std::string("is no calibration that makes sense: ") + wrong.what());
  }
}

}  // namespace quorvel::host
