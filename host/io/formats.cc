// SPDX-License-Identifier: Apache-2.0
#include "host/io/formats.h"

#include <algorithm>
#include <array>
#include <cctype>

#include <fmt/format.h>

#include "host/io/headerless.h"
#include "host/io/pnm.h"
#ifdef QUORVEL_HAVE_PNG
#include <png.h>

#include "host/io/png.h"
#endif
#ifdef QUORVEL_HAVE_TIFF
#include <tiffio.h>

#include "host/io/tiff.h"
#endif
#ifdef QUORVEL_HAVE_LIBRAW
#include <libraw/libraw_version.h>

#include "host/io/camera.h"
#endif

namespace quorvel::host {
namespace {

[[noreturn, maybe_unused]] void notBuilt(const fs::path& file, const char* format, const char* library) {
  throw DataError(file, fmt::format("this build has no {}: {} was missing when it was configured", format, library));
}

std::string extension(const fs::path& file) {
  std::string e = file.extension().string();
  for (char& c : e) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return e;
}

RawFormat formatToRead(const fs::path& file) {
  const std::string e = extension(file);
  if (e == ".pgm" || e == ".pnm") return RawFormat::Pgm;
  if (e == ".tif" || e == ".tiff") return RawFormat::Tiff;
  if (e == ".raw16") return RawFormat::Raw16;
  if (e == ".raw12") return RawFormat::Raw12;
  return startOf(file) == "P5" ? RawFormat::Pgm : RawFormat::Camera;
}

Mosaic readMosaic(const fs::path& file, RawFormat format, const ReadOptions& options) {
  if ((format == RawFormat::Raw16 || format == RawFormat::Raw12) && (options.width == 0 || options.height == 0)) {
    throw UsageError(fmt::format("{}: a headerless file needs --width and --height", file.string()));
  }
  requireReadable(file);
  requireBuilt(format, file);
  switch (format) {
    case RawFormat::Pgm:
      return readPgm(file);
    case RawFormat::Raw16:
      return readRaw16(file, options.width, options.height);
    case RawFormat::Raw12:
      return readRaw12(file, options.width, options.height);
#ifdef QUORVEL_HAVE_TIFF
    case RawFormat::Tiff:
      return readTiff(file);
#endif
#ifdef QUORVEL_HAVE_LIBRAW
    case RawFormat::Camera:
      return readCameraRaw(file);
#endif
    default:
      throw DataError(file, "is of a kind that is not read");
  }
}

}  // namespace

std::vector<OptionalFormat> optionalFormats() {
  std::vector<OptionalFormat> formats = {{"PNG", "libpng", {}}, {"TIFF", "libtiff", {}}, {"camera raw", "LibRaw", {}}};
#ifdef QUORVEL_HAVE_PNG
  formats[0].version = PNG_LIBPNG_VER_STRING;
#endif
#ifdef QUORVEL_HAVE_TIFF
  const std::string version = TIFFGetVersion();  // "LIBTIFF, Version 4.5.0" and lines about its owners
  const auto number = version.find_first_of("0123456789");
  formats[1].version = version.substr(number, version.find('\n') - number);
#endif
#ifdef QUORVEL_HAVE_LIBRAW
  formats[2].version = LIBRAW_VERSION_STR;
#endif
  return formats;
}

void requireBuilt([[maybe_unused]] PictureFormat format, [[maybe_unused]] const fs::path& file) {
#ifndef QUORVEL_HAVE_PNG
  if (format == PictureFormat::Png) notBuilt(file, "PNG", "libpng");
#endif
#ifndef QUORVEL_HAVE_TIFF
  if (format == PictureFormat::Tiff) notBuilt(file, "TIFF", "libtiff");
#endif
}

void requireBuilt([[maybe_unused]] RawFormat format, [[maybe_unused]] const fs::path& file) {
#ifndef QUORVEL_HAVE_TIFF
  if (format == RawFormat::Tiff) notBuilt(file, "TIFF", "libtiff");
#endif
#ifndef QUORVEL_HAVE_LIBRAW
  if (format == RawFormat::Camera) notBuilt(file, "camera raws", "LibRaw");
#endif
}

Mosaic readMosaic(const fs::path& file, const ReadOptions& options) {
  Mosaic mosaic = readMosaic(file, options.format.value_or(formatToRead(file)), options);
  if (options.phase) mosaic.phase = *options.phase;
  if (options.white) mosaic.frame.white = *options.white;
  return mosaic;
}

RawFrame readRawFrame(const fs::path& file, const ReadOptions& options) {
  RawFrame frame = normalised(readMosaic(file, options), file);
  if (options.black) frame.black = *options.black;
  requireBlackBelowWhite(frame, file);
  return frame;
}

Picture readPicture(const fs::path& file) {
  requireReadable(file);
  const std::string start = startOf(file, 4);
  if (start.starts_with("P5") || start.starts_with("P6")) return readPnmPicture(file);
  if (start == "\x89PNG") {
    requireBuilt(PictureFormat::Png, file);
#ifdef QUORVEL_HAVE_PNG
    return readPng(file);
#endif
  }
  if (start.starts_with("II*") || start.starts_with("MM")) {
    requireBuilt(PictureFormat::Tiff, file);
#ifdef QUORVEL_HAVE_TIFF
    return readTiffPicture(file);
#endif
  }
  throw DataError(file, "is not a picture that is read: PNG, TIFF, PPM or PGM");
}

void requireBlackBelowWhite(const RawFrame& frame, const fs::path& file) {
  const int black = *std::max_element(frame.black.begin(), frame.black.end());
  if (black >= frame.white) throw DataError(file, fmt::format("black, {}, is not below white, {}", black, frame.white));
}

std::optional<RawFormat> rawFormatToWrite(const fs::path& file) {
  const std::string e = extension(file);
  if (e == ".pgm") return RawFormat::Pgm;
  if (e == ".tif" || e == ".tiff") return RawFormat::Tiff;
  if (e == ".raw16") return RawFormat::Raw16;
  if (e == ".raw12") return RawFormat::Raw12;
  return std::nullopt;
}

bool isJpegName(const fs::path& file) {
  const std::string e = extension(file);
  return e == ".jpg" || e == ".jpeg";
}

bool isQvbName(const fs::path& file) { return extension(file) == ".qvb"; }

std::optional<PictureFormat> pictureFormatToWrite(const fs::path& file) {
  const std::string e = extension(file);
  if (e == ".png") return PictureFormat::Png;
  if (e == ".tif" || e == ".tiff") return PictureFormat::Tiff;
  if (e == ".ppm" || e == ".pnm") return PictureFormat::Ppm;
  return std::nullopt;
}

std::optional<PictureFormat> pictureFormatToWrite(const fs::path& file, unsigned channels) {
  const std::string e = extension(file);
  if (e == (channels == 1 ? ".pgm" : ".ppm")) return PictureFormat::Ppm;
  return e == ".ppm" ? std::nullopt : pictureFormatToWrite(file);
}

void writeRawFrame(OutputFile& out, const RawFrame& frame, RawFormat format, Phase phase) {
  switch (format) {
    case RawFormat::Pgm:
      return writePgm(out, frame, phase);
    case RawFormat::Raw16:
      return writeRaw16(out, frame);
    case RawFormat::Raw12:
      return writeRaw12(out, frame);
#ifdef QUORVEL_HAVE_TIFF
    case RawFormat::Tiff:
      return writeTiff(out, frame, phase);
#endif
    default:
      out.giveUp("is of a kind that is not written");
  }
}

void writePicture(OutputFile& out, const Picture& picture, PictureFormat format) {
  switch (format) {
#ifdef QUORVEL_HAVE_PNG
    case PictureFormat::Png:
      return writePng(out, picture);
#endif
#ifdef QUORVEL_HAVE_TIFF
    case PictureFormat::Tiff:
      return writeTiff(out, picture);
#endif
    case PictureFormat::Ppm:
      return writePpm(out, picture);
    default:
      out.giveUp("is of a kind that is not written");
  }
}

PictureFormat usualPictureFormat() {
#ifdef QUORVEL_HAVE_PNG
  return PictureFormat::Png;
#else
  return PictureFormat::Ppm;
#endif
}

const char* extensionOf(PictureFormat format) {
  constexpr std::array kExtensions = {".png", ".tif", ".ppm"};
  return kExtensions[static_cast<std::size_t>(format)];
}

}  // namespace quorvel::host
