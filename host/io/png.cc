// SPDX-License-Identifier: Apache-2.0
#include "host/io/png.h"

#include <bit>
#include <csetjmp>
#include <cstring>

#include <fmt/format.h>

#include <png.h>

namespace quorvel::host {
namespace {

void put(png_structp png, png_bytep data, std::size_t bytes) {
  if (!static_cast<OutputFile*>(png_get_io_ptr(png))->write(data, bytes)) png_error(png, "");
}

void flush(png_structp) {}

// libpng leaves by longjmp on an error: nothing in here has a destructor.
[[noreturn]] void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void ignore(png_structp, png_const_charp) {}

bool encode(png_structp png, png_infop info, OutputFile& out, unsigned width, unsigned height, int bits, bool grey,
            const std::uint8_t* rows, std::size_t rowBytes) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_write_fn(png, &out, put, flush);
  png_set_IHDR(png, info, width, height, bits, grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 4);  // a photograph gains little from higher levels and waits long for them
  png_write_info(png, info);
  if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png);
  for (unsigned y = 0; y < height; ++y) png_write_row(png, rows + y * rowBytes);
  png_write_end(png, nullptr);
  return true;
}

// What is left of a file in memory.
struct Input {
  const std::uint8_t* data;
  std::size_t bytes;
};

void get(png_structp png, png_bytep to, std::size_t bytes) {
  Input& input = *static_cast<Input*>(png_get_io_ptr(png));
  if (bytes > input.bytes) png_error(png, "");
  std::memcpy(to, input.data, bytes);
  input.data += bytes;
  input.bytes -= bytes;
}

// The header, and from then on rows of grey or R G B samples of 8 or 16 bits.
bool decodeHeader(png_structp png, png_infop info, Input& input) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_read_fn(png, &input, get);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_strip_alpha(png);
  if (std::endian::native == std::endian::little) png_set_swap(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  return true;
}

bool decode(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_read_image(png, rows);
  return true;
}

struct Reader {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

}  // namespace

Picture readPng(const fs::path& file) {
  const std::vector<std::uint8_t> bytes = readFile(file);
  Input input = {bytes.data(), bytes.size()};
  Reader r;
  if (r.info == nullptr || !decodeHeader(r.png, r.info, input))
    throw DataError(file, "is not a PNG file that can be read");
  Picture picture;
  picture.width = png_get_image_width(r.png, r.info);
  picture.height = png_get_image_height(r.png, r.info);
  picture.channels = png_get_channels(r.png, r.info);
  if (!sizeIsSane(picture.width, picture.height)) {
    throw DataError(file,
                    fmt::format("claims a size of {} x {}, which cannot be worked on", picture.width, picture.height));
  }
  const bool is16 = png_get_bit_depth(r.png, r.info) == 16;
  const std::size_t rowSamples = std::size_t{picture.width} * picture.channels, samples = rowSamples * picture.height;
  picture.maximum = is16 ? 65535 : 255;
  if (is16) {
    picture.samples = std::vector<std::uint16_t>(samples);
  } else {
    picture.samples = std::vector<std::uint8_t>(samples);
  }
  auto* data = std::visit([](auto& s) { return reinterpret_cast<png_bytep>(s.data()); }, picture.samples);
  std::vector<png_bytep> rows(picture.height);
  for (std::size_t y = 0; y < rows.size(); ++y) rows[y] = data + y * rowSamples * (is16 ? 2 : 1);
  if (!decode(r.png, rows.data())) throw DataError(file, "is cut short or damaged");
  return picture;
}

void writePng(OutputFile& out, const Picture& picture) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  bool done = false;
  if (info != nullptr) {
    const auto bytes = std::visit(
        [](const auto& samples) { return reinterpret_cast<const std::uint8_t*>(samples.data()); }, picture.samples);
    const int bits = picture.is16() ? 16 : 8;
    done = encode(png, info, out, picture.width, picture.height, bits, picture.channels == 1, bytes,
                  std::size_t{picture.channels} * picture.width * static_cast<unsigned>(bits / 8));
  }
  png_destroy_write_struct(&png, &info);
  if (!done) out.giveUp("cannot be written as PNG");
}

}  // namespace quorvel::host
