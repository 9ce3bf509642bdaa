// SPDX-License-Identifier: Apache-2.0
// The subcommand that finds transformations from measured places.
#include <memory>

#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/library_text.h"
#include "host/report/residual_plot.h"
#include "host/road/fit.h"

namespace quorvel::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array kModels = {Model::Affine, Model::Projective, Model::Poly2, Model::Poly3};
constexpr std::size_t kMostPhotos = 200;

// One of the models, or the block.
struct Choice {
  std::optional<Model> model;
};

struct Arguments {
  std::string points, output, plot, reference;
  std::optional<Choice> choice;
  RobustSettings settings;
  bool json = false, force = false;
};

// A residual as reports list it.
struct Listed {
  std::size_t line;
  std::string place;  // what the line measures
};

Json transformOf(Model model, const Coefficients& c) {
  Json json = {{"model", nameOf(model)}, {model == Model::Projective ? "matrix" : "coefficients", c.values}};
  if (c.covariance.empty()) return json;
  const std::size_t n = c.values.size();
  for (std::size_t i = 0; i < n; ++i) json["deviations"].push_back(c.deviation(i));
  for (std::size_t i = 0; i < n; ++i) {
    json["covariance"].push_back(std::vector(&c.covariance[i * n], &c.covariance[i * n] + n));
  }
  return json;
}

constexpr const char* kNoRedundancy = "no point more than the model needs: errors cannot show";

// Deviations of 0 would say that all is exact: without redundancy nothing is known of them.
void addSigma(Json& json, const Quality& q) {
  if (q.redundancy > 0) {
    json["sigma"] = q.sigma;
  } else {
    json["note"] = kNoRedundancy;
  }
}

Json qualityOf(const Quality& q) {
  const auto outliers = std::count(q.outliers.begin(), q.outliers.end(), true);
  Json json = {
      {"points", q.residuals.size()}, {"used", q.used}, {"outliers", outliers}, {"rms", q.rms}, {"largest", q.largest}};
  addSigma(json, q);
  json["redundancy"] = q.redundancy;
  json["rounds"] = q.rounds;
  return json;
}

