// SPDX-License-Identifier: Apache-2.0
#include "host/io/tiff.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <tiffio.h>

#include "host/io/notes.h"

namespace quorvel::host {
namespace {

struct Closer {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Closer>;

// What libtiff complained of last, on this thread; it would print it otherwise.
thread_local std::string complaint;

void keepComplaint(const char*, const char* format, va_list arguments) {
  char text[256];
  std::vsnprintf(text, sizeof text, format, arguments);
  complaint = text;
}

void keepQuiet() {
  TIFFSetErrorHandler(keepComplaint);
  TIFFSetWarningHandler(nullptr);
  complaint.clear();
}

std::string withComplaint(const char* wrong) {
  return complaint.empty() ? std::string(wrong) : fmt::format("{} ({})", wrong, complaint);
}

OutputFile& file(thandle_t handle) { return *static_cast<OutputFile*>(handle); }

tmsize_t readNothing(thandle_t, void*, tmsize_t) { return 0; }
tmsize_t put(thandle_t handle, void* data, tmsize_t bytes) {
  return file(handle).write(data, static_cast<std::size_t>(bytes)) ? bytes : -1;
}
toff_t seek(thandle_t handle, toff_t offset, int whence) {
  return static_cast<toff_t>(file(handle).seek(static_cast<std::int64_t>(offset), whence));
}
int keepOpen(thandle_t) { return 0; }
toff_t size(thandle_t handle) { return static_cast<toff_t>(file(handle).size()); }

// One image of packed rows.
void writeImage(OutputFile& out, unsigned width, unsigned height, unsigned samplesPerPixel, unsigned bits,
                const void* samples, const std::string& description) {
  keepQuiet();
  bool done = false;
  if (Tiff tiff{TIFFClientOpen(out.target().string().c_str(), "w", &out, readNothing, put, seek, keepOpen, size,
                               nullptr, nullptr)}) {
    TIFF* t = tiff.get();
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, samplesPerPixel);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, samplesPerPixel == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    if (samplesPerPixel == 3) TIFFSetField(t, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(t, 0));
    if (!description.empty()) TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
    const std::size_t rowBytes = std::size_t{width} * samplesPerPixel * (bits / 8);
    std::vector<std::uint8_t> row(rowBytes);  // the predictor works in place
    done = true;
    for (unsigned y = 0; y < height && done; ++y) {
      const auto* from = static_cast<const std::uint8_t*>(samples) + y * rowBytes;
      std::copy(from, from + rowBytes, row.begin());
      done = TIFFWriteScanline(t, row.data(), y) == 1;
    }
    done = done && TIFFFlush(t) == 1;
  }
  if (!done) out.giveUp(withComplaint("cannot be written as TIFF"));
}

template <typename T>
T field(TIFF* tiff, ttag_t tag, T otherwise) {
  T value{};
  return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

// What is common to the images that are read: strips of unsigned samples of 8 or 16 bits.
struct Image {
  Tiff tiff;
  std::uint32_t width, height;
  std::uint16_t channels, bits, photometric;
};

Image openImage(const fs::path& path) {
  requireReadable(path);
  keepQuiet();
  Tiff tiff{TIFFOpen(path.string().c_str(), "r")};
  if (!tiff) throw DataError(path, withComplaint("is not a TIFF file that can be read"));
  TIFF* t = tiff.get();
  Image image{std::move(tiff),
              field<std::uint32_t>(t, TIFFTAG_IMAGEWIDTH, 0),
              field<std::uint32_t>(t, TIFFTAG_IMAGELENGTH, 0),
              field<std::uint16_t>(t, TIFFTAG_SAMPLESPERPIXEL, 1),
              field<std::uint16_t>(t, TIFFTAG_BITSPERSAMPLE, 1),
              field<std::uint16_t>(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK)};
  if (!sizeIsSane(image.width, image.height)) {
    throw DataError(path,
                    fmt::format("claims a size of {} x {}, which cannot be worked on", image.width, image.height));
  }
  const auto format = field<std::uint16_t>(t, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  if ((image.bits != 8 && image.bits != 16) || format != SAMPLEFORMAT_UINT) {
    throw DataError(
        path, fmt::format("holds samples of {} bits of a kind that is not read (unsigned, 8 or 16 bits)", image.bits));
  }
  if (TIFFIsTiled(t)) throw DataError(path, "is stored in tiles, which are not read");
  return image;
}

// Calls take(row, bytes) for each row; libtiff hands out words in the machine's order.
template <typename Take>
void readRows(const fs::path& path, const Image& image, Take take) {
  std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(image.tiff.get())));
  for (unsigned y = 0; y < image.height; ++y) {
    if (TIFFReadScanline(image.tiff.get(), row.data(), y) != 1) {
      throw DataError(path, withComplaint("is cut short or damaged"));
    }
    take(y, row);
  }
}

}  // namespace

Mosaic readTiff(const fs::path& path) {
  const Image image = openImage(path);
  if (image.channels != 1) {
    throw DataError(path, fmt::format("holds {} samples a pixel; a mosaic has one", image.channels));
  }
  if (image.photometric != PHOTOMETRIC_MINISBLACK && image.photometric != PHOTOMETRIC_CFA) {
    throw DataError(path, "is neither grey nor marked as a colour filter mosaic");
  }
  Mosaic mosaic;
  RawFrame& frame = mosaic.frame;
  frame.width = image.width;
  frame.height = image.height;
  frame.samples.resize(std::size_t{frame.width} * frame.height);
  readRows(path, image, [&](std::size_t y, const auto& row) {
    std::uint16_t* to = frame.samples.data() + y * frame.width;
    if (image.bits == 8) {
      std::copy(row.begin(), row.begin() + frame.width, to);
    } else {
      std::memcpy(to, row.data(), std::size_t{2} * frame.width);
    }
  });
  const char* description = nullptr;
  const bool described =
      TIFFGetField(image.tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &description) == 1 && description != nullptr;
  if (!described || !applyNotes(description, mosaic, path)) {
    frame.white = image.bits == 8 ? 255 : whiteOfSamples(frame.samples);
  }
  return mosaic;
}

Picture readTiffPicture(const fs::path& path) {
  const Image image = openImage(path);
  const bool grey = image.channels == 1 && image.photometric == PHOTOMETRIC_MINISBLACK;
  const bool colour = image.channels == 3 && image.photometric == PHOTOMETRIC_RGB;
  if (!grey && !colour) throw DataError(path, "is neither grey nor of red, green and blue samples");
  if (colour && field<std::uint16_t>(image.tiff.get(), TIFFTAG_PLANARCONFIG, 0) != PLANARCONFIG_CONTIG) {
    throw DataError(path, "is stored in planes, which are not read");
  }
  const bool is16 = image.bits == 16;
  const std::size_t rowSamples = std::size_t{image.width} * image.channels, samples = rowSamples * image.height;
  Picture picture{image.width, image.height, is16 ? 65535u : 255u, std::vector<std::uint8_t>(), image.channels};
  if (is16) picture.samples = std::vector<std::uint16_t>();
  std::visit(
      [&](auto& to) {
        to.resize(samples);
        readRows(path, image, [&](std::size_t y, const auto& row) {
          std::memcpy(to.data() + y * rowSamples, row.data(), rowSamples * sizeof(to[0]));
        });
      },
      picture.samples);
  return picture;
}

void writeTiff(OutputFile& out, const RawFrame& frame, Phase phase) {
  writeImage(out, frame.width, frame.height, 1, 16, frame.samples.data(), notesOf(frame, phase));
}

void writeTiff(OutputFile& out, const Picture& picture) {
  std::visit(
      [&](const auto& samples) {
        writeImage(out, picture.width, picture.height, picture.channels, 8 * sizeof(samples[0]), samples.data(), "");
      },
      picture.samples);
}

}  // namespace quorvel::host
