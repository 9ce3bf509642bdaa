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

}  // namespace

Mosaic readTiff(const fs::path& path) {
  requireReadable(path);
  keepQuiet();
  const Tiff tiff{TIFFOpen(path.string().c_str(), "r")};
  if (!tiff) throw DataError(path, withComplaint("is not a TIFF file that can be read"));
  const auto width = field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH, 0);
  const auto height = field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH, 0);
  const auto channels = field<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
  const auto bits = field<std::uint16_t>(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
  const auto format = field<std::uint16_t>(tiff.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const auto photometric = field<std::uint16_t>(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  if (!sizeIsSane(width, height)) {
    throw DataError(path, fmt::format("claims a size of {} x {}, which cannot be worked on", width, height));
  }
  if (channels != 1) throw DataError(path, fmt::format("holds {} samples a pixel; a mosaic has one", channels));
  if ((bits != 8 && bits != 16) || format != SAMPLEFORMAT_UINT) {
    throw DataError(path,
                    fmt::format("holds samples of {} bits of a kind that is not read (unsigned, 8 or 16 bits)", bits));
  }
  if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_CFA) {
    throw DataError(path, "is neither grey nor marked as a colour filter mosaic");
  }
  if (TIFFIsTiled(tiff.get())) throw DataError(path, "is stored in tiles, which are not read");

  Mosaic mosaic;
  RawFrame& frame = mosaic.frame;
  frame.width = width;
  frame.height = height;
  frame.samples.resize(std::size_t{width} * height);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(tiff.get())));
  for (unsigned y = 0; y < height; ++y) {
    if (TIFFReadScanline(tiff.get(), row.data(), y) != 1) {
      throw DataError(path, withComplaint("is cut short or damaged"));
    }
    std::uint16_t* to = frame.samples.data() + std::size_t{y} * width;
    if (bits == 8) {
      std::copy(row.begin(), row.begin() + width, to);
    } else {
      std::memcpy(to, row.data(), std::size_t{2} * width);  // libtiff hands out words in the machine's order
    }
  }
  const char* description = nullptr;
  const bool described =
      TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &description) == 1 && description != nullptr;
  if (!described || !applyNotes(description, mosaic, path)) {
    frame.white = bits == 8 ? 255 : whiteOfSamples(frame.samples);
  }
  return mosaic;
}

void writeTiff(OutputFile& out, const RawFrame& frame, Phase phase) {
  writeImage(out, frame.width, frame.height, 1, 16, frame.samples.data(), notesOf(frame, phase));
}

void writeTiff(OutputFile& out, const Picture& picture) {
  std::visit(
      [&](const auto& samples) {
        writeImage(out, picture.width, picture.height, static_cast<std::uint16_t>(picture.channels),
                   8 * sizeof(samples[0]), samples.data(), "");
      },
      picture.samples);
}

}  // namespace quorvel::host
