// SPDX-License-Identifier: Apache-2.0
#include "host/scene/scene.h"

#include <memory>

#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/io/pnm.h"
#include "host/road/road.h"

namespace quorvel::host {
namespace {

struct Arguments {
  std::string out;
  SceneSettings settings;
  bool force = false;
};

Picture pictureOf(const Planes& truth) {
  Picture picture;
  picture.width = truth.width;
  picture.height = truth.height;
  picture.maximum = static_cast<unsigned>(kFullScale);
  std::vector<std::uint16_t> samples(3 * truth.colour[0].size());
  copy16_3_1(truth.colour[0].data(), truth.colour[1].data(), truth.colour[2].data(), samples.data(),
             static_cast<unsigned>(truth.colour[0].size()));
  picture.samples = std::move(samples);
  return picture;
}

int scene(const Arguments& a) {
  const auto format = rawFormatToWrite(a.out);
  if (!format) throw UsageError(a.out + ": frames are written as .pgm, .tif, .raw16 or .raw12");
  requireBuilt(*format, a.out);
  const PictureFormat viewFormat = usualPictureFormat();
  const fs::path truthName = fs::path(a.out).replace_extension(".truth.ppm");
  const fs::path viewName = fs::path(a.out).replace_extension(std::string(".view") + extensionOf(viewFormat));
  OutputFile frameFile(a.out, a.force), truthFile(truthName, a.force), viewFile(viewName, a.force);

  const Scene scene = renderScene(a.settings);
  const RawFrame& frame = scene.frame;
  writeRawFrame(frameFile, frame, *format);
  writePpm(truthFile, pictureOf(scene.truth));
  writePicture(viewFile, finish(scene.truth, {*frame.asShot, static_cast<int>(kCountsAtWhite), 2.2, 8}), viewFormat);
  for (OutputFile* file : {&frameFile, &truthFile, &viewFile}) file->finish();
  truthFile.commit();
  viewFile.commit();
  frameFile.commit();  // last: where the frame is, its truth is

  fmt::print("{}: {} x {}, 12 bits, seed {}\n", a.out, frame.width, frame.height, a.settings.seed);
  fmt::print("  black {}, white {}, as-shot balance {:.3f}\n", fmt::join(frame.black, ","), frame.white,
             fmt::join(*frame.asShot, ","));
  for (const Region& r : frame.regions) {
    fmt::print("  region {}={},{},{},{}\n", r.name, r.x, r.y, r.width, r.height);
  }
  fmt::print("{}: the same without noise, in counts above black\n", truthName.string());
  fmt::print("{}: that as a picture\n", viewName.string());
  return kDone;
}

}  // namespace

void addScene(CLI::App& program, Action& chosen) {
  CLI::App* command = program.add_subcommand("scene", "Renders the built-in test scene as a raw frame with its truth");
  auto a = std::make_shared<Arguments>();
  command
      ->add_option("OUT", a->out,
                   "The frame: .pgm, .tif, .raw16 or .raw12; beside it go OUT's stem with .truth.ppm "
                   "(linear, without noise) and .view.png")
      ->required()
      ->type_name("FILE");
  addNumber(*command, "--width", a->settings.width, kMinSceneSide, kMaxSceneSide, "Samples in a row (1536)");
  addNumber(*command, "--height", a->settings.height, kMinSceneSide, kMaxSceneSide, "Rows (1024)");
  addNumber(*command, "--seed", a->settings.seed, std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}, "Another landscape (1)");
  command->add_flag("--force", a->force, "Replace files that exist");
  command->callback([a, &chosen] { chosen = [a] { return scene(*a); }; });
}

}  // namespace quorvel::host
