// SPDX-License-Identifier: Apache-2.0
#include "host/io/transform_file.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace quorvel::host {
namespace {

// `count` finite numbers.
std::vector<double> numbers(const nlohmann::json& json, const char* key, std::size_t count, const fs::path& file) {
  const auto found = json.find(key);
  const auto isNumber = [](const nlohmann::json& v) { return v.is_number() && std::isfinite(v.get<double>()); };
  if (found == json.end() || !found->is_array() || found->size() != count ||
      !std::all_of(found->begin(), found->end(), isNumber)) {
    throw DataError(file, fmt::format("needs \"{}\" with {} numbers", key, count));
  }
  return found->get<std::vector<double>>();
}

}  // namespace

Mapping readTransform(const fs::path& file, Size output) {
  const auto bytes = readFile(file);
  const auto json = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
  if (!json.is_object() || !json.contains("model") || !json["model"].is_string()) {
    throw DataError(file, "is not a transformation: it has no \"model\"");
  }
  const std::string model = json["model"];
  if (model == "poly2" || model == "poly3") {
    const int order = model == "poly2" ? 2 : 3;
    return polynomialMapping(order, numbers(json, "coefficients", 2 * polynomialTerms(order), file));
  }
  if (model != "affine" && model != "projective") {
    throw DataError(file, fmt::format("has a model that is not known here: '{}'", model));
  }
  std::vector<double> nine;
  if (json.contains("matrix")) {
    nine = numbers(json, "matrix", 9, file);
  } else if (model == "affine") {
    nine = numbers(json, "coefficients", 6, file);
    nine.insert(nine.end(), {0, 0, 1});
  } else {
    nine = numbers(json, "coefficients", 9, file);
  }
  std::array<double, 9> matrix;
  std::copy(nine.begin(), nine.end(), matrix.begin());
  if (model == "affine" && (matrix[6] != 0 || matrix[7] != 0)) {
    throw DataError(file, "is called affine, but the last row of its matrix is not 0, 0 and a number");
  }
  if (isDegenerate(matrix, output)) throw DataError(file, "takes the whole output to a line, a point or the horizon");
  return projectiveMapping(matrix, output);
}

}  // namespace quorvel::host