// One line; names in it may be of any bytes.
std::string dumped(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

void printQuality(const Arguments& a, std::string_view what, const Quality& q, const std::vector<Listed>& listed) {
  fmt::print("{}: {}, {} of {} points, rms {:.4g} px, largest {:.4g} px{}\n", a.points, what, q.used,
             q.residuals.size(), q.rms, q.largest, q.redundancy > 0 ? fmt::format(", sigma {:.4g} px", q.sigma) : "");
  constexpr std::size_t kShown = 10;
  std::size_t outliers = 0;
  for (std::size_t i = 0; i < listed.size(); ++i) {
    if (!q.outliers[i] || ++outliers > kShown) continue;
    fmt::print("  outlier: line {}, {}: {:.2f}, {:.2f} px off\n", listed[i].line, listed[i].place, q.residuals[i].x,
               q.residuals[i].y);
  }
  if (outliers > kShown) fmt::print("  and {} more outliers\n", outliers - kShown);
  for (std::size_t i = 0; i < listed.size(); ++i) {
    if (q.weights[i] > 0 || q.outliers[i]) continue;
    fmt::print("  compared: line {}, {}: {:.2f}, {:.2f} px off\n", listed[i].line, listed[i].place, q.residuals[i].x,
               q.residuals[i].y);
  }
  if (q.redundancy <= 0) fmt::print("  {}, and deviations are not known\n", kNoRedundancy);
}

void printCoefficients(const Coefficients& c) {
  for (std::size_t i = 0; i < c.values.size(); ++i) {
    fmt::print("    {:<24}", fmt::format("{:.12g}", c.values[i]));
    if (c.covariance.empty()) {
      fmt::print("\n");
    } else {
      fmt::print(" +- {:.3g}\n", c.deviation(i));
    }
  }
}

// The files of a run, all of which are finished before the first gets its name.
class Outputs {
 public:
  Outputs(const Arguments& a) : a_(a) {}

  void text(const fs::path& file, const std::string& text) {
    files_.push_back(std::make_unique<OutputFile>(file, a_.force));
    files_.back()->write(text.data(), text.size());
    files_.back()->finish();
  }
  void plot(const std::vector<ResidualMark>& marks, const std::string& title) {
    if (a_.plot.empty()) return;
    files_.push_back(std::make_unique<OutputFile>(a_.plot, a_.force));
    writePicture(*files_.back(), residualPlot(marks, title), *pictureFormatToWrite(a_.plot));
    files_.back()->finish();
  }
  void commit() {
    for (const auto& file : files_) file->commit();
  }

 private:
  const Arguments& a_;
  std::vector<std::unique_ptr<OutputFile>> files_;
};

std::string titleOf(std::string_view what, const Quality& q) {
  return fmt::format("{}  {} OF {} POINTS  RMS {:.4g}", what, q.used, q.residuals.size(), q.rms);
}

int fitPoints(const Arguments& a, Model model) {
  requireWritable(a.output, a.force);
  const auto points = readTiePoints(a.points);
  const Fit fit = fitTransform(points, model, a.settings);
  const Quality& q = fit.quality;
  Json file = transformOf(model, fit.coefficients);
  file.update(qualityOf(q));
  std::vector<ResidualMark> marks;
  std::vector<Listed> listed;
  Json residuals = Json::array();
  for (std::size_t i = 0; i < points.size(); ++i) {
    const TiePoint& p = points[i];
    marks.push_back({p.output, q.residuals[i], p.weight > 0 ? 0u : 1u, q.weights[i] > 0, q.outliers[i]});
    listed.push_back({p.line, fmt::format("{:g}, {:g}", p.output.x, p.output.y)});
    residuals.push_back(
        {{"line", p.line}, {"x", q.residuals[i].x}, {"y", q.residuals[i].y}, {"outlier", bool{q.outliers[i]}}});
  }
  Outputs outputs(a);
  outputs.text(a.output, file.dump(1) + "\n");
  outputs.plot(marks, titleOf(nameOf(model), q));
  outputs.commit();
  if (a.json) {
    file["output"] = a.output;
    file["residuals"] = residuals;
    fmt::print("{}\n", dumped(file));
    return kDone;
  }
  printQuality(a, nameOf(model), q, listed);
  printCoefficients(fit.coefficients);
  fmt::print("{}: the transformation, for warp --transform\n", a.output);
  return kDone;
}

fs::path photoFile(const fs::path& output, const std::string& photo) {
  return output.parent_path() / fs::path(output.stem().string() + "-" + photo + output.extension().string());
}

int fitPhotos(const Arguments& a) {
  const Sightings sightings = readSightings(a.points);
  if (sightings.photos.size() > kMostPhotos)
    throw DataError(a.points, fmt::format("has more than {} photos", kMostPhotos));
  std::size_t reference = 0;
  if (!a.reference.empty()) {
    const auto found = std::find(sightings.photos.begin(), sightings.photos.end(), a.reference);
    if (found == sightings.photos.end())
      throw DataError(a.points, fmt::format("has no photo '{}'", shown(a.reference)));
    reference = static_cast<std::size_t>(found - sightings.photos.begin());
  }
  for (const auto& photo : sightings.photos) {
    const fs::path file = photoFile(a.output, photo);
    requireWritable(file, a.force);
    std::error_code error;
    for (const std::string& other : {a.points, a.plot}) {
      if (file == other || fs::equivalent(file, other, error))
        throw UsageError(file.string() + ": is another file of this run");
    }
  }
  const Block block = fitBlock(sightings, reference, a.settings);
  const Quality& q = block.quality;
  const std::string what = fmt::format("block of {} photos", block.photos.size());
  std::vector<ResidualMark> marks;
  std::vector<Listed> listed;
  Json residuals = Json::array(), photos = Json::array();
  for (std::size_t t = 0; t < block.tied.size(); ++t) {
    const Sighting& s = sightings.all[block.tied[t]];
    const std::string &photo = sightings.photos[s.photo], &point = sightings.points[s.point];
    marks.push_back({block.places[s.point], q.residuals[t], s.photo, q.weights[t] > 0, q.outliers[t]});
    listed.push_back({s.line, fmt::format("'{}' in '{}'", shown(point), photo)});
    residuals.push_back({{"line", s.line},
                         {"photo", photo},
                         {"point", point},
                         {"x", q.residuals[t].x},
                         {"y", q.residuals[t].y},
                         {"outlier", bool{q.outliers[t]}}});
  }
  Outputs outputs(a);
  for (const Block::Photo& photo : block.photos) {
    const fs::path file = photoFile(a.output, photo.name);
    Json json = transformOf(Model::Affine, photo.coefficients);
    json.update(Json{{"photo", photo.name},
                     {"reference", block.photos[reference].name},
                     {"used", photo.used},
                     {"outliers", photo.outliers},
                     {"rms", photo.rms}});
    addSigma(json, q);
    outputs.text(file, json.dump(1) + "\n");
    json["output"] = file.string();
    photos.push_back(json);
  }
  outputs.plot(marks, titleOf(what, q));
  outputs.commit();
  const std::size_t single = sightings.all.size() - block.tied.size();
  if (a.json) {
    Json json = {{"model", "bundle-lite"}, {"reference", block.photos[reference].name}, {"single", single}};
    json.update(qualityOf(q));
    json["photos"] = photos;
    json["residuals"] = residuals;
    fmt::print("{}\n", dumped(json));
    return kDone;
  }
  printQuality(a, what, q, listed);
  if (single > 0) fmt::print("  {} points are in one photo only and were left out\n", single);
  for (const Block::Photo& photo : block.photos) {
    fmt::print("  {}: {} points, rms {:.4g} px{}\n", photo.name, photo.used, photo.rms,
               &photo == &block.photos[reference] ? ", the reference" : "");
    printCoefficients(photo.coefficients);
    fmt::print("  {}: its transformation, for warp --transform\n", photoFile(a.output, photo.name).string());
  }
  return kDone;
}

int fit(const Arguments& a) {
  const bool block = !a.choice->model;
  if (!block && !a.reference.empty()) throw UsageError("--reference belongs to --model bundle-lite");
  std::error_code error;
  if (fs::equivalent(a.points, a.output, error)) throw DataError(a.output, "is the file of the points itself");
  if (!a.plot.empty()) {
    if (a.plot == a.output) throw UsageError("--plot and --output are the same file");
    if (fs::equivalent(a.points, a.plot, error)) throw DataError(a.plot, "is the file of the points itself");
    if (!pictureFormatToWrite(a.plot)) throw UsageError(a.plot + ": plots are written as .png, .tif or .ppm");
    requireBuilt(*pictureFormatToWrite(a.plot), a.plot);
    requireWritable(a.plot, a.force);
  }
  try {
    return block ? fitPhotos(a) : fitPoints(a, *a.choice->model);
  } catch (const FitError& wrong) {
    throw DataError(a.points, wrong.what());
  } catch (const CMatErrorM& wrong) {
    throw DataError(a.points, libraryText(static_cast<matErrorCode>(wrong.code)));
  }
}

}  // namespace

