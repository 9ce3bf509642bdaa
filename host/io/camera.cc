// SPDX-License-Identifier: Apache-2.0
#include "host/io/camera.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include <fmt/format.h>
#include <libraw/libraw.h>

namespace quorvel::host {
namespace {

constexpr unsigned kXTrans = 9, kLeastBayer = 1000;  // values of `filters` below the latter mean other patterns

Phase phaseOf(LibRaw& raw, const fs::path& file) {
  const auto& id = raw.imgdata.idata;
  if (id.is_foveon) throw DataError(file, "comes from a sensor of stacked colours, which needs no demosaicing");
  if (id.filters == kXTrans)
    throw DataError(file, "comes from a sensor with a 6x6 colour pattern; only 2x2 Bayer is read");
  if (id.colors == 1 || (id.filters == 0 && raw.imgdata.rawdata.raw_image != nullptr)) {
    throw DataError(file, "comes from a monochrome sensor, which needs no demosaicing");
  }
  if (raw.imgdata.rawdata.raw_image == nullptr || id.filters == 0) {
    throw DataError(file, "holds full colour at every pixel, which needs no demosaicing");
  }
  std::string letters;
  for (int site = 0; site < 4; ++site) letters += id.cdesc[raw.COLOR(site / 2, site % 2)];
  const auto phase = phaseFromLetters(letters);
  bool repeats = id.filters >= kLeastBayer && !raw.is_fuji_rotated();
  for (int y = 0; y < 16 && repeats; ++y) repeats = raw.COLOR(y, y / 3) == raw.COLOR(y % 2, (y / 3) % 2);
  if (!phase || !repeats) {
    throw DataError(
        file,
        fmt::format("comes from a sensor with the pattern {}; only 2x2 Bayer of red, green, blue is read", letters));
  }
  return *phase;
}

// A level for every site of the pattern: the common one, the colour's own, and the mean of the finer pattern's.
std::array<int, 4> blackOf(LibRaw& raw) {
  const auto& color = raw.imgdata.color;
  std::array<int, 4> black{};
  for (unsigned site = 0; site < 4; ++site) {
    const unsigned y = site / 2, x = site % 2;
    double level = color.black + color.cblack[raw.COLOR(static_cast<int>(y), static_cast<int>(x)) & 3];
    const unsigned rows = color.cblack[4], columns = color.cblack[5];
    if (rows > 0 && columns > 0 && rows * columns <= LIBRAW_CBLACK_SIZE - 6) {
      double sum = 0;
      for (unsigned i = 0; i < rows; ++i) {
        for (unsigned j = 0; j < columns; ++j) {
          sum += color.cblack[6 + (y + 2 * i) % rows * columns + (x + 2 * j) % columns];
        }
      }
      level += sum / (rows * columns);
    }
    black[site] = static_cast<int>(std::lround(level));
  }
  return black;
}

std::optional<Gains> asShotOf(const LibRaw& raw) {
  const float* multipliers = raw.imgdata.color.cam_mul;
  Gains gains{};
  for (std::size_t c = 0; c < 3; ++c) {
    gains[c] = static_cast<double>(multipliers[c]) / static_cast<double>(multipliers[1]);
    if (!(gains[c] > 0) || !std::isfinite(gains[c])) return std::nullopt;
  }
  return gains;
}

}  // namespace

Mosaic readCameraRaw(const fs::path& file) {
  requireReadable(file);
  const auto raw = std::make_unique<LibRaw>(LIBRAW_OPIONS_NO_DATAERR_CALLBACK);  // too large for the stack
  bool damaged = false;
  // The place of the damage has another type in later versions of LibRaw.
  raw->set_dataerror_handler([](void* noted, const char*, auto) { *static_cast<bool*>(noted) = true; }, &damaged);
  const auto wrong = [](int status) { return status > 0 ? std::strerror(status) : libraw_strerror(status); };
  // LibRaw meets the end of a short file before it can tell that the file is none of its kinds.
  int status = raw->open_file(file.string().c_str());
  if (status == LIBRAW_FILE_UNSUPPORTED || status == LIBRAW_IO_ERROR) {
    throw DataError(file, "is not an image of a kind that is read");
  }
  if (status != LIBRAW_SUCCESS) throw DataError(file, fmt::format("cannot be opened: {}", wrong(status)));
  const auto& sizes = raw->imgdata.sizes;
  if (!sizeIsSane(sizes.raw_width, sizes.raw_height)) {
    throw DataError(
        file, fmt::format("claims a size of {} x {}, which cannot be worked on", sizes.raw_width, sizes.raw_height));
  }
  status = raw->unpack();
  if (damaged || status == LIBRAW_IO_ERROR) throw DataError(file, "is cut short or damaged");
  if (status != LIBRAW_SUCCESS) throw DataError(file, fmt::format("cannot be unpacked: {}", wrong(status)));
  Mosaic mosaic;
  mosaic.phase = phaseOf(*raw, file);

  RawFrame& frame = mosaic.frame;
  frame.width = sizes.width;
  frame.height = sizes.height;
  if (!sizeIsSane(frame.width, frame.height) || sizes.left_margin + frame.width > sizes.raw_width ||
      sizes.top_margin + frame.height > sizes.raw_height) {
    throw DataError(file, "describes an image area outside its sensor");
  }
  frame.samples.resize(std::size_t{frame.width} * frame.height);
  for (unsigned y = 0; y < frame.height; ++y) {
    const std::size_t pitch = sizes.raw_pitch / sizeof(std::uint16_t);
    const std::uint16_t* row = raw->imgdata.rawdata.raw_image + (y + sizes.top_margin) * pitch + sizes.left_margin;
    std::copy(row, row + frame.width, frame.samples.data() + std::size_t{y} * frame.width);
  }
  frame.black = blackOf(*raw);
  const unsigned maximum = raw->imgdata.color.maximum;
  frame.white = maximum > 0 && maximum < 65536 ? static_cast<int>(maximum) : whiteOfSamples(frame.samples);
  frame.asShot = asShotOf(*raw);
  return mosaic;
}

}  // namespace quorvel::host