void addFit(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand(
      "fit",
      "Fits a transformation to tie points, for warp --transform. Outliers are found by iterated reweighting (Huber's "
      "weights, then Tukey's) and left out");
  auto a = std::make_shared<Arguments>();
  command
      ->add_option("POINTS", a->points,
                   "A CSV file. Lines x,y,X,Y or x,y,X,Y,weight: a place of the output and the place of the source "
                   "that belongs there, in pixels, (0, 0) being the upper left corner; points of weight 0 are only "
                   "compared. For bundle-lite lines photo,point,x,y: where a photo shows a point")
      ->required()
      ->type_name("FILE");
  constexpr const char* kNames = "affine, projective, poly2, poly3 or bundle-lite";
  addParsed(*command, "--model", a->choice,
            "affine (3 points at least), projective (4), poly2 (6), poly3 (10), or bundle-lite: affine transformations "
            "of several photos to one of them, at once, from points that they share",
            kNames,
            [](const std::string& text) -> std::optional<Choice> {
              if (text == "bundle-lite") return Choice{};
              for (const Model model : kModels) {
                if (text == nameOf(model)) return Choice{model};
              }
              return std::nullopt;
            })
      ->required()
      ->type_name("NAME");
  command
      ->add_option("-o,--output", a->output,
                   "File for the transformation (JSON); for bundle-lite one a photo, T.json becoming T-PHOTO.json")
      ->required()
      ->type_name("FILE");
  command->add_option("--plot", a->plot, "Picture of the residuals (.png, .tif, .ppm)")->type_name("FILE");
  command
      ->add_option("--reference", a->reference,
                   "bundle-lite: the photo whose pixels the others are brought to; usually the first in the file")
      ->type_name("PHOTO");
  addParsed(*command, "--loss", a->settings.robust,
            "tukey (usual): residuals beyond the tuning constant are outliers; none: plain least squares",
            "tukey or none",
            [](const std::string& text) -> std::optional<bool> {
              return text == "tukey" || text == "none" ? std::optional(text == "tukey") : std::nullopt;
            })
      ->type_name("NAME");
  addNumber(*command, "--tuning", a->settings.tuning, 2.0, 100.0,
            "Tuning constant of the loss, in standard deviations of a coordinate (4.685)");
  command->add_flag("--json", a->json, "Tell all of the fit as JSON");
  command->add_flag("--force", a->force, "Replace files that exist");
  command->callback([a, &chosen] { chosen = [a] { return fit(*a); }; });
}

}  // namespace quorvel::host
